#include "companion/make/planned_copy.h"

#include <stdexcept>
#include <string_view>

#include "companion/names/path_below.h"

namespace kvl {
namespace {

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
  if (from.FollowsLinks()) return {OpenFile(path), entry.state};
  if (directory.Look(place.name) != entry.state) RefuseAsChanged(path);
  return {directory.File(place.name), entry.state};
}

void CheckPlannedLink(const PayloadEntry& entry, OpenTree& from) {
  const Place place(entry.name);
  const OpenDirectory& directory = from.At(place.directory);
  if (directory.Look(place.name) != entry.state || directory.Target(place.name) != entry.target) {
    RefuseAsChanged(PathBelow(directory.Path(), place.name));
  }
}

Digest CopyPlanned(const PlannedFile& planned, const OpenDirectory& directory,
                   const std::string& name, FileKind kind) {
  const auto refuse_unless = [&planned](bool is_as_planned) {
    if (!is_as_planned) RefuseAsChanged(planned.file.Path());
  };
  Hasher hasher;
  refuse_unless(planned.file.State() == planned.state);
  directory.CopyFile(planned.file, name, kind, [&](std::string_view bytes) {
    hasher.Add(bytes);
    refuse_unless(hasher.Size() <= planned.state.size);
  });
  refuse_unless(hasher.Size() == planned.state.size && planned.file.State() == planned.state);
  return hasher.Finish();
}

}  // namespace kvl
