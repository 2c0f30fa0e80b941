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

/// `what` names the name in the message.
void CheckIsPlainName(const std::string& name, const std::string& what) {
  if (!IsPlainName(name)) {
    throw CannotMake(what + " is not a valid name: " + name +
                     "; use letters, digits and ._+- only, and begin with neither . nor -");
  }
  if (name.size() > kLongestDiscName) {
    throw CannotMake(what + " is too long for a disc: " + name + "; shorten it to " +
                     std::to_string(kLongestDiscName) + " bytes");
  }
}

void CheckSystemName(const std::string& name) {
  CheckIsPlainName(name, "--system");
  if (name == names::kCommon || name == names::kVolumesFile) {
    throw CannotMake("--system is a name that inst has for something else: " + name +
                     "; choose another name");
  }
}

void CheckInstallerName(const std::string& name) {
  CheckIsPlainName(name, "the file name of the installer");
  if (name == names::kLauncher) {
    throw CannotMake("the file name of the installer is that of the launcher on the media: " +
                     name + "; rename the installer");
  }
}

PlannedSystem PlanSystem(const SystemRequest& request) {
  CheckSystemName(request.name);
  if (!request.machine.empty()) CheckIsPlainName(request.machine, "--machine");
  const std::string installer_name = std::filesystem::path(request.installer).filename();
  PlannedFile installer = PlanFile("installer", request.installer, "--installer");
  PlannedFile launcher = PlanFile("launcher", request.launcher, "--launcher");
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

PlannedFile PlanFile(const std::string& what, const std::string& path, const std::string& option) {
  if (!KVLInsIO::IsRegularFile(path)) {
    throw CannotMake("the " + what + " is missing or not a regular file: " + path +
                     "; name it with " + option);
  }
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
      throw CannotMake("two systems have the same name: " + request.name +
                       "; give each --system another name");
    }
    if (!machines.insert(request.machine).second) {
      throw CannotMake("two systems are for the same machine: " + request.machine +
                       "; give each --machine once");
    }
  }
  if (systems.size() > 1 && machines.contains("")) {
    throw CannotMake("--machine is empty; name the machine of each system");
  }
  return systems;
}

}  // namespace kvl
