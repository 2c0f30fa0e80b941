#include "companion/verify/disc_comparison.h"

#include <algorithm>
#include <array>
#include <map>
#include <span>

#include "companion/names/bounded_text.h"
#include "companion/names/path_below.h"
#include "companion/seal/marker_text.h"
#include "companion/verify/contents_comparison.h"
#include "companion/verify/disc.h"
#include "companion/verify/expected_entries.h"
#include "companion/verify/sealed_disc.h"
#include "companion/verify/volume_walk.h"
#include "environment/media_names.h"
#include "media/marker.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;
using KVLInsIO::OpenFile;
using Names = std::vector<std::string>;
using Markers = std::map<std::string, Digest>;

/// Adds the digests that the markers of a volume must have, by their paths.
void AddMarkers(const Manifest& manifest, std::size_t volume, Markers& markers) {
  const std::string marker = MarkerName(static_cast<std::int64_t>(volume));
  const bool is_am = manifest.layout == Layout::kAm;
  markers[marker] = DigestOf(MarkerText(is_am ? AmTag(manifest.tag) : manifest.tag));
  if (!is_am) return;
  markers[PathBelow(PathBelow("media", std::to_string(volume)), marker)] =
      DigestOf(MarkerText(manifest.tag));
}

class DiscComparison {
 public:
  DiscComparison(const OpenDirectory& directory, const Manifest& manifest)
      : directory_(directory), manifest_(manifest), expected_(directory) {}

  ComparedDisc Run(const std::vector<std::size_t>& volumes, unsigned jobs,
                   const std::function<void(std::size_t)>& see) {
    try {
      if (!Expect(volumes)) return std::move(disc_);
      ReadLists();
      Compare(jobs, see);
      disc_.is_looked_at = true;
    } catch (const FlawFound& reason) {
      disc_.flaws.push_back(reason.Found());
    }
    return std::move(disc_);
  }

 private:
  void Add(FlawKind kind, const std::string& name, const std::string& detail) {
    disc_.flaws.push_back({kind, PathBelow(directory_.Path(), name), detail});
  }

  /// Collects what must lie in the directory. Returns false when a list is missing or not the right
  /// one.
  bool Expect(const std::vector<std::size_t>& volumes) {
    const Names names = directory_.Names();
    for (const std::size_t volume : volumes) {
      if (!HasRightList(names, volume)) return false;
      expected_.Add(volume, manifest_.volumes[volume - 1]);
      AddMarkers(manifest_, volume, markers_);
    }
    expected_.AddUncompared(names::kManifest);
    if (Holds(names, names::kSignature)) expected_.AddUncompared(names::kSignature);
    return true;
  }

  bool HasRightList(const Names& names, std::size_t volume) {
    const auto hash = [](const OpenFile& file) {
      if (file.State().size > kMostOfAList) throw TooLong(kMostOfAList);
      std::array<char, 65536> buffer;
      return DigestOf(file, kMostOfAList, buffer, [](std::size_t) {});
    };
    Digest digest;
    const bool is_read =
        ReadOnDisc(directory_, names, ListName(volume), FlawKind::kWrongList, disc_.flaws,
                   [&](const OpenFile& file) { digest = hash(file); });
    if (!is_read) return false;
    if (digest == manifest_.volumes[volume - 1].list) return true;
    Add(FlawKind::kWrongList, ListName(volume), "its digest differs from that in the manifest");
    return false;
  }

  /// Reads the lists to their ends before anything is compared, which throws when one is not in
  /// order. Leaves only those markers in `markers_` that have another digest in the lists, or none.
  void ReadLists() {
    for (expected_.Begin(); expected_.Entry() != nullptr; expected_.Advance()) {
      const auto marker = markers_.find(expected_.Entry()->path);
      if (marker == markers_.end() || !expected_.Entry()->is_compared) continue;
      if (marker->second == expected_.Entry()->digest) markers_.erase(marker);
    }
  }

  void Compare(unsigned jobs, const std::function<void(std::size_t)>& see) {
    ContentsComparison contents(expected_.Bytes(), jobs, see);
    WalkVolume(directory_, expected_, contents, disc_.flaws);
    const ContentsComparison::Result& read = contents.Finish();
    disc_.flaws.insert(disc_.flaws.end(), read.flaws.begin(), read.flaws.end());
    disc_.files = read.files;
    disc_.bytes = read.bytes;
    for (const auto& [marker, unused] : markers_) {
      Add(FlawKind::kOtherTag, marker, "it is not a marker with the tag of the manifest");
    }
    if (disc_.flaws.empty() && disc_.bytes != expected_.Bytes()) {
      Add(FlawKind::kBadManifest, names::kManifest,
          "its number of bytes differs from that of the files");
    }
  }

  const OpenDirectory& directory_;
  const Manifest& manifest_;
  ExpectedEntries expected_;
  Markers markers_;
  ComparedDisc disc_;
};

}  // namespace

ComparedDisc CompareDisc(const OpenDirectory& directory, const Manifest& manifest,
                         const std::vector<std::size_t>& volumes, unsigned jobs,
                         const std::function<void(std::size_t)>& see) {
  ComparedDisc disc = DiscComparison(directory, manifest).Run(volumes, jobs, see);
  std::stable_sort(disc.flaws.begin(), disc.flaws.end(),
                   [](const Flaw& one, const Flaw& other) { return one.path < other.path; });
  return disc;
}

}  // namespace kvl
