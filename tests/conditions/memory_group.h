// A group of processes of a test's own, which together may take so much memory.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// Below the group that the tests run in; it goes at the end of its life, when its processes have ended.
/// Unlike a limit on address space it counts the pages that are in use, those of files and of file systems
/// in memory among them.
class MemoryGroup {
 public:
  explicit MemoryGroup(long bytes);
  ~MemoryGroup();
  MemoryGroup(const MemoryGroup&) = delete;
  MemoryGroup& operator=(const MemoryGroup&) = delete;

  /// Why there is none; empty when there is.
  const std::string& WhyNot() const { return why_not_; }
  /// For ProgramStart::before.
  void Enter() const;

 private:
  std::string directory_, why_not_;
};

}  // namespace kvl::test
