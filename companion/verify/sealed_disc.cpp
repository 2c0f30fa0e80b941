#include "companion/verify/sealed_disc.h"

#include <sys/stat.h>

#include <exception>

#include "companion/names/bounded_text.h"
#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"
#include "companion/seal/listed_path.h"
#include "companion/seal/manifest.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;
using KVLInsIO::OpenFile;
using Names = std::vector<std::string>;

std::optional<std::string> ManifestText(const OpenDirectory& directory, const Names& names,
                                        std::vector<Flaw>& flaws) {
  std::optional<std::string> text = TextOnDisc(directory, names, names::kManifest, kMostOfAManifest,
                                               FlawKind::kBadManifest, flaws);
  try {
    if (text) ParseManifest(*text);
    return text;
  } catch (const RefusedText& refusal) {
    flaws.push_back(
        {FlawKind::kBadManifest, PathBelow(directory.Path(), names::kManifest), refusal.what()});
  }
  return {};
}

/// Returns whether the key proves that the manifest is genuine.
bool IsGenuine(const OpenDirectory& directory, const Names& names, const std::string& manifest,
               const std::optional<PublicKey>& key, std::vector<Flaw>& flaws) {
  if (!key && !Holds(names, names::kSignature)) return false;
  const auto signature = TextOnDisc(directory, names, names::kSignature, kMostOfASignature,
                                    FlawKind::kNotGenuine, flaws);
  if (!signature) return false;
  const std::string why =
      key ? WhyNotGenuine(*key, manifest, *signature) : WhyNoSignature(*signature);
  if (why.empty()) return key.has_value();
  flaws.push_back({FlawKind::kNotGenuine, PathBelow(directory.Path(), names::kSignature), why});
  return false;
}

std::map<std::size_t, int> SignsOf(const Disc& disc, const Names& names) {
  constexpr int kList = 4, kMarker = 2;
  std::map<std::size_t, int> signs;
  if (disc.number) signs[*disc.number] = 1;
  for (const std::string& name : names) {
    if (const auto volume = VolumeIn(name, names::kListExtension)) signs[*volume] += kList;
    if (const auto volume = VolumeIn(name, names::kMarkerExtension)) signs[*volume] += kMarker;
  }
  return signs;
}

}  // namespace

bool ReadOnDisc(const OpenDirectory& directory, const Names& names, const std::string& name,
                FlawKind too_long, std::vector<Flaw>& flaws,
                const std::function<void(const OpenFile&)>& read) {
  const std::string path = PathBelow(directory.Path(), name);
  try {
    if (!Holds(names, name)) {
      flaws.push_back({FlawKind::kMissing, path});
    } else if (!S_ISREG(directory.Look(name).mode)) {
      flaws.push_back({FlawKind::kWrongKind, path, "it is not a regular file"});
    } else {
      const OpenFile file = directory.File(name);
      file.ExpectReading();
      read(file);
      return true;
    }
  } catch (const TooLong& refusal) {
    flaws.push_back({too_long, path, refusal.what()});
  } catch (const std::exception& failure) {
    flaws.push_back({FlawKind::kUnreadable, path, MessageOf(failure)});
  }
  return false;
}

std::optional<std::string> TextOnDisc(const OpenDirectory& directory, const Names& names,
                                      const std::string& name, std::uint64_t most_bytes,
                                      FlawKind too_long, std::vector<Flaw>& flaws) {
  std::optional<std::string> text;
  ReadOnDisc(directory, names, name, too_long, flaws,
             [&](const OpenFile& file) { text = WholeText(file, most_bytes); });
  return text;
}

SealedDisc ReadSeal(const Disc& disc, const std::optional<PublicKey>& key,
                    std::vector<Flaw>& flaws) {
  SealedDisc sealed = {.disc = disc};
  try {
    const OpenDirectory directory = disc.Open();
    const Names names = directory.Names();
    sealed.manifest = ManifestText(directory, names, flaws).value_or("");
    if (sealed.manifest.empty()) return sealed;
    sealed.is_genuine = IsGenuine(directory, names, sealed.manifest, key, flaws);
    sealed.signs = SignsOf(disc, names);
  } catch (const std::exception& failure) {
    flaws.push_back({FlawKind::kUnreadable, disc.Path(), MessageOf(failure)});
  }
  return sealed;
}

}  // namespace kvl
