// A group of processes for one test, with a limit on their memory together.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// Lies below the group of the tests, and is removed at the end of its life, when its processes
/// have ended. Unlike a limit on address space, it counts pages in use, including pages of files
/// and of file systems in memory.
class MemoryGroup {
 public:
  explicit MemoryGroup(long bytes);
  ~MemoryGroup();
  MemoryGroup(const MemoryGroup&) = delete;
  MemoryGroup& operator=(const MemoryGroup&) = delete;

  /// Returns why there is no such group; the empty text if there is one.
  const std::string& WhyNot() const { return why_not_; }
  /// For ProgramStart::before.
  void Enter() const;

 private:
  std::string directory_, why_not_;
};

}  // namespace kvl::test
