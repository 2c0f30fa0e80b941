// Failures of system calls that no test can really cause, such as those of a bad disc, and changes
// by others to a file. The test program is linked such that these calls first go through here; the
// product is unchanged.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// While it lives, the call fails with this errno, or gives another answer. Each call can have only
/// one at a time.
class FailingCall : Undo {
 public:
  enum Call {
    kFork,
    kGetHostName,
    kReadDir,
    kClose,
    kWaitPid,
    kExecVp,
    kRead,  ///< read and pread
    kUnlink,
    kLook,       ///< about a path: stat, lstat, and fstatat
    kAsk,        ///< about a path: access and faccessat
    kOpen,       ///< about a path: open
    kOpenBelow,  ///< about a path: openat
    kOpenDir,    ///< about a path: opendir
  };

  /// Passes the first `after` calls and fails the next `times` ones; 0 means all.
  FailingCall(Call call, int error, int after = 0, int times = 0);
  /// Does the same for calls about `path`, or about anything that exists if `path` is empty. The
  /// path is as the call gets it; below an open directory it is that of the directory, "/" and the
  /// name.
  FailingCall(Call call, std::string path, int error, int after = 0, int times = 0);
};

/// While it lives, calls `action` whenever the file with this path is about to be opened, also
/// below an open directory. Only one can live at a time.
class BeforeOpen : Undo {
 public:
  BeforeOpen(std::string path, std::function<void()> action);
};

/// While it lives, getuid returns this.
class FakeUser : Undo {
 public:
  explicit FakeUser(unsigned real_user_id);
};

/// While it lives, every file system reports so many free blocks of this size for everybody, and
/// more for the superuser.
class FakeFreeBlocks : Undo {
 public:
  FakeFreeBlocks(std::uint64_t blocks, std::uint64_t block_size, std::uint64_t more = 0);
};

}  // namespace kvl::test
