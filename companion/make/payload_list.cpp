#include "companion/make/payload_list.h"

#include <sys/stat.h>

#include <utility>

#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

class Lister {
 public:
  explicit Lister(const OpenDirectory& top) : tree_(top, OpenTree::Missing::kFails) {}

  std::vector<PayloadEntry> Run() {
    ListBelow("");
    return std::move(entries_);
  }

 private:
  /// Looks at a whole level before it goes down, so that one directory is open at a time.
  void ListBelow(const std::string& path) {
    const std::string prefix = path.empty() ? "" : path + "/";
    std::vector<PayloadEntry> level;
    const OpenDirectory& directory = tree_.At(path);
    for (const std::string& name : directory.Names()) {
      level.push_back(LookAt(directory, name, prefix + name));
    }
    for (const PayloadEntry& entry : level) {
      entries_.push_back(entry);
      if (entry.is_directory) ListBelow(entry.name);
    }
  }

  static PayloadEntry LookAt(const OpenDirectory& directory, const std::string& name,
                             const std::string& path) {
    const KVLInsIO::EntryState state = directory.Look(name);
    const std::string full = PathBelow(directory.Path(), name);
    if (name.find_first_of("\n\r") != std::string::npos) {
      throw CannotMake("a name with a line break cannot be listed: " + full);
    }
    if (name.size() > kLongestDiscName) {
      throw CannotMake("a name is too long for a disc: " + full);
    }
    if (S_ISLNK(state.mode)) {
      throw CannotMake("a link could be torn from what it leads to: " + full);
    }
    if (S_ISDIR(state.mode)) return {path, /*is_directory=*/true, 0, state};
    if (!S_ISREG(state.mode)) throw CannotMake("neither a file nor a directory: " + full);
    (void)directory.File(name);  // so that nothing is written when one of them cannot be read
    return {path, /*is_directory=*/false, state.size, state};
  }

  OpenTree tree_;
  std::vector<PayloadEntry> entries_;
};

}  // namespace

std::vector<PayloadEntry> ListPayload(const OpenDirectory& directory) {
  return Lister(directory).Run();
}

}  // namespace kvl
