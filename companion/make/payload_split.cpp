#include "companion/make/payload_split.h"

#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "companion/make/open_tree.h"
#include "companion/names/path_below.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

/// Room for the marker, its directories, and the beginnings of the payload's own.
constexpr std::uint64_t kVolumeFrame = 6 * kDiscBlock;

/// The length of a file's line in a list: sum, size, name, with some room for the volume's number.
std::uint64_t LineLength(const PayloadEntry& entry) {
  constexpr std::uint64_t kSumAndSize = 40;
  return entry.is_directory ? 0 : entry.name.size() + kSumAndSize;
}

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

/// A number above 0 as it is written without need: no sign, no 0 in front.
bool IsVolumeNumber(const std::string& name) {
  return name.front() != '0' && name.find_first_not_of("0123456789") == std::string::npos;
}

/// The numbers for which `directory` holds a directory: 1, 2, ... up to the result.
std::size_t CountPresorted(const OpenDirectory& directory) {
  const std::vector<std::string> names = directory.Names();
  for (const std::string& name : names) {
    if (!IsVolumeNumber(name) || !S_ISDIR(directory.Look(name).mode)) {
      throw CannotMake("a presorted payload holds directories 1, 2, ... and nothing else: " +
                       PathBelow(directory.Path(), name));
    }
  }
  std::size_t count = 0;
  while (std::binary_search(names.begin(), names.end(), std::to_string(count + 1))) ++count;
  if (count == 0 || count < names.size()) {
    throw CannotMake("a presorted payload without a directory " + std::to_string(count + 1) + ": " +
                     directory.Path());
  }
  return count;
}

std::uint64_t ListLength(const std::vector<PayloadEntry>& payload) {
  std::uint64_t length = 0;
  for (const PayloadEntry& entry : payload) length += LineLength(entry);
  return length;
}

[[noreturn]] void RefuseSoManyVolumes() {
  throw CannotMake("more than " + std::to_string(kMostVolumes) + " volumes would be needed");
}

/// One volume being filled.
class Volume {
 public:
  Volume(std::uint64_t most_bytes, std::uint64_t other_bytes)
      : most_bytes_(most_bytes), bytes_(kVolumeFrame + other_bytes) {}

  /// False when the entry does not fit, and then nothing has changed.
  bool Take(const PayloadEntry& entry) {
    const std::vector<std::string> directories = NewDirectoriesFor(entry);
    if (BytesWith(entry, directories) > most_bytes_) return false;
    Add(entry, directories);
    return true;
  }

  /// Takes the entry whether it fits or not.
  void TakeAnyway(const PayloadEntry& entry) { Add(entry, NewDirectoriesFor(entry)); }

  /// What the volume needs on a disc, and what it would need with one more entry.
  std::uint64_t Bytes() const { return bytes_ + OnDisc(list_bytes_); }
  std::uint64_t BytesWith(const PayloadEntry& entry) const {
    return BytesWith(entry, NewDirectoriesFor(entry));
  }

  bool Fits() const { return Bytes() <= most_bytes_; }
  std::vector<PayloadEntry> Entries() && { return std::move(entries_); }

 private:
  static std::uint64_t ContentBytes(const PayloadEntry& entry,
                                    const std::vector<std::string>& new_directories) {
    return new_directories.size() * kDiscBlock + (entry.is_directory ? 0 : OnDisc(entry.size));
  }

  std::uint64_t BytesWith(const PayloadEntry& entry,
                          const std::vector<std::string>& new_directories) const {
    return bytes_ + ContentBytes(entry, new_directories) + OnDisc(list_bytes_ + LineLength(entry));
  }

  void Add(const PayloadEntry& entry, const std::vector<std::string>& directories) {
    bytes_ += ContentBytes(entry, directories);
    list_bytes_ += LineLength(entry);
    for (const std::string& directory : directories) {
      directories_.insert(directory);
      entries_.push_back({directory, /*is_directory=*/true, 0, {}});
    }
    if (!entry.is_directory) entries_.push_back(entry);
  }

