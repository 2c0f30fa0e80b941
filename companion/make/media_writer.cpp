#include "companion/make/media_writer.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "companion/names/path_below.h"
#include "companion/seal/marker_text.h"
#include "environment/media_names.h"
#include "media/marker.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

/// Joins a directory and a path; either may be empty.
std::string In(const std::string& directory, const std::string& path) {
  if (directory.empty() || path.empty()) return directory + path;
  return PathBelow(directory, path);
}

MediaWriter::Kind KindOf(const PayloadEntry& entry) {
  return entry.is_program ? MediaWriter::Kind::kProgram : MediaWriter::Kind::kPlain;
}

/// Returns a function that copies the entry and returns its digest. It keeps the entry's directory
/// open.
auto CopyOf(const PayloadEntry& entry, OpenTree& from, const SeeBytes& see) {
  const Place place(entry.name);
  const Links links = from.FollowsLinks() ? Links::kFollowed : Links::kKept;
  return [directory = from.Hold(place.directory), source = place.name, mark = entry.mark, links,
          kind = KindOf(entry), see](const OpenDirectory& to, const std::string& name) {
    return CopyPlanned(OpenPlanned(*directory, source, mark, links), to, name, kind, see);
  };
}

std::string MarkerOf(std::size_t volume) {
  return MarkerName(static_cast<std::int64_t>(volume));
}

}  // namespace

MediaWriter::MediaWriter(const OpenDirectory& top, Layout layout, std::size_t volumes,
                         std::int64_t time, std::size_t jobs)
    : layout_(layout),
      time_(time),
      media_(top, OpenTree::Missing::kIsMade),
      records_(volumes),
      copies_(jobs) {}

void MediaWriter::MakeDirectory(std::size_t volume, const std::string& path) {
  At(volume, OnDisc(volume, path));
}

void MediaWriter::Write(std::size_t volume, const std::string& path, std::string_view text,
                        Kind kind) {
  WriteAt(volume, OnDisc(volume, path), text, kind);
  List(volume, path, text, kind);
}

void MediaWriter::List(std::size_t volume, const std::string& path, std::string_view text,
                       Kind kind) {
  Add(volume, OnDisc(volume, path), DigestOf(text), text.size(), kind);
}

void MediaWriter::Copy(std::size_t volume, const std::string& path, const PlannedFile& file,
                       Kind kind) {
  const std::string on_disc = OnDisc(volume, path);
  ListedFile& listed = Add(volume, on_disc, {}, file.state.size, kind);
  CopyLater(volume, on_disc, file.state.size,
            [&file, &listed, kind](const OpenDirectory& to, const std::string& name) {
              listed.digest = CopyPlanned(file, to, name, kind);
            });
}

void MediaWriter::Copy(std::size_t volume, const std::string& path, const PayloadEntry& entry,
                       OpenTree& from) {
  const std::string on_disc = OnDisc(volume, path);
  ListedFile& listed = Add(volume, on_disc, {}, entry.size, KindOf(entry));
  const auto copy = CopyOf(entry, from, {});
  CopyLater(volume, on_disc, entry.size,
            [copy, &listed](const OpenDirectory& to, const std::string& name) {
              listed.digest = copy(to, name);
            });
}

void MediaWriter::BeginPayload(const std::string& list, const SeeBytes& see) {
  list_path_ = OnDisc(1, list);
  see_payload_ = see;
  const Place place(list_path_);
  list_.emplace(At(1, place.directory), place.name);
}

void MediaWriter::CopyOfPayload(std::size_t volume, const std::string& path,
                                const PayloadEntry& entry, OpenTree& from) {
  const std::string on_disc = OnDisc(volume, path);
  CountIn(volume, on_disc, entry.size, KindOf(entry));
  ++records_[volume - 1].payload_files;
  ListOfAll::Line& line = list_->Add(volume, on_disc);
  const auto copy = CopyOf(entry, from, see_payload_);
  CopyLater(volume, on_disc, entry.size,
            [this, copy, &line](const OpenDirectory& to, const std::string& name) {
              list_->SetDigest(line, copy(to, name));
            });
  if (list_->IsFull()) WaitForCopies();
}

void MediaWriter::EndPayload() {
  WaitForCopies();
  list_->Finish(time_);
  Add(1, list_path_, list_->File().Sum(), list_->File().Size(), Kind::kPlain);
}

void MediaWriter::CopyLater(std::size_t volume, const std::string& path, std::uint64_t size,
                            Copying copying) {
  const Place place(path);
  auto directory = Hold(volume, place.directory);
  // Keeps the number of open directories small.
  if (std::exchange(last_directory_, directory) != directory) copies_.HandOver();
  const auto copy = [this, copying = std::move(copying), directory, name = place.name] {
    try {
      copying(*directory, name);
    } catch (...) {
      const std::lock_guard lock(failing_);
      if (!failure_) failure_ = std::current_exception();
    }
  };
  copies_.Run(copy, size);
  RethrowFailure();
}

void MediaWriter::Link(std::size_t volume, const std::string& path, const PayloadEntry& entry,
                       OpenTree& from) {
  CheckPlannedLink(entry, from);
  const std::string on_disc = OnDisc(volume, path);
  const Place place(on_disc);
  At(volume, place.directory).MakeLink(place.name, entry.target, entry.modified);
  records_[volume - 1].links.push_back({on_disc, entry.target});
}

