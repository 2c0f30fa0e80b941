#include "companion/verify/media_verify.h"

#include <algorithm>
#include <exception>
#include <map>
#include <utility>

#include "companion/names/layout_name.h"
#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"
#include "companion/verify/disc.h"
#include "companion/verify/disc_comparison.h"
#include "companion/verify/sealed_disc.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

using Numbers = std::vector<std::size_t>;

class Verifier {
 public:
  explicit Verifier(const VerifyRequest& request) : request_(request) {
    report_.has_key = request.key.has_value();
  }

  VerifyReport Run() {
    FindAll();
    if (chosen_) CountBytes();
    for (const Seal& seal : seals_) Verify(seal);
    AddMissingVolumes();
    return std::move(report_);
  }

  VerifyReport RunOneByOne(const AskForVolume& ask) {
    std::string why;
    do {
      why = TakeOne();
    } while ((!chosen_ || !report_.NotLookedAt().empty()) && ask(report_.NotLookedAt(), why));
    if (!chosen_) return Run();
    AddMissingVolumes();
    return std::move(report_);
  }

 private:
  /// A disc whose manifest can be read.
  struct Seal {
    Disc disc;
    Digest manifest;
    bool is_genuine;
    std::map<std::size_t, int> signs;  ///< see SealedDisc
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
      seals_.push_back({disc, DigestOf(sealed.manifest), sealed.is_genuine, sealed.signs});
      // Keeps the text of one manifest only.
      const bool is_better = chosen_ && sealed.is_genuine && !chosen_->is_genuine;
      if (is_settled_ || (chosen_ && !is_better)) continue;
      chosen_ = seals_.back();
      manifest_text_ = std::move(sealed.manifest);
    }
  } catch (const std::exception& failure) {
    Add(FlawKind::kUnreadable, directory, MessageOf(failure));
  }

  /// Looks into all directories. As soon as there is a manifest, chooses the one that describes the
  /// media.
  void FindAll() {
    seals_.clear();
    for (const std::string& directory : request_.directories) Find(directory);
    if (is_settled_) return;
    if (!chosen_) {  // without a manifest, nothing is known to be out of place
      std::erase_if(report_.flaws,
                    [](const Flaw& flaw) { return flaw.kind == FlawKind::kNotListed; });
      return;
    }
    is_settled_ = true;
    manifest_ = ParseManifest(std::exchange(manifest_text_, {}));
    report_.tag = manifest_.tag;
    report_.layout = manifest_.layout;
    report_.volumes = manifest_.volumes.size();
  }

  void CountBytes() {
    for (const Seal& seal : seals_) {
      if (seal.manifest != chosen_->manifest) continue;
      for (const std::size_t volume : VolumesOn(seal)) {
        in_all_ += manifest_.volumes[volume - 1].bytes;
      }
    }
  }

  /// Verifies the volumes that are there now. Returns why there is none to verify, or an empty
  /// text.
  std::string TakeOne() {
    const std::vector<Flaw> before = report_.flaws;
    FindAll();
    const auto is_new = [this](const Seal& seal) {
      if (seal.manifest != chosen_->manifest) return false;
      const Numbers volumes = VolumesOn(seal);
      return std::ranges::none_of(
          volumes, [this](std::size_t volume) { return report_.looked_at.contains(volume); });
    };
    const bool is_of_media = std::ranges::any_of(
        seals_, [this](const Seal& seal) { return seal.manifest == chosen_->manifest; });
    std::erase_if(seals_, [&](const Seal& seal) { return !is_new(seal); });
    if (seals_.empty()) {
      report_.flaws = before;
      return is_of_media ? "this volume has been looked at already"
                         : "this is not a volume of the media";
    }
    CountBytes();
    for (const Seal& seal : seals_) Verify(seal);
    return "";
  }

  void Verify(const Seal& seal) {
    const std::string path = seal.disc.Path();
    if (seal.manifest != chosen_->manifest) {
      return Add(FlawKind::kOtherMedia, PathBelow(path, names::kManifest),
                 "it differs from the manifest of " + chosen_->disc.Path());
    }
    const Numbers volumes = VolumesOn(seal);
    met_.insert(volumes.begin(), volumes.end());
    if (seal.disc.number && volumes != Numbers{*seal.disc.number}) {
      Add(FlawKind::kOtherVolume, path, "it holds volume " + std::to_string(volumes.front()));
    }
    const auto see = [&](std::size_t bytes) {
      done_ += bytes;
      request_.progress(volumes.front(), done_, in_all_);
    };
    try {
      const ComparedDisc disc =
          CompareDisc(seal.disc.Open(), manifest_, volumes, request_.jobs, see);
      report_.files += disc.files;
      report_.bytes += disc.bytes;
      if (disc.is_looked_at) report_.looked_at.insert(volumes.begin(), volumes.end());
      report_.flaws.insert(report_.flaws.end(), disc.flaws.begin(), disc.flaws.end());
    } catch (const std::exception& failure) {
      Add(FlawKind::kUnreadable, path, MessageOf(failure));
    }
  }

  /// Returns the volumes on a disc: all volumes when the layout puts them into one directory,
  /// otherwise the one that most signs speak for.
  Numbers VolumesOn(const Seal& seal) const {
    Numbers all;
    for (std::size_t i = 1; i <= manifest_.volumes.size(); ++i) all.push_back(i);
    if (manifest_.layout == kSingle || manifest_.layout == Layout::kFlat) return all;
    const auto signs_of = [&](std::size_t volume) {
      const auto signs = seal.signs.find(volume);
      return signs == seal.signs.end() ? 0 : signs->second;
    };
    return {*std::ranges::max_element(all, {}, signs_of)};
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
  std::optional<Seal> chosen_;  // the one whose manifest describes the media
  bool is_settled_ = false;     // chosen_ does not change any more
  std::string manifest_text_;
  Manifest manifest_;
  std::set<std::string> holders_;        // directories that hold directories of volumes
  std::set<std::size_t> met_;            // volumes that were found, in whatever state
  std::uint64_t done_ = 0, in_all_ = 0;  // bytes read, and bytes in all volumes found
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

VerifyReport VerifyOneByOne(const VerifyRequest& request, const AskForVolume& ask) {
  return Verifier(request).RunOneByOne(ask);
}

}  // namespace kvl
