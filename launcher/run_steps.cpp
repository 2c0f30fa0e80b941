#include "launcher/run_steps.h"

#include "console/identity.h"
#include "environment/environment.h"
#include "environment/variables.h"
#include "launcher/staging.h"
#include "media/volume_scan.h"

namespace kvl {
namespace {

constexpr std::size_t kFirstFurtherVolume = 2;

}  // namespace

void ExportVolumePaths(int scan_code, const std::vector<std::string>& volume_paths) {
  if (scan_code <= kNothingMoreNeeded) return;
  for (std::size_t i = 0; i < volume_paths.size(); ++i) {
    SetEnv(variables::kVolumePathPrefix + std::to_string(i + kFirstFurtherVolume), volume_paths[i]);
  }
}

bool IsToBeStaged(const LauncherState& state) {
  return GetEnv(variables::kDontCopyInstaller).empty() && !state.ManagementMode;
}

void UseStagedInstaller(const std::string& staging_dir_slash, LauncherState& state) {
  state.InstallerCopied = true;
  SetEnv(variables::kOriginalMediaDir, state.MediaDir.Str());
  state.MediaDir = KVLInsIO::InsPath(staging_dir_slash);
  state.InstallerPath = InstallerIn(state.MediaDir, state.OsName, state.InstallerExeName);
}

void UseInstallerInPlace() {
  SetEnv(variables::kOriginalMediaDir, "");
}

InstallerSetting InstallerSettingOf(const LauncherState& state) {
  return {state.MediaDir.Str(), state.CommonDirPrefix, state.OsName, HasElevatedPrivileges(),
          state.InteractiveSession};
}

void AddInstallerArguments(LauncherState& state) {
  std::vector<std::string>& arguments = state.PassThroughArgs;
  if (!state.SoftMgt) {
    arguments.insert(arguments.begin(), {"-CDpath", state.MediaDir.Str()});
    return;
  }
  arguments.insert(arguments.end(), {"--mgt", state.MediaDir.Parent().Parent().Str(), "--var",
                                     "Radio_KVLSoftwareMgtCheck?" + state.SoftMgtAction + "=true"});
  SetEnv(variables::kSingleExec, "1");
  SetEnv(variables::kResume, "!r");
}

}  // namespace kvl
