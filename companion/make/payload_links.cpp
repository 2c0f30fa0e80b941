#include "companion/make/payload_links.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/seal/listed_path.h"

namespace kvl {
namespace {

/// The number of links that Linux follows in one path, see path_resolution(7).
constexpr int kMostLinks = 40;

/// The names of all entries in the volumes. Keeps only hashes of the names of files, because there
/// are many.
class Tree {
 public:
  explicit Tree(const Volumes& volumes) {
    for (const PlannedVolume& volume : volumes) {
      for (const PayloadEntry& entry : volume) Add(entry);
    }
    std::sort(files_.begin(), files_.end());
    for (const auto& [name, target] : links_) {
      if (directories_.contains(name) || IsFile(name)) RefuseTwice(name);
    }
  }

  const std::map<std::string, std::string>& Links() const { return links_; }

  /// Returns whether the link leads to an entry of the tree.
  bool LeadsToSomething(const std::string& link, const std::string& target) const {
    std::string here = Place(link).directory, rest = target;
    for (int links = 1; !rest.empty();) {
      const std::size_t slash = rest.find('/');
      const std::string name = rest.substr(0, slash);
      rest = slash == std::string::npos ? "" : rest.substr(slash + 1);
      if (name.empty() || name == ".") continue;
      if (name == "..") {
        if (here.empty()) return false;
        here = Place(here).directory;
        continue;
      }
      std::string path = here.empty() ? name : PathBelow(here, name);
      if (const auto found = links_.find(path); found != links_.end()) {
        const std::string& next = found->second;
        if (next.starts_with('/') || ++links > kMostLinks) return false;
        rest = slash == std::string::npos ? next : PathBelow(next, rest);
      } else if (directories_.contains(path) || (slash == std::string::npos && IsFile(path))) {
        here = std::move(path);
      } else {
        return false;
      }
    }
    return true;
  }

 private:
  static std::uint64_t SumOf(const std::string& name) { return std::hash<std::string>()(name); }

  void Add(const PayloadEntry& entry) {
    switch (entry.type) {
      case EntryType::kDirectory:
        directories_.insert(entry.name);
        break;
      case EntryType::kLink:
        if (!links_.emplace(entry.name, entry.target).second) RefuseTwice(entry.name);
        break;
      case EntryType::kFile:
        files_.push_back(SumOf(entry.name));
        break;
    }
  }

  bool IsFile(const std::string& name) const {
    return std::binary_search(files_.begin(), files_.end(), SumOf(name));
  }

  [[noreturn]] static void RefuseTwice(const std::string& name) {
    throw CannotMake("a link of one volume has the name of an entry on another: " + name +
                     "; rename one of them");
  }

  std::map<std::string, std::string> links_;  // targets by names
  std::set<std::string> directories_;
  std::vector<std::uint64_t> files_;
};

}  // namespace

void CheckLinks(const Volumes& volumes) {
  const bool has_links = std::ranges::any_of(volumes, [](const PlannedVolume& volume) {
    return std::any_of(volume.begin(), volume.end(), std::mem_fn(&PayloadEntry::IsLink));
  });
  if (!has_links) return;
  const Tree tree(volumes);
  std::string refused;
  for (const auto& [name, target] : tree.Links()) {
    if (LeadsInside(name, target) && tree.LeadsToSomething(name, target)) continue;
    refused.append(refused.empty() ? "" : ", ").append(name).append(" -> ").append(target);
  }
  if (refused.empty()) return;
  throw CannotMake("links are absolute, lead out of the payload or to nothing in it: " + refused +
                   "; correct them, remove them, or use --links follow");
}

}  // namespace kvl
