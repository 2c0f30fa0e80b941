#include "launcher/run_plan.h"

#include <utility>

#include "console/identity.h"
#include "environment/environment.h"
#include "environment/temporary_directory.h"
#include "environment/variables.h"
#include "launcher/installer_command.h"

namespace kvl {
namespace {

constexpr std::size_t kFirstFurtherVolume = 2;

void PlanInstaller(LauncherState& state, Logger& logger, RunPlan& plan) {
  InstallerFound found = FindInstaller(
      {state.MediaDir, state.OsName, state.InstallerExeName, state.InstallerPathArg}, logger);
  if (!found.media_with_blank.empty()) {
    plan.Status = ExitStatus::kBlankInInstallerMedia;
  } else if (found.source == InstallerSource::kNone) {
    plan.Status = ExitStatus::kNoInstaller;
  }
  state.InstallerPath = std::move(found.installer);
  state.CommonDirPrefix = std::move(found.inst_slash);
  plan.Source = found.source;
  plan.InstallerCandidate = std::move(found.candidate);
  plan.MediaWithBlank = std::move(found.media_with_blank);
}

/// The launcher puts its own arguments before or behind those that it passes through.
void AddInstallerArguments(LauncherState& state) {
  std::vector<std::string>& arguments = state.PassThroughArgs;
  if (!state.SoftMgt) {
    arguments.insert(arguments.begin(), {"-CDpath", state.MediaDir.Str()});
    return;
  }
  arguments.insert(arguments.end(), {"--mgt", state.MediaDir.Parent().Parent().Str(), "--var",
                                     "Radio_KVLSoftwareMgtCheck?" + state.SoftMgtAction + "=true"});
}

void PlanStaging(const LauncherState& state, RunPlan& plan) {
  plan.TempRoot = TemporaryDirectory();
  plan.StagingDir = NewStagingDirectory(plan.TempRoot);
  plan.CopyInstaller = GetEnv(variables::kDontCopyInstaller).empty() && !state.ManagementMode;
  if (!plan.CopyInstaller) return;
  plan.StagingDir = FreeStagingDirectory(plan.TempRoot, std::move(plan.StagingDir));
  plan.Copies =
      StagingCopies({state.MediaDir, state.CommonDirPrefix, state.OsName, plan.StagingDir});
  plan.OriginalMediaDir = state.MediaDir.Str();
}

void PlanStart(const LauncherState& state, RunPlan& plan) {
  LauncherState& start = plan.AtStart;
  start = state;
  if (plan.CopyInstaller) {
    start.InstallerCopied = true;
    start.MediaDir = KVLInsIO::InsPath(plan.StagingDir);
    start.InstallerPath = InstallerIn(start.MediaDir, start.OsName, start.InstallerExeName);
  }
  AddInstallerArguments(start);
  plan.CommandLine = InstallerCommand(start.InstallerPath, start.PassThroughArgs);
}

}  // namespace

RunPlan PlanRun(LauncherState& state, Logger& logger) {
  RunPlan plan;
  state.OsName = GetEnv(variables::kOs);
  PlanInstaller(state, logger, plan);
  if (plan.Status) return plan;
  PlanVolumes(state, logger, plan);
  if (plan.Status || plan.Abort) return plan;
  PlanStaging(state, plan);
  PlanStart(state, plan);
  return plan;
}

void PlanVolumes(LauncherState& state, Logger& logger, RunPlan& plan) {
  try {
    plan.Scan = ScanMediaOf(state, logger);
  } catch (const std::exception&) {
    plan.Abort = std::current_exception();
    return;
  }
  plan.VolumeCount = plan.Scan.code;
  plan.VolumePaths = std::move(plan.Scan.volumes);
  if (!GetEnv(variables::kQueryVolumeCount).empty()) {
    plan.Status = VolumeCountStatus(plan.VolumeCount);
    return;
  }
  ExportVolumePaths(plan.VolumeCount, plan.VolumePaths);
}

ScanOutcome ScanMediaOf(LauncherState& state, Logger& logger) {
  ScanOutcome outcome = ScanMediaVolumes(state.MediaDir, state.SoftMgt, logger);
  if (outcome.complete) state.ManagementMode = true;
  return outcome;
}

void ExportVolumePaths(int volume_count, const std::vector<std::string>& volume_paths) {
  if (volume_count <= kNothingMoreNeeded) return;
  for (std::size_t i = 0; i < volume_paths.size(); ++i) {
    SetEnv(variables::kVolumePathPrefix + std::to_string(i + kFirstFurtherVolume), volume_paths[i]);
  }
}

void ExportToInstaller(const RunPlan& plan) {
  SetEnv(variables::kOriginalMediaDir, plan.OriginalMediaDir);
  SetInstallerEnvironment(InstallerSettingOf(plan.AtStart));
  if (!plan.AtStart.SoftMgt) return;
  SetEnv(variables::kSingleExec, "1");
  SetEnv(variables::kResume, "!r");
}

InstallerSetting InstallerSettingOf(const LauncherState& state) {
  return {state.MediaDir.Str(), state.CommonDirPrefix, state.OsName, HasElevatedPrivileges(),
          state.InteractiveSession};
}

}  // namespace kvl
