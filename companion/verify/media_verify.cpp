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
    std::map<std::size_t, int> signs;  // see SealedDisc
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
    const std::string path = seal.disc.Path();
    if (seal.manifest != seals_[chosen_].manifest) {
      return Add(FlawKind::kOtherMedia, PathBelow(path, names::kManifest),
                 "not the manifest of " + seals_[chosen_].disc.Path());
    }
    const Numbers volumes = VolumesOn(seal);
    met_.insert(volumes.begin(), volumes.end());
    if (seal.disc.number && volumes != Numbers{*seal.disc.number}) {
      Add(FlawKind::kOtherVolume, path, "volume " + std::to_string(volumes.front()));
    }
    try {
      const ComparedDisc disc =
          CompareDisc(seal.disc.Open(), manifest_, volumes, request_.jobs, [](std::size_t) {});
      report_.files += disc.files;
      report_.bytes += disc.bytes;
      if (disc.is_looked_at) report_.looked_at.insert(volumes.begin(), volumes.end());
      report_.flaws.insert(report_.flaws.end(), disc.flaws.begin(), disc.flaws.end());
    } catch (const std::exception& failure) {
      Add(FlawKind::kUnreadable, path, MessageOf(failure));
    }
  }

  /// All of those that lie in one directory, else the one of which most is there.
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
