// Failures of system calls that no test can provoke for real, as a bad disc gives them, and what
// others do to a file meanwhile. The test program is linked so that these calls go through here first;
// the product is the same as ever.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// While it lives, the call fails with this errno, or answers as told. Of each call only one can live
/// at a time.
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

  /// The first `after` calls go through, the next `times` ones fail; 0 stands for all.
  FailingCall(Call call, int error, int after = 0, int times = 0);
  /// The same of the calls about `path`, or about anything that is there when it is empty. The path
  /// is as it is given to the call; below an open directory it is that of the directory, "/" and the
  /// name.
  FailingCall(Call call, std::string path, int error, int after = 0, int times = 0);
};

/// While it lives, `action` is called whenever the file with this path is about to be opened, also
/// below an open directory. Only one can live at a time.
class BeforeOpen : Undo {
 public:
  BeforeOpen(std::string path, std::function<void()> action);
};

/// While it lives, getuid answers this.
class FakeUser : Undo {
 public:
  explicit FakeUser(unsigned real_user_id);
};

/// While it lives, every file system says that it has so many free blocks of this size for everybody,
/// and more of them for the superuser.
class FakeFreeBlocks : Undo {
 public:
  FakeFreeBlocks(std::uint64_t blocks, std::uint64_t block_size, std::uint64_t more = 0);
};

}  // namespace kvl::test
