// InOwnDirectory: the fixture for tests of operations on files.
#pragma once

#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

/// A call with two paths, and the exception that it must throw.
struct CallWithTwoPaths {
  std::string name, source, destination;
  Failure failure;
};

/// A fresh directory for the test, with the umask 022. No test may leave a descriptor open.
class InOwnDirectory : public testing::Test, protected TestDirectory {
 protected:
  void TearDown() override { EXPECT_EQ(OpenDescriptors(), descriptors_); }

  /// Returns everything below the directory, or below one in it; see DescribeTree.
  std::vector<std::string> Tree(const std::string& name = ".") const {
    return DescribeTree(Path(name));
  }
  std::vector<std::string> ExactTree() const { return DescribeTreeExactly(Path()); }

  /// Makes entries and their parents: "a/" is a directory, "a" a file that contains "text", and "a
  /// -> b" a link to "b".
  void Make(const std::vector<std::string>& entries) const {
    for (const std::string& entry : entries) {
      const std::size_t arrow = entry.find(" -> ");
      if (arrow != std::string::npos) {
        Link(entry.substr(0, arrow), entry.substr(arrow + 4));
      } else if (entry.ends_with("/")) {
        MakeDir(entry);
      } else {
        Write(entry, "text");
      }
    }
  }

  /// Removes everything in the directory.
  void Clear() const {
    for (const fs::directory_entry& entry : fs::directory_iterator(Path())) fs::remove_all(entry);
  }

  /// Returns what `action` throws in a process of its own whose working directory is this one.
  Failure FailureInside(const std::function<void()>& action) const {
    return IsolatedFailureOf([&] {
      Enter(*this);
      action();
    });
  }

  /// Returns the same for a user who is not root.
  Failure FailureAsOrdinaryUser(const std::function<void()>& action) const {
    return IsolatedFailureOf([&] {
      EnterAsOrdinaryUser(*this);
      action();
    });
  }

  ScopedUmask umask_{022};
  const std::vector<std::string> descriptors_ = OpenDescriptors();
};

}  // namespace kvl::test
