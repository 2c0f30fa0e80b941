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
  throw std::runtime_error("this changed while make was at work: " + path +
                           "; change nothing until make has ended");
}

}  // namespace

PlannedFile OpenPlanned(const OpenDirectory& from, const std::string& name, std::uint64_t mark,
                        Links links) {
  const std::string path = PathBelow(from.Path(), name);
  std::optional<OpenFile> followed;
  if (links == Links::kFollowed) followed.emplace(path);
  const EntryState state = followed ? followed->State() : from.Look(name);
  if (MarkOf(state) != mark) RefuseAsChanged(path);
  return {followed ? *std::move(followed) : from.File(name), state};
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
