// File systems for one test, which nobody else sees and which end with it.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// Returns why RunWithOwnMounts does not work here; the empty text if it does. It needs the rights
/// of root, and in a container often more.
std::string WhyNoOwnMounts();

/// Runs `action` in a thread that sees the system's mounts and may add to them. Its mounts end with
/// the thread, however that ends. The programs that the thread starts see them, but the rest of the
/// process does not.
void RunWithOwnMounts(const std::function<void()>& action);

/// Skips its tests where such mounts do not work.
class OwnMountsTest : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = WhyNoOwnMounts(); !why.empty()) GTEST_SKIP() << why;
  }
};

/// Within RunWithOwnMounts, while it lives: an empty file system in memory that covers a directory.
class MemoryMount : Undo {
 public:
  /// Takes the options of a tmpfs, such as "size=64k". A size or a number of inodes of 0 means no
  /// limit, and the file system's own directory takes one inode.
  MemoryMount(const std::string& directory, const std::string& options, unsigned long flags = 0);

  /// Makes the file system read-only.
  void MakeReadOnly() const;

 private:
  std::string directory_;
};

/// Within RunWithOwnMounts, while it lives: a layer in memory over a directory (overlayfs), which
/// receives everything written there. Throws where that file system is missing. `place` is another
/// directory, for the layer.
class OverlayMount : Undo {
 public:
  OverlayMount(const std::string& directory, const std::string& place);

 private:
  MemoryMount memory_;
};

/// Within RunWithOwnMounts, while it lives: a directory that a program shows at its own path
/// (FUSE). Throws where that file system or the program, bindfs, is missing.
class FuseMount : Undo {
 public:
  explicit FuseMount(const std::string& directory);
};

/// Skips its tests where that does not work.
class OwnOverlayTest : public OwnMountsTest {
 protected:
  void SetUp() override;
};
class OwnFuseTest : public OwnMountsTest {
 protected:
  void SetUp() override;
};

}  // namespace kvl::test
