// A root directory for one test.
#pragma once

#include "tests/conditions/own_mounts.h"
#include "tests/support/test.h"

namespace kvl::test {

class OwnRoot {
 public:
  /// For ProgramStart::before: makes it the root directory, and its writable directory the working
  /// directory.
  void Enter() const;

  /// Returns whether this path exists in it.
  bool Has(const std::string& path) const;
  /// Returns whether it is a mount point itself.
  bool IsMountPoint() const;

 private:
  friend void RunWithOwnRoot(const std::string& writable, const std::vector<std::string>& shown,
                             const std::function<void(const OwnRoot&)>& action);
  explicit OwnRoot(std::string path) : path_(std::move(path)) {}
  /// Shows a file or directory of the system at the same path.
  void Show(const std::string& path, unsigned long flags) const;
  std::string PathIn(const std::string& path) const { return path_ + path; }

  std::string path_, writable_;
};

/// Runs `action` as RunWithOwnMounts does, with a plain directory that contains only these, at
/// their paths: the programs and libraries of the system, the programs of this build, the files and
/// directories to show, such as "/proc", and one writable directory.
void RunWithOwnRoot(const std::string& writable, const std::vector<std::string>& shown,
                    const std::function<void(const OwnRoot&)>& action);

}  // namespace kvl::test
