#include "companion/verify/expected_entries.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "companion/seal/listed_path.h"

namespace kvl {

using Kind = ExpectedEntry::Kind;

bool ExpectedEntries::Add(const ManifestVolume& volume, std::vector<ListedFile> list) {
  if (list.size() != volume.files) return false;
  std::size_t programs = 0;
  for (ListedFile& file : list) {
    const bool is_program =
        std::binary_search(volume.programs.begin(), volume.programs.end(), file.path, PathOrder());
    if (is_program) ++programs;
    entries_.push_back(
        {.path = std::move(file.path), .is_program = is_program, .digest = file.digest});
  }
  for (const std::string& path : volume.directories) {
    entries_.push_back({.path = path, .kind = Kind::kDirectory});
  }
  for (const ManifestLink& link : volume.links) {
    entries_.push_back({.path = link.path, .kind = Kind::kLink, .target = link.target});
  }
  bytes_ += volume.bytes;
  return programs == volume.programs.size();
}

void ExpectedEntries::AddUncompared(const std::string& name) {
  entries_.push_back({.path = name, .is_compared = false});
}

bool ExpectedEntries::Sort() {
  std::sort(
      entries_.begin(), entries_.end(),
      [](const ExpectedEntry& one, const ExpectedEntry& other) { return one.path < other.path; });
  // Volumes in one directory share the directories in it.
  const auto is_same_directory = [](const ExpectedEntry& one, const ExpectedEntry& other) {
    return one.path == other.path && one.kind == Kind::kDirectory && other.kind == Kind::kDirectory;
  };
  entries_.erase(std::unique(entries_.begin(), entries_.end(), is_same_directory), entries_.end());
  const auto is_same_path = [](const ExpectedEntry& one, const ExpectedEntry& other) {
    return one.path == other.path;
  };
  return std::adjacent_find(entries_.begin(), entries_.end(), is_same_path) == entries_.end();
}

std::size_t ExpectedEntries::IndexOf(std::string_view path) const {
  const auto at = std::lower_bound(
      entries_.begin(), entries_.end(), path,
      [](const ExpectedEntry& entry, std::string_view wanted) { return entry.path < wanted; });
  const bool is_there = at != entries_.end() && at->path == path;
  return is_there ? static_cast<std::size_t>(at - entries_.begin()) : entries_.size();
}

const Digest* ExpectedEntries::DigestAt(std::string_view path) const {
  const std::size_t index = IndexOf(path);
  if (index == entries_.size()) return nullptr;
  const ExpectedEntry& entry = entries_[index];
  return entry.kind == Kind::kFile && entry.is_compared ? &entry.digest : nullptr;
}

}  // namespace kvl
