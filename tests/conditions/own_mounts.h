// File systems of a test's own, which nobody else sees and which do not outlive it.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// Why RunWithOwnMounts cannot be used here; empty when it can. It takes the rights of root, and in
/// a container often more than those.
std::string WhyNoOwnMounts();

/// Runs `action` in a thread that sees the mounts of the system and may add to them; with the thread
/// they go, however it ends. The programs that the thread starts see them, too, and the rest of the
/// process does not.
void RunWithOwnMounts(const std::function<void()>& action);

/// Tests that are skipped where there are none.
class OwnMountsTest : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = WhyNoOwnMounts(); !why.empty()) GTEST_SKIP() << why;
  }
};

/// Within RunWithOwnMounts, and as long as it lives: an empty file system in memory that covers a
/// directory.
class MemoryMount : Undo {
 public:
  /// The options are those of a tmpfs, such as "size=64k". (There a size, or a number of inodes, of 0
  /// stands for no limit, and the file system's own directory takes one inode.)
  MemoryMount(const std::string& directory, const std::string& options, unsigned long flags = 0);

  /// From now on nothing can be written.
  void MakeReadOnly() const;

 private:
  std::string directory_;
};

/// Within RunWithOwnMounts, and as long as it lives: a layer in memory over a directory (overlayfs), which
/// takes what is written there. Throws where there is no such file system. The layer lies in `place`,
/// another directory.
class OverlayMount : Undo {
 public:
  OverlayMount(const std::string& directory, const std::string& place);

 private:
  MemoryMount memory_;
};

/// Within RunWithOwnMounts, and as long as it lives: a directory as a program shows it (FUSE), by its own
/// path. Throws where there is no such file system, or not that program, bindfs.
class FuseMount : Undo {
 public:
  explicit FuseMount(const std::string& directory);
};

/// Tests that are skipped where there is none.
class OwnOverlayTest : public OwnMountsTest {
 protected:
  void SetUp() override;
};
class OwnFuseTest : public OwnMountsTest {
 protected:
  void SetUp() override;
};

}  // namespace kvl::test