void MediaWriter::Finish(const std::string& tag, const Signer& sign) {
  WaitForCopies();
  const std::vector<LastFile> last_files = LastFiles(tag);
  for (const auto& [volume, path, text] : last_files) {
    Add(volume, path, DigestOf(text), text.size(), Kind::kPlain);
  }
  Manifest manifest = {.tag = tag, .layout = layout_, .volumes = {}};
  const Place list(list_path_);
  ListOfAllReader payload(At(1, list.directory), list.name, *list_);
  for (std::size_t i = 1; i <= records_.size(); ++i) {
    manifest.volumes.push_back(WriteList(i, payload));
  }
  payload.Finish();
  const std::size_t discs = DirectoryOf(1).empty() ? 1 : records_.size();
  const std::string whole = TextOf(manifest);
  for (std::size_t i = 1; i <= discs; ++i) WriteAt(i, names::kManifest, whole, Kind::kPlain);
  if (sign) {
    const std::string signature = sign(whole);
    for (std::size_t i = 1; i <= discs; ++i) WriteAt(i, names::kSignature, signature, Kind::kPlain);
  }
  for (const auto& [volume, path, text] : last_files) WriteAt(volume, path, text, Kind::kPlain);
  SetTimes();
}

const OpenDirectory& MediaWriter::PlaceOf(std::size_t volume) {
  return At(volume, OnDisc(volume, ""));
}

/// Returns the directory of a volume below the media's own directory.
std::string MediaWriter::DirectoryOf(std::size_t volume) const {
  const bool has_own = layout_ == Layout::kSibling || layout_ == Layout::kAm;
  return has_own ? std::to_string(volume) : "";
}

/// Turns a path that begins where the launcher finds the volume into one that begins at the
/// volume's directory.
std::string MediaWriter::OnDisc(std::size_t volume, const std::string& path) const {
  return layout_ == Layout::kAm ? In(PathBelow("media", std::to_string(volume)), path) : path;
}

const OpenDirectory& MediaWriter::At(std::size_t volume, const std::string& directory) {
  return *Hold(volume, directory);
}

/// Opens a directory of a volume. Makes and records it, and those above it, if they are new.
std::shared_ptr<const OpenDirectory> MediaWriter::Hold(std::size_t volume,
                                                       const std::string& directory) {
  std::set<std::string, PathOrder>& known = records_[volume - 1].directories;
  for (std::string path = directory; !path.empty() && known.insert(path).second;) {
    path = Place(path).directory;
  }
  return media_.Hold(In(DirectoryOf(volume), directory));
}

void MediaWriter::WriteAt(std::size_t volume, const std::string& path, std::string_view text,
                          Kind kind) {
  const Place place(path);
  At(volume, place.directory).WriteFile(place.name, text, kind, time_);
}

void MediaWriter::WaitForCopies() {
  copies_.Wait();
  RethrowFailure();
}

void MediaWriter::RethrowFailure() {
  const std::lock_guard lock(failing_);
  if (failure_) std::rethrow_exception(failure_);
}

ListedFile& MediaWriter::Add(std::size_t volume, const std::string& path, const Digest& digest,
                             std::uint64_t size, Kind kind) {
  CountIn(volume, path, size, kind);
  return records_[volume - 1].files.emplace_back(ListedFile{path, digest});
}

void MediaWriter::CountIn(std::size_t volume, const std::string& path, std::uint64_t size,
                          Kind kind) {
  Record& record = records_[volume - 1];
  if (kind == Kind::kProgram) record.programs.push_back(path);
  record.bytes += size;
}

std::vector<MediaWriter::LastFile> MediaWriter::LastFiles(const std::string& tag) const {
  const std::string number = std::to_string(records_.size()) + "\n";
  std::vector<LastFile> files = {
      {1, OnDisc(1, PathBelow(names::kInst, names::kVolumesFile)), number}};
  for (std::size_t i = 1; i <= records_.size(); ++i) {
    if (layout_ == Layout::kAm) files.push_back({i, MarkerOf(i), MarkerText(AmTag(tag))});
    files.push_back({i, OnDisc(i, MarkerOf(i)), MarkerText(tag)});
  }
  return files;
}

/// Writes the list of a volume, and returns the manifest's entry for the volume.
ManifestVolume MediaWriter::WriteList(std::size_t volume, ListOfAllReader& payload) {
  Record& record = records_[volume - 1];
  const auto by_path = [](const auto& one, const auto& other) {
    return PathOrder()(one.path, other.path);
  };
  std::sort(record.programs.begin(), record.programs.end(), PathOrder());
  std::sort(record.links.begin(), record.links.end(), by_path);
  std::sort(record.files.begin(), record.files.end(), by_path);
  const std::string number = std::to_string(volume);
  const ListedFile directory = {OnDisc(volume, PathBelow(names::kPayload, number)), {}};
  const auto behind =
      std::lower_bound(record.files.begin(), record.files.end(), directory, by_path);
  SummedFile list(At(volume, ""), number + names::kListExtension);
  const auto add = [&list](const ListedFile& file) { list.Add(LineOf(file)); };
  std::for_each(record.files.begin(), behind, add);
  payload.ShowLines(record.payload_files, [&list](std::string_view line) { list.Add(line); });
  std::for_each(behind, record.files.end(), add);
  list.Finish(time_);
  return {.files = record.files.size() + record.payload_files,
          .bytes = record.bytes,
          .list = list.Sum(),
          .directories = {record.directories.begin(), record.directories.end()},
          .programs = std::move(record.programs),
          .links = std::move(record.links)};
}

void MediaWriter::SetTimes() {
  for (std::size_t i = 1; i <= records_.size(); ++i) {
    At(i, "").SetTime(time_);
    for (const std::string& directory : records_[i - 1].directories) {
      At(i, directory).SetTime(time_);
    }
  }
}

}  // namespace kvl
