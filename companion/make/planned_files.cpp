#include "companion/make/planned_files.h"

#include "companion/names/path_below.h"
#include "environment/media_names.h"

namespace kvl {

std::string PlaceOfVolume(Layout layout, std::size_t volume) {
  const std::string number = std::to_string(volume);
  if (layout == Layout::kAm) return PathBelow(number, PathBelow("media", number));
  return layout == Layout::kSibling ? number : std::string();
}

std::string PathOfPayload(std::size_t volume, const PayloadEntry& entry) {
  return PathBelow(PathBelow(names::kPayload, std::to_string(volume)), entry.name);
}

bool IsReadMe(const PayloadEntry& entry) {
  return entry.IsFile() && entry.name == names::kReadMe;
}

std::string PathOfInst(const PayloadEntry& entry) {
  return IsReadMe(entry) ? entry.name : PathBelow(names::kInst, entry.name);
}

void ForEachCopy(const MediaPlan& plan, const SeeFile& see) {
  for (std::size_t i = 1; i <= plan.volumes.size(); ++i) {
    for (const PayloadEntry& entry : plan.volumes[i - 1]) {
      if (!entry.IsDirectory()) see(i, PathOfPayload(i, entry), entry.size);
    }
  }
  for (const PayloadEntry& entry : plan.inst_entries) {
    if (!entry.IsDirectory()) see(1, PathOfInst(entry), entry.size);
  }
  for (const PlannedSystem& system : plan.systems) {
    see(1, PathBelow(names::kInst, system.PathOfLauncher()), system.launcher.state.size);
    see(1, PathBelow(names::kInst, system.PathOfInstaller()), system.installer.state.size);
  }
}

}  // namespace kvl
