// Checking the permissions of the entries of a volume.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "companion/verify/flaw.h"

namespace kvl {

/// Plain files must have mode 644, programs and directories 755. On a disc that nobody can write
/// to, 444 and 555 are right, too.
class ModeCheck {
 public:
  enum class Kind { kPlain, kProgram, kDirectory };

  /// `path` begins at the volume's directory; `mode` is st_mode.
  void Add(const std::string& path, std::uint32_t mode, Kind kind);

  /// Adds a flaw for each entry with a wrong mode. Adds only one flaw, about the directory, when
  /// there are two or more such entries and all entries of each kind have the same mode. That
  /// happens on a file system without modes, and to a copy that was made under a umask.
  void AddFlaws(const std::string& directory, std::vector<Flaw>& flaws) const;

 private:
  struct Other {
    std::string path;
    std::uint32_t mode;
    Kind kind;
  };

  bool IsEachKindTheSame() const;
  std::string ModesOfAll() const;

  std::vector<Other> others_;
  std::map<Kind, std::set<std::uint32_t>> seen_;
};

}  // namespace kvl
