#include "companion/verify/media_verify.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "companion/names/layout_name.h"
#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"
#include "companion/seal/listed_path.h"
#include "companion/seal/marker_text.h"
#include "companion/verify/contents_comparison.h"
#include "companion/verify/disc.h"
#include "companion/verify/expected_entries.h"
#include "companion/verify/sealed_disc.h"
#include "companion/verify/volume_walk.h"
#include "environment/media_names.h"
#include "insio/open_directory.h"
#include "media/marker.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;
using Names = std::vector<std::string>;
using Numbers = std::vector<std::size_t>;

std::string ListName(std::size_t volume) {
  return std::to_string(volume) + names::kListExtension;
}

class Verifier {
 public:
  explicit Verifier(const VerifyRequest& request) : request_(request) {
    report_.has_key = request.key.has_value();
  }

  VerifyReport Run() {
    for (const std::string& directory : request_.directories) Find(directory);
    ChooseManifest();
    for (const Seal& seal : seals_) Verify(seal);
    AddMissingVolumes();
    return std::move(report_);
  }

 private:
  /// Of a disc whose manifest can be read.
  struct Seal {
    Disc disc;
    Digest manifest;
    bool is_genuine;
  };

  void Add(FlawKind kind, const std::string& path, const std::string& detail = "") {
    report_.flaws.push_back({kind, path, detail});
  }

  void Find(const std::string& directory) try {
    for (const Disc& disc : FindDiscs(directory, report_.flaws)) {
      if (disc.number) {
        holders_.insert(directory);
        met_.insert(*disc.number);
      }
      SealedDisc sealed = ReadSeal(disc, request_.key, report_.flaws);
      if (sealed.manifest.empty()) continue;
      seals_.push_back({disc, DigestOf(sealed.manifest), sealed.is_genuine});
      // Of all manifests, one text is kept.
      const bool is_better = sealed.is_genuine && !seals_[chosen_].is_genuine;
      if (seals_.size() > 1 && !is_better) continue;
      chosen_ = seals_.size() - 1;
      manifest_text_ = std::move(sealed.manifest);
    }
  } catch (const std::exception& failure) {
    Add(FlawKind::kUnreadable, directory, MessageOf(failure));
  }

  /// Without any, nothing says what does not belong there.
  void ChooseManifest() {
    if (seals_.empty()) {
      std::erase_if(report_.flaws,
                    [](const Flaw& flaw) { return flaw.kind == FlawKind::kNotListed; });
      return;
    }
    manifest_ = ParseManifest(std::exchange(manifest_text_, {}));
    report_.tag = manifest_.tag;
    report_.layout = manifest_.layout;
    report_.volumes = manifest_.volumes.size();
  }

  void Verify(const Seal& seal) {
    const std::size_t before = report_.flaws.size();
    try {
      const OpenDirectory directory = seal.disc.Open();
      VerifyDisc(seal, directory, directory.Names());
    } catch (const std::exception& failure) {
      Add(FlawKind::kUnreadable, seal.disc.Path(), MessageOf(failure));
    }
    std::stable_sort(report_.flaws.begin() + static_cast<std::ptrdiff_t>(before),
                     report_.flaws.end(),
                     [](const Flaw& one, const Flaw& other) { return one.path < other.path; });
  }

  void VerifyDisc(const Seal& seal, const OpenDirectory& directory, const Names& names) {
    if (seal.manifest != seals_[chosen_].manifest) {
      return Add(FlawKind::kOtherMedia, PathBelow(directory.Path(), names::kManifest),
                 "not the manifest of " + seals_[chosen_].disc.Path());
    }
    const Numbers volumes = VolumesOn(seal.disc, names);
    met_.insert(volumes.begin(), volumes.end());
    if (seal.disc.number && volumes != Numbers{*seal.disc.number}) {
      Add(FlawKind::kOtherVolume, directory.Path(), "volume " + std::to_string(volumes.front()));
    }
    ExpectedEntries entries;
    for (const std::size_t volume : volumes) {
      if (!AddList(directory, names, volume, entries)) return;
      entries.AddUncompared(ListName(volume));
    }
    entries.AddUncompared(names::kManifest);
    if (Holds(names, names::kSignature)) entries.AddUncompared(names::kSignature);
    if (!entries.Sort()) {
      return Add(FlawKind::kBadManifest, PathBelow(directory.Path(), names::kManifest),
                 "a path of a list, too");
    }
    Compare(directory, volumes, entries);
  }

