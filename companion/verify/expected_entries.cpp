#include "companion/verify/expected_entries.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <span>
#include <utility>

#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"
#include "companion/seal/file_list.h"
#include "companion/seal/listed_path.h"
#include "companion/verify/disc.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;
using Kind = ExpectedEntry::Kind;

/// Reads the list of a volume's files.
class ListedFiles {
 public:
  ListedFiles(const OpenDirectory& directory, std::size_t number, const ManifestVolume& volume)
      : directory_(directory),
        name_(ListName(number)),
        volume_(volume),
        reader_([this](std::span<char> room) { return Read(room); }) {}
  ListedFiles(const ListedFiles&) = delete;
  ListedFiles& operator=(const ListedFiles&) = delete;

  std::optional<ExpectedEntry> Next() {
    std::optional<ListedFile> file = NextLine();
    if (!file) {
      CheckEnd();
      return {};
    }
    const std::vector<std::string>& programs = volume_.programs;
    const bool is_program =
        std::binary_search(programs.begin(), programs.end(), file->path, PathOrder());
    ++files_;
    if (is_program) ++programs_;
    return ExpectedEntry{
        .path = std::move(file->path), .is_program = is_program, .digest = file->digest};
  }

 private:
  [[noreturn]] void Refuse(FlawKind kind, const std::string& reason) const {
    throw FlawFound({kind, PathBelow(directory_.Path(), name_), reason});
  }

  std::optional<ListedFile> NextLine() try {
    return reader_.Next();
  } catch (const RefusedText& refusal) {
    Refuse(FlawKind::kWrongList, refusal.what());
  } catch (const std::exception& failure) {
    Refuse(FlawKind::kUnreadable, MessageOf(failure));
  }

  /// Throws when the manifest describes another list than the one that was read.
  void CheckEnd() {
    if (reader_.Finish() != volume_.list) {
      Refuse(FlawKind::kWrongList, "it changed while verify read it");
    }
    if (files_ != volume_.files || programs_ != volume_.programs.size()) {
      Refuse(FlawKind::kWrongList, "its files or programs are not those of the manifest");
    }
  }

  std::size_t Read(std::span<char> room) {
    const std::size_t length = directory_.File(name_).Read(read_, room);
    read_ += length;
    return length;
  }

  const OpenDirectory& directory_;
  const std::string name_;
  const ManifestVolume& volume_;
  std::uint64_t read_ = 0, files_ = 0;
  std::size_t programs_ = 0;
  FileListReader reader_;
};

}  // namespace

struct ExpectedEntries::Later {
  bool operator()(const Head& one, const Head& other) const {
    return PathOrder()(other.entry.path, one.entry.path);
  }
};

void ExpectedEntries::Add(std::size_t number, const ManifestVolume& volume) {
  for (const std::string& path : volume.directories) {
    in_manifest_.push_back({.path = path, .kind = Kind::kDirectory});
  }
  for (const ManifestLink& link : volume.links) {
    in_manifest_.push_back({.path = link.path, .kind = Kind::kLink, .target = link.target});
  }
  volumes_.emplace_back(number, &volume);
  bytes_ += volume.bytes;
  AddUncompared(ListName(number));
}

void ExpectedEntries::AddUncompared(const std::string& name) {
  in_manifest_.push_back({.path = name, .is_compared = false});
}

void ExpectedEntries::Begin() {
  streams_ = {InOrder()};
  for (const auto& [number, volume] : volumes_) {
    const auto files = std::make_shared<ListedFiles>(directory_, number, *volume);
    streams_.emplace_back([files] { return files->Next(); });
  }
  heads_.clear();
  for (std::size_t i = 0; i < streams_.size(); ++i) TakeFrom(i);
}

void ExpectedEntries::Advance() {
  std::pop_heap(heads_.begin(), heads_.end(), Later());
  const Head last = std::move(heads_.back());
  heads_.pop_back();
  TakeFrom(last.stream);
  if (Entry() != nullptr && Entry()->path == last.entry.path) {
    throw FlawFound({FlawKind::kBadManifest, PathBelow(directory_.Path(), names::kManifest),
                     "it and the lists name a path twice"});
  }
}

/// Returns the entries that the manifest itself names.
ExpectedEntries::Stream ExpectedEntries::InOrder() {
  std::sort(in_manifest_.begin(), in_manifest_.end(),
            [](const ExpectedEntry& one, const ExpectedEntry& other) {
              return PathOrder()(one.path, other.path);
            });
  // Volumes that lie in one directory may have directories in common.
  const auto is_same_directory = [](const ExpectedEntry& one, const ExpectedEntry& other) {
    return one.path == other.path && one.kind == Kind::kDirectory && other.kind == Kind::kDirectory;
  };
  in_manifest_.erase(std::unique(in_manifest_.begin(), in_manifest_.end(), is_same_directory),
                     in_manifest_.end());
  return [this, next = std::size_t{0}]() mutable -> std::optional<ExpectedEntry> {
    if (next == in_manifest_.size()) return {};
    return in_manifest_[next++];
  };
}

void ExpectedEntries::TakeFrom(std::size_t stream) {
  std::optional<ExpectedEntry> entry = streams_[stream]();
  if (!entry) return;
  heads_.push_back({*std::move(entry), stream});
  std::push_heap(heads_.begin(), heads_.end(), Later());
}

}  // namespace kvl
