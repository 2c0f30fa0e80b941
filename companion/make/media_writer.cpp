#include "companion/make/media_writer.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "companion/make/planned_copy.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "companion/seal/marker_text.h"
#include "environment/media_names.h"
#include "media/marker.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

/// The path in a directory that may be the empty one.
std::string In(const std::string& directory, const std::string& path) {
  if (directory.empty() || path.empty()) return directory + path;
  return PathBelow(directory, path);
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
  CopyHeld(volume, path, {std::shared_ptr<void>(), &file}, kind);
}

void MediaWriter::Copy(std::size_t volume, const std::string& path, const PayloadEntry& entry,
                       OpenTree& from) {
  const Kind kind = IsProgram(entry.state.mode) ? Kind::kProgram : Kind::kPlain;
  CopyHeld(volume, path, std::make_shared<const PlannedFile>(PlannedEntry(entry, from)), kind);
}

void MediaWriter::CopyHeld(std::size_t volume, const std::string& path,
                           const std::shared_ptr<const PlannedFile>& file, Kind kind) {
  const std::string on_disc = OnDisc(volume, path);
  const Place place(on_disc);
  const auto directory = Hold(volume, place.directory);
  ListedFile& listed = Add(volume, on_disc, {}, file->state.size, kind);
  copies_.Run([this, directory, name = place.name, file, kind, &listed] {
    try {
      listed.digest = CopyPlanned(*file, *directory, name, kind);
    } catch (...) {
      const std::lock_guard lock(failing_);
      if (!failure_) failure_ = std::current_exception();
    }
  });
  RethrowFailure();
}

std::string MediaWriter::ListOfAll() {
  WaitForCopies();
  std::string list;
  for (std::size_t i = 1; i <= records_.size(); ++i) {
    for (const ListedFile& file : records_[i - 1].files)
      list += std::to_string(i) + " " + LineOf(file);
  }
  return list;
}

void MediaWriter::Link(std::size_t volume, const std::string& path, const PayloadEntry& entry,
                       OpenTree& from) {
  CheckPlannedLink(entry, from);
  const std::string on_disc = OnDisc(volume, path);
  const Place place(on_disc);
  At(volume, place.directory).MakeLink(place.name, entry.target, entry.state.modified);
  records_[volume - 1].links.push_back({on_disc, entry.target});
}

void MediaWriter::Finish(const std::string& tag, const Signer& sign) {
  WaitForCopies();
  const std::vector<Marker> markers = Markers(tag);
  for (const auto& [volume, path, text] : markers) {
    Add(volume, path, DigestOf(text), text.size(), Kind::kPlain);
  }
  Manifest manifest = {.tag = tag, .layout = layout_, .volumes = {}};
  for (std::size_t i = 1; i <= records_.size(); ++i) manifest.volumes.push_back(WriteList(i));
  const std::size_t discs = DirectoryOf(1).empty() ? 1 : records_.size();
  const std::string whole = TextOf(manifest);
  for (std::size_t i = 1; i <= discs; ++i) WriteAt(i, names::kManifest, whole, Kind::kPlain);
  if (sign) {
    const std::string signature = sign(whole);
    for (std::size_t i = 1; i <= discs; ++i) WriteAt(i, names::kSignature, signature, Kind::kPlain);
  }
  for (const auto& [volume, path, text] : markers) WriteAt(volume, path, text, Kind::kPlain);
  SetTimes();
}

const OpenDirectory& MediaWriter::PlaceOf(std::size_t volume) {
  return At(volume, OnDisc(volume, ""));
}

/// Below the top.
std::string MediaWriter::DirectoryOf(std::size_t volume) const {
  const bool has_own = layout_ == Layout::kSibling || layout_ == Layout::kAm;
  return has_own ? std::to_string(volume) : "";
}

/// A path from the volume's directory, for one from the place where the launcher finds it.
std::string MediaWriter::OnDisc(std::size_t volume, const std::string& path) const {
  return layout_ == Layout::kAm ? In(PathBelow("media", std::to_string(volume)), path) : path;
}

const OpenDirectory& MediaWriter::At(std::size_t volume, const std::string& directory) {
  return *Hold(volume, directory);
}

/// Makes a directory of a volume, and those on the way, or opens it.
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
  Record& record = records_[volume - 1];
  if (kind == Kind::kProgram) record.programs.push_back(path);
  record.files.push_back({path, digest});
  record.bytes += size;
  return record.files.back();
}

std::vector<MediaWriter::Marker> MediaWriter::Markers(const std::string& tag) const {
  std::vector<Marker> markers;
  for (std::size_t i = 1; i <= records_.size(); ++i) {
    if (layout_ == Layout::kAm) markers.push_back({i, MarkerOf(i), MarkerText(AmTag(tag))});
    markers.push_back({i, OnDisc(i, MarkerOf(i)), MarkerText(tag)});
  }
  return markers;
}

/// Returns what the manifest says of the volume.
ManifestVolume MediaWriter::WriteList(std::size_t volume) {
  Record& record = records_[volume - 1];
  std::sort(record.programs.begin(), record.programs.end(), PathOrder());
  std::sort(record.links.begin(), record.links.end(),
            [](const ManifestLink& one, const ManifestLink& other) {
              return PathOrder()(one.path, other.path);
            });
  std::sort(record.files.begin(), record.files.end(),
            [](const ListedFile& one, const ListedFile& other) {
              return PathOrder()(one.path, other.path);
            });
  std::string list;
  for (const ListedFile& file : record.files) list += LineOf(file);
  WriteAt(volume, std::to_string(volume) + names::kListExtension, list, Kind::kPlain);
  return {.files = record.files.size(),
          .bytes = record.bytes,
          .list = DigestOf(list),
          .directories = {record.directories.begin(), record.directories.end()},
          .programs = record.programs,
          .links = record.links};
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
