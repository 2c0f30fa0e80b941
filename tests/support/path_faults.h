// A failure of the system about one file, as a bad disc gives it, and what others do to a file
// meanwhile. The test program is linked so that
// the calls go through here first; the product is the same as ever.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// While it lives, a call fails with this errno. Only one can live at a time.
class FailingPath {
 public:
  enum Call {
    kLook,     ///< stat, lstat, and fstatat
    kAsk,      ///< access and faccessat
    kOpen,     ///< open
    kOpenDir,  ///< opendir
  };

  /// Of the calls about `path`, or about anything that is there when it is empty, the first `after` ones go
  /// through, the next `times` ones fail; 0 stands for all. The path is as it is given to the call;
  /// below an open directory it is that of the directory, "/" and the name.
  FailingPath(Call call, std::string path, int error, int after = 0, int times = 0);
  ~FailingPath();
  FailingPath(const FailingPath&) = delete;
  FailingPath& operator=(const FailingPath&) = delete;
};

/// While it lives, `action` is called whenever the file with this path is about to be opened. Only
/// one can live at a time.
class BeforeOpen {
 public:
  BeforeOpen(std::string path, std::function<void()> action);
  ~BeforeOpen();
  BeforeOpen(const BeforeOpen&) = delete;
  BeforeOpen& operator=(const BeforeOpen&) = delete;
};

}  // namespace kvl::test
