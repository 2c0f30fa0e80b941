// Permissions of what lies on a volume.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "companion/verify/flaw.h"

namespace kvl {

/// Plain files have mode 644, programs and directories 755; what cannot be written to, as on a
/// disc, has 444 and 555.
class ModeCheck {
 public:
  enum class Kind { kPlain, kProgram, kDirectory };

  /// `path` lies below the volume's directory; `mode` is as in st_mode.
  void Add(const std::string& path, std::uint32_t mode, Kind kind);

  /// Adds those with another mode. When there are two or more, and all of each kind have the same mode,
  /// that is one flaw of the directory: so it is where a file system keeps no modes, or all were copied
  /// under a umask.
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