  std::vector<std::string> NewDirectoriesFor(const PayloadEntry& entry) const {
    std::vector<std::string> missing;
    for (std::size_t slash = entry.name.find('/'); slash != std::string::npos;
         slash = entry.name.find('/', slash + 1)) {
      const std::string directory = entry.name.substr(0, slash);
      if (!directories_.contains(directory)) missing.push_back(directory);
    }
    if (entry.is_directory && !directories_.contains(entry.name)) missing.push_back(entry.name);
    return missing;
  }

  std::uint64_t most_bytes_;
  std::uint64_t bytes_;
  std::uint64_t list_bytes_ = 0;
  std::set<std::string> directories_;
  std::vector<PayloadEntry> entries_;
};

[[noreturn]] void RefuseAsTooLarge(const std::string& what, std::uint64_t bytes) {
  throw CannotMake(what + " (needs " + std::to_string(bytes) + " bytes)");
}

/// The first volume as it is before any payload is on it.
Volume FirstVolume(std::uint64_t most_bytes, std::uint64_t other_bytes) {
  Volume volume(most_bytes, other_bytes);
  if (!volume.Fits()) {
    RefuseAsTooLarge("the volume size is too small for what the first volume holds besides payload",
                     volume.Bytes());
  }
  return volume;
}

}  // namespace

std::vector<PayloadEntry> ListPayload(const OpenDirectory& directory) {
  return Lister(directory).Run();
}

std::uint64_t OnDisc(std::uint64_t size) {
  return (size + kDiscBlock - 1) / kDiscBlock * kDiscBlock;
}

std::vector<std::vector<PayloadEntry>> SplitPayload(const std::vector<PayloadEntry>& payload,
                                                    std::uint64_t most_bytes,
                                                    std::uint64_t first_bytes) {
  Volume volume = FirstVolume(most_bytes, first_bytes + OnDisc(ListLength(payload)));
  std::vector<std::vector<PayloadEntry>> volumes;
  for (std::size_t i = 0; i < payload.size(); ++i) {
    const PayloadEntry& entry = payload[i];
    const bool comes_with_its_files =
        i + 1 < payload.size() && payload[i + 1].name.starts_with(entry.name + "/");
    if (comes_with_its_files || volume.Take(entry)) continue;
    volumes.push_back(std::move(volume).Entries());
    volume = Volume(most_bytes, 0);
    if (!volume.Take(entry)) {
      RefuseAsTooLarge("larger than a volume: " + entry.name, volume.BytesWith(entry));
    }
    if (volumes.size() == kMostVolumes) RefuseSoManyVolumes();
  }
  volumes.push_back(std::move(volume).Entries());
  return volumes;
}

std::vector<std::vector<PayloadEntry>> PresortedPayload(const OpenDirectory& directory,
                                                        std::uint64_t most_bytes,
                                                        std::uint64_t first_bytes) {
  const std::size_t count = CountPresorted(directory);
  if (count > kMostVolumes) RefuseSoManyVolumes();
  std::vector<std::vector<PayloadEntry>> volumes;
  std::uint64_t list_of_all = 0;
  for (std::size_t i = 1; i <= count; ++i) {
    volumes.push_back(ListPayload(directory.Directory(std::to_string(i))));
    list_of_all += ListLength(volumes.back());
  }
  for (std::size_t i = 1; i <= count; ++i) {
    Volume volume =
        i == 1 ? FirstVolume(most_bytes, first_bytes + OnDisc(list_of_all)) : Volume(most_bytes, 0);
    bool fits = true;
    for (const PayloadEntry& entry : volumes[i - 1]) {
      if (volume.Take(entry)) continue;
      fits = false;
      volume.TakeAnyway(entry);
    }
    if (!fits) {
      RefuseAsTooLarge(
          "more than a volume holds: " + PathBelow(directory.Path(), std::to_string(i)),
          volume.Bytes());
    }
  }
  return volumes;
}

}  // namespace kvl
