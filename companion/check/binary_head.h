// The headers of a binary (ELF), from which the system sees how to start it. Somebody else has written
// them: every number in them is doubted, and no more is read than the system itself would read.
#pragma once

#include <string>
#include <string_view>

namespace kvl {

/// What keeps a binary from being started here.
enum class BinaryFault {
  kNone,
  kOtherMachine,
  kDamaged,   ///< cut off, as a rule
  kNoLoader,  ///< the program that loads it is missing, or cannot be executed here
  kUnread,    ///< nothing is known of it
};

/// What the system does with a binary that has a fault.
enum class BinaryEnd {
  kRefused,        ///< it is not executed, or dies before its first instruction
  kCannotBeKnown,  ///< it runs for a while, or something else gets it: a shell, an emulator
};

struct BinaryCheck {
  BinaryFault fault = BinaryFault::kNone;
  BinaryEnd end = BinaryEnd::kRefused;  ///< only with a fault
  std::string machine = {};             ///< that it is made for
  std::string own_machine = {};         ///< that this process is made for
  std::string_view damage = {};         ///< what is damaged, in words
  std::string loader = {};              ///< the path of it, as the binary names it; maybe empty
  std::string unread = {};              ///< what of it or of its loader cannot be read
  int error = 0;                        ///< and why
};

/// True for the first bytes of a binary, whole or cut off.
bool IsBinary(std::string_view start);

/// Looks at a file that begins as a binary, links followed. Without a fault the system starts it, as far as the headers
/// say. A machine's older relative of 32 bits counts as the same machine.
BinaryCheck CheckBinary(const std::string& path);

}  // namespace kvl
