// The headers of a binary (ELF), which tell the system how to start it. They come from a stranger:
// this code trusts no number in them, and reads no more than the system itself reads.
#pragma once

#include <string>
#include <string_view>

namespace kvl {

/// What keeps the system from starting a binary here.
enum class BinaryFault {
  kNone,
  kOtherMachine,
  kDamaged,   ///< usually cut off
  kNoLoader,  ///< the program that loads it is missing, or cannot be executed here
  kUnread,    ///< the system could not read the binary or its loader
};

/// What happens when a binary with a fault is started.
enum class BinaryEnd {
  kRefused,        ///< the system refuses it, or it dies before its first instruction
  kCannotBeKnown,  ///< it runs for a while, or a shell or an emulator takes it
};

struct BinaryCheck {
  BinaryFault fault = BinaryFault::kNone;
  BinaryEnd end = BinaryEnd::kRefused;  ///< meaningful only with a fault
  std::string machine = {};             ///< the machine that the binary is made for
  std::string own_machine = {};         ///< the machine that this process is made for
  std::string_view damage = {};         ///< what is damaged, in words
  std::string loader = {};              ///< path of the loader as the binary names it; may be empty
  std::string unread = {};              ///< path of the file that cannot be read
  int error = 0;                        ///< why it cannot be read
};

/// Returns true if `start`, the first bytes of a file, is the start of a binary, whole or cut off.
bool IsBinary(std::string_view start);

/// Returns false if `start` is the start of a binary that a machine does not run. The machine has its
/// name for `kvl-media make --machine`. Returns true for any other file, and for an unknown machine.
bool MayRunOn(const std::string& machine, std::string_view start);

/// Checks a file that begins like a binary, links followed. Without a fault, its headers let the
/// system start it. The 32-bit predecessor of a machine counts as the same machine.
BinaryCheck CheckBinary(const std::string& path);

}  // namespace kvl
