#include "companion/make/payload_links.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/seal/listed_path.h"

namespace kvl {
namespace {

/// As many as Linux follows, see path_resolution(7).
constexpr int kMostLinks = 40;

class Resolver {
 public:
  explicit Resolver(const std::vector<std::vector<PayloadEntry>>& volumes) {
    for (const std::vector<PayloadEntry>& volume : volumes) {
      for (const PayloadEntry& entry : volume) {
        const auto [there, is_new] = entries_.emplace(entry.name, &entry);
        if (is_new || (!entry.IsLink() && !there->second->IsLink())) continue;
        throw CannotMake("a link of one volume has the name of something on another: " +
                         entry.name);
      }
    }
  }

  /// True when there is something in the tree where the link leads.
  bool LeadsToSomething(const PayloadEntry& link) const {
    std::string here = Place(link.name).directory, rest = link.target;
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
      const auto found = entries_.find(path);
      if (found == entries_.end()) return false;
      const PayloadEntry& entry = *found->second;
      if (entry.IsLink()) {
        if (entry.target.starts_with('/') || ++links > kMostLinks) return false;
        rest = slash == std::string::npos ? entry.target : PathBelow(entry.target, rest);
      } else if (entry.IsFile() && slash != std::string::npos) {
        return false;
      } else {
        here = std::move(path);
      }
    }
    return true;
  }

 private:
  std::unordered_map<std::string_view, const PayloadEntry*> entries_;
};

}  // namespace

void CheckLinks(const std::vector<std::vector<PayloadEntry>>& volumes) {
  std::vector<const PayloadEntry*> links;
  for (const std::vector<PayloadEntry>& volume : volumes) {
    for (const PayloadEntry& entry : volume) {
      if (entry.IsLink()) links.push_back(&entry);
    }
  }
  if (links.empty()) return;
  const Resolver resolver(volumes);
  std::string refused;
  for (const PayloadEntry* link : links) {
    if (LeadsInside(link->name, link->target) && resolver.LeadsToSomething(*link)) continue;
    refused += (refused.empty() ? "" : ", ") + link->name + " -> " + link->target;
  }
  if (refused.empty()) return;
  throw CannotMake(
      "links that lead to nothing in the payload (--links follow copies what they lead to): " +
      refused);
}

}  // namespace kvl
