#include "companion/make/image_plan.h"

#include <unistd.h>

#include <string>

#include "companion/make/planned_files.h"
#include "companion/names/layout_name.h"
#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

std::string BytesAtMost(std::uint64_t count) {
  return std::to_string(count) + " bytes";
}

/// `path` is where xorriso reads the entry.
void CheckEntry(const PayloadEntry& entry, const std::string& path) {
  if (path.size() > kMostOfAPath) {
    throw CannotMake("a path is too long for a disc image: " + path + "; shorten it to " +
                     BytesAtMost(kMostOfAPath));
  }
  if (entry.target.size() > kMostOfALink) {
    throw CannotMake("the target of a link is too long for a disc image: " + path +
                     "; shorten it to " + BytesAtMost(kMostOfALink));
  }
  if (entry.size > kMostOfAFile) {
    throw CannotMake("a file is too large for a disc image: " + path +
                     "; split it into files of up to " + BytesAtMost(kMostOfAFile));
  }
}

void CheckEntries(const MediaPlan& plan) {
  const auto in_volume = [&plan](std::size_t volume, const std::string& path) {
    const std::string place = PlaceOfVolume(plan.layout, volume);
    return PathBelow(plan.directory, place.empty() ? path : PathBelow(place, path));
  };
  for (std::size_t i = 1; i <= plan.volumes.size(); ++i) {
    for (const PayloadEntry& entry : plan.volumes[i - 1]) {
      CheckEntry(entry, in_volume(i, PathOfPayload(i, entry)));
    }
  }
  for (const PayloadEntry& entry : plan.inst_entries) {
    CheckEntry(entry, in_volume(1, PathOfInst(entry)));
  }
}

/// Checks the place of the image of a single volume, which lies beside the directory of the media.
void CheckPlace(const DiscImage& image) {
  const PathState media = StateAt(image.directory);
  if (media.IsThere() && !KVLInsIO::OpenDirectory(image.directory).Names().empty()) {
    throw CannotMake("DIR is not empty, and its contents would be on the disc image, too: " +
                     image.directory + "; name a directory in it");
  }
  if (StateOfEntry(image.path).IsThere()) {
    throw CannotMake("the path of the disc image exists already: " + image.path +
                     "; remove it, or name another DIR");
  }
  const std::string beside = Place(image.path).directory + "/";
  if (StateAt(beside).IsThere() && ::access(beside.c_str(), W_OK | X_OK) != 0) {
    throw CannotMake("you have no permission to write the disc image there: " + beside +
                     "; name another DIR");
  }
}

}  // namespace

std::vector<DiscImage> PlanImages(const MediaMakeRequest& request, const MediaPlan& plan) {
  if (plan.layout == Layout::kFlat) {
    throw CannotMake(
        "--layout flat puts all volumes into one directory, and a disc image needs a directory for "
        "each volume; use sibling or am, or leave --iso out");
  }
  CheckEntries(plan);
  std::vector<DiscImage> images;
  for (std::size_t i = 1; i <= plan.volumes.size(); ++i) {
    const std::string directory =
        plan.layout == kSingle ? plan.directory : PathBelow(plan.directory, std::to_string(i));
    images.push_back({.directory = directory,
                      .path = directory + names::kImageExtension,
                      .name = ImageName(request.tag, i),
                      .most_bytes = request.volume_size});
  }
  if (plan.layout == kSingle) CheckPlace(images.front());
  return images;
}

}  // namespace kvl
