#include "companion/calls/made_volume.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "companion/names/bounded_text.h"
#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/seal/listed_path.h"
#include "companion/seal/manifest.h"
#include "companion/verify/disc.h"
#include "companion/verify/expected_entries.h"
#include "environment/media_names.h"
#include "insio/open_directory.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

void RemoveDirectory(const std::string& path) {
  std::error_code error;
  std::filesystem::remove(path, error);
  if (error) {
    throw std::runtime_error("the directory cannot be removed: " + path + ": " + error.message());
  }
}

/// Throws RefusedText if somebody has changed the manifest.
Manifest ManifestIn(const OpenDirectory& directory) {
  return ParseManifest(WholeText(directory.File(names::kManifest), kMostOfAManifest));
}

[[noreturn]] void RefuseToRemove(const std::string& path) {
  throw std::runtime_error("the volume was not removed, because this was changed: " + path);
}

/// Removes all files and links except lists, manifest and signature. Returns the directories.
std::vector<std::string> RemoveFiles(const OpenDirectory& directory, std::size_t volume,
                                     const Manifest& manifest) {
  ExpectedEntries expected(directory);
  expected.Add(volume, manifest.volumes.at(volume - 1));
  // A list that somebody has changed is noticed at its end, before anything is removed.
  for (expected.Begin(); expected.Entry() != nullptr;) expected.Advance();
  OpenTree tree(directory, OpenTree::Missing::kFails);
  std::vector<std::string> directories;
  for (expected.Begin(); expected.Entry() != nullptr; expected.Advance()) {
    const ExpectedEntry& entry = *expected.Entry();
    if (entry.kind == ExpectedEntry::Kind::kDirectory) {
      directories.push_back(entry.path);
    } else if (entry.is_compared) {
      const Place place(entry.path);
      tree.At(place.directory).Delete(place.name);
    }
  }
  return directories;
}

}  // namespace

void RemoveVolume(const std::string& directory, std::size_t volume, bool stays) {
  try {
    const OpenDirectory open(directory);
    std::vector<std::string> directories = RemoveFiles(open, volume, ManifestIn(open));
    const std::vector<std::string> names = open.Names();
    for (const std::string& name :
         {ListName(volume), std::string(names::kManifest), std::string(names::kSignature)}) {
      if (Holds(names, name)) open.Delete(name);
    }
    std::reverse(directories.begin(), directories.end());  // contents before their directory
    for (const std::string& path : directories) {
      RemoveDirectory(PathBelow(directory, path));
    }
  } catch (const RefusedText&) {
    RefuseToRemove(PathBelow(directory, names::kManifest));
  } catch (const FlawFound& reason) {
    RefuseToRemove(reason.Found().path);
  }
  if (!stays) RemoveDirectory(directory);
}

}  // namespace kvl
