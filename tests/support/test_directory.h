// TestDirectory: a fresh directory for a test. The destructor removes it, or keeps it after a
// failure and prints its path.
//
// Everything here uses std::filesystem and never the library under test.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

class TestDirectory {
 public:
  /// Makes a fresh directory below $TMPDIR or /tmp. Its path contains no link and no blank.
  TestDirectory();
  ~TestDirectory();
  TestDirectory(const TestDirectory&) = delete;
  TestDirectory& operator=(const TestDirectory&) = delete;

  /// Returns the directory itself, without a "/" at the end.
  const std::string& Path() const { return path_; }
  /// Returns a path below it, concatenated as text.
  ///   a//b  =>  <directory>/a//b
  std::string Path(std::string_view relative) const;

  // All of these make missing parents, replace what exists, and return the full path.
  std::string MakeDir(std::string_view relative) const;
  std::string Write(std::string_view relative, std::string_view contents) const;
  std::string Link(std::string_view relative, const std::string& target) const;
  std::string HardLink(std::string_view relative, const std::string& existing) const;
  std::string Pipe(std::string_view relative) const;

 private:
  std::string PathWithParents(std::string_view relative) const;

  std::string path_;
};

/// Gives the owner all permissions for a directory and those below it. Does not follow links.
void OpenUp(const std::string& directory);

/// Makes a file or overwrites it.
void WriteFile(const std::string& path, std::string_view contents);
/// Returns the whole contents of a file. The test fails if it cannot be read.
std::string ReadFile(const std::string& path);

/// Returns everything below a directory, sorted, one line for each entry. Does not follow links:
///   "d 755 a", "f 644 a/b = contents", "l c -> target", "p 600 pipe"
/// Gives long contents by length and hash. Returns nothing for a missing directory.
std::vector<std::string> DescribeTree(const std::string& directory);

/// Returns such a line; `rest` is the name, and for a file " = " and the contents.
std::string TreeLine(char kind, unsigned mode, const std::string& rest);
/// Returns the line of an entry that is created like this one, with a umask.
std::string Masked(const std::string& line, unsigned umask);
/// Returns the contents of a file in the form of such a line.
std::string DescribeContents(std::string_view contents);

/// Like DescribeTree, with inode, owner and all times except the last access, to show that nothing
/// has changed.
std::vector<std::string> DescribeTreeExactly(const std::string& directory);

/// Returns the low twelve bits of the mode; follows links.
unsigned ModeOf(const std::string& path);
void SetMode(const std::string& path, unsigned mode);

/// Sets access and modification time, in whole seconds.
void SetTimes(const std::string& path, long access, long modification);

}  // namespace kvl::test
