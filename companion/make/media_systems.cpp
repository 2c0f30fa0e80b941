#include "companion/make/media_systems.h"

#include <filesystem>
#include <set>
#include <string_view>
#include <utility>

#include "companion/make/payload_list.h"
#include "companion/names/path_below.h"
#include "environment/media_names.h"
#include "insio/entry.h"

namespace kvl {
namespace {

bool IsPlainName(const std::string& name) {
  constexpr std::string_view kAllowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._+-";
  return !name.empty() && name.front() != '.' && name.front() != '-' &&
         name.find_first_not_of(kAllowed) == std::string::npos;
}

/// `refusal` goes in front of the name when it is refused.
void CheckIsPlainName(const std::string& name, const std::string& refusal) {
  if (!IsPlainName(name)) {
    throw CannotMake(refusal + name + " (letters, digits and ._+-, no \".\" or \"-\" in front)");
  }
  if (name.size() > kLongestDiscName) throw CannotMake("a name is too long for a disc: " + name);
}

void CheckSystemName(const std::string& name) {
  CheckIsPlainName(name, "--system: no plain name: ");
  if (name == names::kCommon || name == names::kVolumesFile) {
    throw CannotMake("--system: inst holds something else of this name: " + name);
  }
}

void CheckInstallerName(const std::string& name) {
  CheckIsPlainName(name, "--installer: no plain name: ");
  if (name == names::kLauncher) {
    throw CannotMake("--installer: the launcher has this name on the media: " + name);
  }
}

PlannedSystem PlanSystem(const SystemRequest& request) {
  CheckSystemName(request.name);
  if (!request.machine.empty()) CheckIsPlainName(request.machine, "--machine: no plain name: ");
  const std::string installer_name = std::filesystem::path(request.installer).filename();
  PlannedFile installer = PlanFile("installer", request.installer);
  PlannedFile launcher = PlanFile("launcher", request.launcher);
  CheckInstallerName(installer_name);
  return {request.name, request.machine, installer_name, std::move(installer), std::move(launcher)};
}

}  // namespace

std::string PlannedSystem::Programs() const {
  return PathBelow(name, PathBelow(names::kCode, names::kBin));
}

std::string PlannedSystem::PathOfInstaller() const {
  return PathBelow(Programs(), installer_name);
}

std::string PlannedSystem::PathOfLauncher() const {
  return PathBelow(Programs(), names::kLauncher);
}

PlannedFile PlanFile(const std::string& what, const std::string& path) {
  if (!KVLInsIO::IsRegularFile(path)) throw CannotMake("the " + what + " is not there: " + path);
  KVLInsIO::OpenFile file(path);
  const KVLInsIO::EntryState state = file.State();
  return {std::move(file), state};
}

std::vector<PlannedSystem> PlanSystems(const std::vector<SystemRequest>& requests) {
  std::vector<PlannedSystem> systems;
  std::set<std::string> names, machines;
  for (const SystemRequest& request : requests) {
    systems.push_back(PlanSystem(request));
    if (!names.insert(request.name).second) {
      throw CannotMake("--system: two of this name: " + request.name);
    }
    if (!machines.insert(request.machine).second) {
      throw CannotMake("--machine: two systems for one machine: " + request.machine);
    }
  }
  if (systems.size() > 1 && machines.contains("")) {
    throw CannotMake("--machine: each of several systems needs one");
  }
  return systems;
}

}  // namespace kvl
