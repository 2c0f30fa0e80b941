// RunPlan: everything that a run decides before it copies or starts anything. The Launcher acts on
// it; `kvl-media check` only reads it.
#pragma once

#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "environment/installer_environment.h"
#include "launcher/exit_status.h"
#include "launcher/launcher_state.h"
#include "launcher/staging.h"
#include "media/installer_search.h"
#include "media/volume_scan.h"

namespace kvl {

class Logger;

/// The plan of a run. If the run ends early, the fields that it does not reach keep their defaults.
struct RunPlan {
  /// The status with which the run ends, if it starts no installer.
  std::optional<ExitStatus> Status;
  /// The exception that the scan threw, if any. It ends the program.
  std::exception_ptr Abort;

  std::string InstallerCandidate;  ///< the installer's path in the current media, present or not
  InstallerSource Source = InstallerSource::kNone;
  std::string MediaWithBlank;  ///< the external media refused for a blank in its path

  ScanOutcome Scan;                      ///< without its volumes, which VolumePaths has
  int VolumeCount = 0;                   ///< the scan's result code
  std::vector<std::string> VolumePaths;  ///< the directories of volume 2, 3, ...

  std::string TempRoot;    ///< the temporary directory, as given
  std::string StagingDir;  ///< a directory in it, ending in "/"; set even if it is not used
  bool CopyInstaller = false;
  std::vector<StagingCopy> Copies;  ///< in order; empty when the installer runs in place

  std::string OriginalMediaDir;  ///< the media, if the installer is staged; otherwise empty
  LauncherState AtStart;         ///< the Launcher's fields when it starts the installer
  std::string CommandLine;       ///< for RunCommand
};

/// Decides what the run does. Copies, creates and starts nothing, but writes the messages and sets
/// the variables that a run writes and sets before it copies anything. `state` is what the command
/// line gave; PlanRun adds the system's name, the installer that it found, and whether the media is
/// complete.
RunPlan PlanRun(LauncherState& state, Logger& logger);

/// Scans the media for PlanRun. Stores the outcome in `plan`, and the status or exception if it
/// ends the run.
void PlanVolumes(LauncherState& state, Logger& logger, RunPlan& plan);

/// Scans the media (see media/volume_scan.h). Sets ManagementMode in `state` when the media is
/// complete.
ScanOutcome ScanMediaOf(LauncherState& state, Logger& logger);

/// Sets KVLAdmInstVolumePath_2, _3, ... to the directories of the further volumes if the scan found
/// all of them outside the media directory. Otherwise sets nothing.
void ExportVolumePaths(int volume_count, const std::vector<std::string>& volume_paths);

/// Sets the variables that the installer of a plan finds in its environment, in this order: the
/// original media directory, the installer environment, and in software management two more
/// variables.
void ExportToInstaller(const RunPlan& plan);

/// Returns the input of SetInstallerEnvironment.
InstallerSetting InstallerSettingOf(const LauncherState& state);

}  // namespace kvl