  /// All of those that lie in one directory, else the one of which most is there.
  Numbers VolumesOn(const Disc& disc, const Names& names) const {
    Numbers all;
    for (std::size_t i = 1; i <= manifest_.volumes.size(); ++i) all.push_back(i);
    if (manifest_.layout == kSingle || manifest_.layout == Layout::kFlat) return all;
    const auto is_less = [&](std::size_t one, std::size_t other) {
      return SignsOf(one, disc, names) < SignsOf(other, disc, names);
    };
    return {*std::max_element(all.begin(), all.end(), is_less)};
  }

  /// How much speaks for the volume: its list, then its marker, then the name of the directory.
  static int SignsOf(std::size_t volume, const Disc& disc, const Names& names) {
    constexpr int kList = 4, kMarker = 2;
    return (Holds(names, ListName(volume)) ? kList : 0) +
           (Holds(names, MarkerName(static_cast<std::int64_t>(volume))) ? kMarker : 0) +
           (disc.number == volume ? 1 : 0);
  }

  /// False when the volume's list cannot be relied on.
  bool AddList(const OpenDirectory& directory, const Names& names, std::size_t volume,
               ExpectedEntries& entries) {
    const auto text = TextOnDisc(directory, names, ListName(volume), kMostOfAList,
                                 FlawKind::kWrongList, report_.flaws);
    if (!text) return false;
    const std::string path = PathBelow(directory.Path(), ListName(volume));
    const ManifestVolume& in_manifest = manifest_.volumes[volume - 1];
    if (DigestOf(*text) != in_manifest.list) {
      Add(FlawKind::kWrongList, path, "not the one that the manifest is about");
      return false;
    }
    try {
      if (entries.Add(in_manifest, ParseFileList(*text))) return true;
      Add(FlawKind::kWrongList, path, "does not fit the manifest");
    } catch (const RefusedText& refusal) {
      Add(FlawKind::kWrongList, path, refusal.what());
    }
    return false;
  }

  void Compare(const OpenDirectory& directory, const Numbers& volumes,
               const ExpectedEntries& entries) {
    const std::size_t before = report_.flaws.size();
    const std::vector<std::size_t> files = WalkVolume(directory, entries, report_.flaws);
    const std::uint64_t bytes =
        CompareContents(directory, entries, files, request_.jobs, report_.flaws);
    report_.files += files.size();
    report_.bytes += bytes;
    for (const std::size_t volume : volumes) CompareTag(directory, volume, entries);
    report_.looked_at.insert(volumes.begin(), volumes.end());
    if (report_.flaws.size() == before && bytes != entries.Bytes()) {
      Add(FlawKind::kBadManifest, PathBelow(directory.Path(), names::kManifest),
          "the number of bytes is not that of the files");
    }
  }

  /// The tag in the manifest must be that of the markers, which the lists vouch for.
  void CompareTag(const OpenDirectory& directory, std::size_t volume,
                  const ExpectedEntries& entries) {
    const std::string marker = MarkerName(static_cast<std::int64_t>(volume));
    const bool is_am = manifest_.layout == Layout::kAm;
    CompareMarker(directory, marker, is_am ? AmTag(manifest_.tag) : manifest_.tag, entries);
    if (!is_am) return;
    CompareMarker(directory, PathBelow(PathBelow("media", std::to_string(volume)), marker),
                  manifest_.tag, entries);
  }

  void CompareMarker(const OpenDirectory& directory, const std::string& marker,
                     const std::string& tag, const ExpectedEntries& entries) {
    const Digest* const listed = entries.DigestAt(marker);
    if (listed != nullptr && *listed == DigestOf(MarkerText(tag))) return;
    Add(FlawKind::kOtherTag, PathBelow(directory.Path(), marker),
        "not a marker with the tag of the manifest");
  }

  void AddMissingVolumes() {
    for (const std::string& holder : holders_) {
      for (std::size_t i = 1; i <= report_.volumes; ++i) {
        if (!met_.contains(i)) Add(FlawKind::kMissing, PathBelow(holder, std::to_string(i)));
      }
    }
  }

  const VerifyRequest& request_;
  std::vector<Seal> seals_;
  std::size_t chosen_ = 0;  // whose manifest counts
  std::string manifest_text_;
  Manifest manifest_;
  std::set<std::string> holders_;  // directories that hold those of volumes
  std::set<std::size_t> met_;      // volumes that are there, in whatever state
  VerifyReport report_;
};

}  // namespace

std::vector<std::size_t> VerifyReport::NotLookedAt() const {
  std::vector<std::size_t> numbers;
  for (std::size_t i = 1; i <= volumes; ++i) {
    if (!looked_at.contains(i)) numbers.push_back(i);
  }
  return numbers;
}

VerifyReport VerifyMedia(const VerifyRequest& request) {
  return Verifier(request).Run();
}

}  // namespace kvl
