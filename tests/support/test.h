// What nearly every test needs: GoogleTest, and the parts of the standard library and the system
// that tests call. The compiler reads it once for all files, so that each begins with its subject.
#pragma once

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <ostream>
#include <sched.h>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <typeinfo>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/pattern.h"

namespace kvl::test {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

/// Runs an action in its destructor, to undo what its constructor did.
class Undo {
 public:
  explicit Undo(std::function<void()> undo) : undo_(std::move(undo)) {}
  ~Undo() { undo_(); }
  Undo(const Undo&) = delete;
  Undo& operator=(const Undo&) = delete;

 private:
  std::function<void()> undo_;
};

/// While it lives, the process has this umask.
class ScopedUmask : Undo {
 public:
  explicit ScopedUmask(mode_t mask) : Undo([before = ::umask(mask)] { ::umask(before); }) {}
};

}  // namespace kvl::test
