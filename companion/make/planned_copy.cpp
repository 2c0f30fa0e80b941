#include "companion/make/planned_copy.h"

#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "companion/names/path_below.h"

namespace kvl {
namespace {

using KVLInsIO::EntryState;
using KVLInsIO::FileKind;
using KVLInsIO::OpenDirectory;
using KVLInsIO::OpenFile;

[[noreturn]] void RefuseAsChanged(const std::string& path) {
  throw std::runtime_error("changed since the media was planned: " + path);
}

}  // namespace

PlannedFile PlannedEntry(const PayloadEntry& entry, OpenTree& from) {
  const Place place(entry.name);
  const OpenDirectory& directory = from.At(place.directory);
  const std::string path = PathBelow(directory.Path(), place.name);
  std::optional<OpenFile> followed;
  if (from.FollowsLinks()) followed.emplace(path);
  const EntryState state = followed ? followed->State() : directory.Look(place.name);
  if (MarkOf(state) != entry.mark) RefuseAsChanged(path);
  return {followed ? *std::move(followed) : directory.File(place.name), state};
}

void CheckPlannedLink(const PayloadEntry& entry, OpenTree& from) {
  const Place place(entry.name);
  const OpenDirectory& directory = from.At(place.directory);
  const bool is_same = MarkOf(directory.Look(place.name)) == entry.mark;
  if (!is_same || directory.Target(place.name) != entry.target) {
    RefuseAsChanged(PathBelow(directory.Path(), place.name));
  }
}

Digest CopyPlanned(const PlannedFile& planned, const OpenDirectory& directory,
                   const std::string& name, FileKind kind, const SeeBytes& see) {
  const auto refuse_unless = [&planned](bool is_as_planned) {
    if (!is_as_planned) RefuseAsChanged(planned.file.Path());
  };
  Hasher hasher;
  refuse_unless(planned.file.State() == planned.state);
  directory.CopyFile(planned.file, name, kind, [&](std::string_view bytes) {
    hasher.Add(bytes);
    refuse_unless(hasher.Size() <= planned.state.size);
    if (see) see(bytes.size());
  });
  refuse_unless(hasher.Size() == planned.state.size && planned.file.State() == planned.state);
  return hasher.Finish();
}

}  // namespace kvl
