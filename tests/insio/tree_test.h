// TreeTest: a test with a directory of its own, in which it makes trees and looks at them.
#pragma once

#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

class TreeTest : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return directory_.Path(name); }
  std::vector<std::string> Tree(const std::string& name = ".") const {
    return DescribeTree(Path(name));
  }
  std::vector<std::string> ExactTree(const std::string& name = ".") const {
    return DescribeTreeExactly(Path(name));
  }

  /// Makes entries and their parents: "a/" is a directory, "a" a file that holds "text", and
  /// "a -> b" a link to "b".
  void Make(const std::vector<std::string>& entries) const {
    for (const std::string& entry : entries) {
      const std::size_t arrow = entry.find(" -> ");
      if (arrow != std::string::npos) {
        directory_.Link(entry.substr(0, arrow), entry.substr(arrow + 4));
      } else if (entry.ends_with("/")) {
        directory_.MakeDir(entry);
      } else {
        directory_.Write(entry, "text");
      }
    }
  }

  /// Removes everything again.
  void Clear() const {
    for (const fs::directory_entry& entry : fs::directory_iterator(directory_.Path())) {
      fs::remove_all(entry);
    }
  }

  ScopedUmask umask_{022};
  TestDirectory directory_;
};

}  // namespace kvl::test
