#include "companion/verify/media_seal.h"

#include <stdexcept>

#include "companion/names/path_below.h"
#include "companion/seal/manifest.h"
#include "companion/seal/minisign.h"
#include "companion/verify/disc.h"
#include "companion/verify/sealed_disc.h"
#include "environment/media_names.h"
#include "insio/open_directory.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

[[noreturn]] void Refuse(const std::string& path, const std::string& reason) {
  throw std::runtime_error("the media cannot be sealed: " + path + ": " + reason);
}

/// Throws for the first flaw. A missing entry and one that is not listed have no detail.
void RefuseFlaws(const std::vector<Flaw>& flaws) {
  if (flaws.empty()) return;
  const Flaw& flaw = flaws.front();
  if (!flaw.detail.empty()) Refuse(flaw.path, flaw.detail);
  Refuse(flaw.path, flaw.kind == FlawKind::kMissing ? "it is missing; name a volume that make wrote"
                                                    : "it belongs to no volume; remove it");
}

std::vector<Disc> DiscsOf(const std::vector<std::string>& directories) {
  std::vector<Disc> discs;
  std::vector<Flaw> flaws;
  for (const std::string& directory : directories) {
    for (Disc& disc : FindDiscs(directory, flaws)) discs.push_back(std::move(disc));
  }
  RefuseFlaws(flaws);
  return discs;
}

/// Returns the manifest, which must be the same on all discs.
std::string ManifestOf(const std::vector<Disc>& discs) {
  std::string manifest;
  std::vector<Flaw> flaws;
  for (const Disc& disc : discs) {
    SealedDisc sealed = ReadSeal(disc, /*key=*/{}, flaws);
    RefuseFlaws(flaws);
    if (manifest.empty()) manifest = std::move(sealed.manifest);
    if (&disc != &discs.front() && manifest != sealed.manifest) {
      Refuse(disc.Path(), "its manifest differs from that of " + discs.front().Path() +
                              "; name volumes of one media");
    }
  }
  return manifest;
}

/// Returns whether the directory has this signature. Throws if it has another one.
bool IsSigned(const OpenDirectory& directory, const std::string& signature) {
  const std::vector<std::string> names = directory.Names();
  if (!Holds(names, names::kSignature)) return false;
  std::vector<Flaw> flaws;
  const auto text = TextOnDisc(directory, names, names::kSignature, kMostOfASignature,
                               FlawKind::kNotGenuine, flaws);
  if (text != signature) {
    Refuse(PathBelow(directory.Path(), names::kSignature),
           "it is another signature; remove it first");
  }
  return true;
}

}  // namespace

SealedMedia SealMedia(const std::vector<std::string>& directories, const std::string& key) {
  const std::vector<Disc> discs = DiscsOf(directories);
  const std::string manifest = ManifestOf(discs);
  const std::string signature = SignWithMinisign(key, manifest);
  for (const Disc& disc : discs) IsSigned(disc.Open(), signature);
  for (const Disc& disc : discs) {
    const OpenDirectory directory = disc.Open();
    if (IsSigned(directory, signature)) continue;
    directory.WriteFile(names::kSignature, signature, KVLInsIO::FileKind::kPlain,
                        directory.Look(names::kManifest).modified);
    directory.SyncFileSystem();
  }
  return {ParseManifest(manifest).tag, discs.size()};
}

}  // namespace kvl
