// Permissions of what lies on a volume.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <string>
#include <vector>

#include "companion/verify/flaw.h"

namespace kvl {

class ModeCheck {
 public:
  /// `path` is that of a file below the volume's directory, `mode` as in st_mode.
  void AddFile(const std::string& path, mode_t mode, bool is_program);

  /// Adds those with a wrong mode. When that are at least two, and all files are executable or none is,
  /// that is one flaw of the directory: its file system keeps no modes.
  void AddFlaws(const std::string& directory, std::vector<Flaw>& flaws) const;

 private:
  struct WrongMode {
    std::string path;
    bool is_program;
  };

  std::vector<WrongMode> wrong_;
  std::size_t programs_ = 0, plain_files_ = 0;  // that are there
};

}  // namespace kvl
