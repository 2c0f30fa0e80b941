#include "companion/check/installed_tree.h"

#include <errno.h>

#include <cstddef>
#include <filesystem>
#include <system_error>

#include "companion/names/path_below.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

/// Names on one way, including those in links. HasPath looks for each name in every payload.
constexpr int kMostNames = 256;

/// Returns the target of a link, or "/" if it is absolute or cannot be read.
std::string TargetOf(const std::string& link) {
  std::error_code error;
  const std::string target = std::filesystem::read_symlink(link, error);
  return error || target.starts_with('/') ? "/" : target;
}

}  // namespace

void InstalledTree::AddPayloadOf(const std::string& volume, const std::string& number) {
  payloads_.push_back(PathBelow(PathBelow(volume, names::kPayload), number));
}

bool InstalledTree::HasWhatLinkLeadsTo(const std::string& link) const {
  for (const std::string& payload : payloads_) {
    if (link.starts_with(PathBelow(payload, ""))) return HasPath(link.substr(payload.size() + 1));
  }
  return false;
}

/// Follows the path name by name. A link puts its target in front of the rest of the path.
bool InstalledTree::HasPath(std::string path) const {
  std::filesystem::path here;
  for (int names = 0; !path.empty(); ++names) {
    if (names == kMostNames) return false;
    const std::size_t end = path.find('/');
    const bool is_last = end == std::string::npos;
    const std::string name = path.substr(0, end);
    path = is_last ? "" : path.substr(end + 1);
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      if (here.empty()) return false;
      here = here.parent_path();
      continue;
    }
    here /= name;
    const auto [entry, state] = Find(here);
    if (state.IsLink()) {
      const std::string target = TargetOf(entry);
      if (target == "/") return false;
      path = is_last ? target : PathBelow(target, path);
      here = here.parent_path();
    } else if (!state.IsThere() || (!is_last && !state.IsDirectory())) {
      return false;
    }
  }
  return true;
}

std::pair<std::string, PathState> InstalledTree::Find(const std::string& path) const {
  for (const std::string& payload : payloads_) {
    const std::string entry = PathBelow(payload, path);
    const PathState state = StateOfEntry(entry);
    if (state.IsThere()) return {entry, state};
  }
  return {"", {.error = ENOENT}};
}

}  // namespace kvl
