// TestDirectory: a directory of a test's own. Removed at the end; that of a failed test is kept,
// and its path printed.
//
// Everything here uses std::filesystem and never the library under test.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

class TestDirectory {
 public:
  /// Makes a fresh directory below $TMPDIR or /tmp. Its path has no link and no blank in it.
  TestDirectory();
  ~TestDirectory();
  TestDirectory(const TestDirectory&) = delete;
  TestDirectory& operator=(const TestDirectory&) = delete;

  /// The directory itself, without a "/" at the end.
  const std::string& Path() const { return path_; }
  /// A path below it, put together as text.   a//b  =>  <directory>/a//b
  std::string Path(std::string_view relative) const;

  // All of these make missing parents, replace what is there, and return the full path.
  std::string MakeDir(std::string_view relative) const;
  std::string Write(std::string_view relative, std::string_view contents) const;
  std::string Link(std::string_view relative, const std::string& target) const;
  std::string HardLink(std::string_view relative, const std::string& existing) const;
  std::string Pipe(std::string_view relative) const;

 private:
  std::string PathWithParents(std::string_view relative) const;

  std::string path_;
};

/// Gives the owner all permissions for a directory and those below it, links not followed.
void OpenUp(const std::string& directory);

/// Makes a file, or writes it anew.
void WriteFile(const std::string& path, std::string_view contents);
/// The whole contents of a file; a test failure when it cannot be read.
std::string ReadFile(const std::string& path);

/// Everything below a directory, sorted, each entry described in one line, with links not followed:
///   "d 755 a", "f 644 a/b = contents", "l c -> target", "p 600 pipe"
/// Long contents are given by length and hash. Empty for a missing directory.
std::vector<std::string> DescribeTree(const std::string& directory);

/// Such a line; `rest` is the name, and for a file " = " and the contents.
std::string TreeLine(char kind, unsigned mode, const std::string& rest);
/// The line of an entry that is made as this one, with a umask.
std::string Masked(const std::string& line, unsigned umask);
/// The contents of a file as they stand in such a line.
std::string DescribeContents(std::string_view contents);

/// As DescribeTree, with inode, owner and all times but that of the last access: for "nothing was
/// changed".
std::vector<std::string> DescribeTreeExactly(const std::string& directory);

/// The low twelve bits of the mode, links followed.
unsigned ModeOf(const std::string& path);
void SetMode(const std::string& path, unsigned mode);

/// Sets access and modification time, in whole seconds.
void SetTimes(const std::string& path, long access, long modification);

}  // namespace kvl::test
