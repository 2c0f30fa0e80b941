#include "companion/media_plan.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <string_view>

#include "companion/tree_survey.h"
#include "insio/finder.h"

namespace kvl {
namespace {

/// Room for the marker, its directories, and the beginnings of the payload's own.
constexpr std::uint64_t kVolumeFrame = 6 * kDiscBlock;

/// The length of a file's line in a list: sum, size, name, with some room for the volume's number.
std::uint64_t LineLength(const PayloadEntry& entry) {
  constexpr std::uint64_t kSumAndSize = 40;
  return entry.is_directory ? 0 : entry.name.size() + kSumAndSize;
}

class Lister {
 public:
  explicit Lister(const std::string& top) : top_(top) {}

  std::vector<PayloadEntry> Run() {
    ListBelow("");
    return std::move(entries_);
  }

 private:
  void ListBelow(const std::string& prefix) {
    std::vector<std::string> names;
    const std::string directory = top_ + "/" + prefix;
    const bool is_whole = KVLInsIO::ForEachName(directory, [&](std::string_view name) {
      if (name != "." && name != "..") names.emplace_back(name);
    });
    if (!is_whole) throw CannotMake("cannot list the directory: " + directory);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) Take(prefix + name, name);
  }

  void Take(const std::string& path, const std::string& name) {
    const std::string full = top_ + "/" + path;
    struct stat status;
    if (::lstat(full.c_str(), &status) != 0) throw CannotMake("cannot read: " + full);
    if (name.find_first_of("\n\r") != std::string::npos) {
      throw CannotMake("a name with a line break cannot be listed: " + full);
    }
    if (name.size() > kLongestDiscName) {
      throw CannotMake("a name is too long for a disc: " + full);
    }
    if (S_ISLNK(status.st_mode)) {
      throw CannotMake("a link could be torn from what it leads to: " + full);
    }
    const bool is_directory = S_ISDIR(status.st_mode);
    if (!is_directory && !S_ISREG(status.st_mode)) {
      throw CannotMake("neither a file nor a directory: " + full);
    }
    if (::faccessat(AT_FDCWD, full.c_str(), R_OK, AT_EACCESS) != 0) {
      throw CannotMake("cannot read: " + full);
    }
    entries_.push_back(
        {path, is_directory, is_directory ? 0 : static_cast<std::uint64_t>(status.st_size)});
    if (is_directory) ListBelow(path + "/");
  }

  std::string top_;
  std::vector<PayloadEntry> entries_;
};

/// A number above 0 as it is written without need: no sign, no 0 in front.
bool IsVolumeNumber(const std::string& name) {
  return name.front() != '0' && name.find_first_not_of("0123456789") == std::string::npos;
}

bool IsDirectory(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// The numbers for which `directory` holds a directory: 1, 2, ... up to the result.
std::size_t CountPresorted(const std::string& directory) {
  std::set<std::string> names;
  const bool is_whole = KVLInsIO::ForEachName(directory, [&](std::string_view name) {
    if (name != "." && name != "..") names.emplace(name);
  });
  if (!is_whole) throw CannotMake("cannot list the directory: " + directory);
  const std::string prefix = directory + "/";
  for (const std::string& name : names) {
    const std::string path = prefix + name;
    if (!IsVolumeNumber(name) || !IsDirectory(path)) {
      throw CannotMake("a presorted payload holds directories 1, 2, ... and nothing else: " + path);
    }
  }
  std::size_t count = 0;
  while (names.contains(std::to_string(count + 1))) ++count;
  if (count == 0 || count < names.size()) {
    throw CannotMake("a presorted payload without a directory " + std::to_string(count + 1) + ": " +
                     directory);
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
      entries_.push_back({directory, /*is_directory=*/true, 0});
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

std::vector<PayloadEntry> ListPayload(const std::string& directory) {
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

std::vector<std::vector<PayloadEntry>> PresortedPayload(const std::string& directory,
                                                        std::uint64_t most_bytes,
                                                        std::uint64_t first_bytes) {
  const std::size_t count = CountPresorted(directory);
  if (count > kMostVolumes) RefuseSoManyVolumes();
  std::vector<std::vector<PayloadEntry>> volumes;
  std::uint64_t list_of_all = 0;
  for (std::size_t i = 1; i <= count; ++i) {
    volumes.push_back(ListPayload(directory + "/" + std::to_string(i)));
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
      RefuseAsTooLarge("more than a volume holds: " + directory + "/" + std::to_string(i),
                       volume.Bytes());
    }
  }
  return volumes;
}

}  // namespace kvl
