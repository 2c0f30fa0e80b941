// RunPlan: all that a run decides before it copies or starts anything. The Launcher acts on it.
// Whoever wants to know what a run would do reads it.
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

/// Of a run that ends early, only what it finds out before it ends.
struct RunPlan {
  /// What the run ends with when it starts no installer.
  std::optional<ExitStatus> Status;
  /// The exception that ends the program, when the scan throws one.
  std::exception_ptr Abort;

  std::string InstallerCandidate;  ///< where the current media would have the installer
  InstallerSource Source = InstallerSource::kNone;
  std::string MediaWithBlank;  ///< the external media that is refused for a blank in its path

  ScanOutcome Scan;                      ///< but its volumes, which are the next two
  int VolumeCount = 0;                   ///< the scan's result code
  std::vector<std::string> VolumePaths;  ///< the directories of volume 2, 3, ...

  std::string TempRoot;    ///< the temporary directory, as it is named
  std::string StagingDir;  ///< a directory in it, ending in "/"; drawn even when it is not used
  bool CopyInstaller = false;
  std::vector<StagingCopy> Copies;  ///< in their order; none when the installer runs in place

  std::string OriginalMediaDir;  ///< the media when it is staged, otherwise empty
  LauncherState AtStart;         ///< the Launcher's fields when it starts the installer
  std::string CommandLine;       ///< what RunCommand is given
};

/// Decides what the run does, with the messages and the variables that come before it copies and
/// starts. `state` is what the command line has made of it; it learns the system's name, the
/// installer that was found, and whether the media is complete. Copies, makes and starts nothing.
RunPlan PlanRun(LauncherState& state, Logger& logger);

/// The part of PlanRun that scans the media: its outcome, and how it ends the run, if it does.
void PlanVolumes(LauncherState& state, Logger& logger, RunPlan& plan);

/// Scans the media (see media/volume_scan.h), and lets the state know when it is complete.
ScanOutcome ScanMediaOf(LauncherState& state, Logger& logger);

/// Sets KVLAdmInstVolumePath_2, _3, ... to the directories of the further volumes, when the scan
/// found them all outside the media directory.
void ExportVolumePaths(int volume_count, const std::vector<std::string>& volume_paths);

/// Sets all that the installer of a plan finds in its environment, in the order of the run: the
/// media's first place, the installer environment, and in software management two variables more.
void ExportToInstaller(const RunPlan& plan);

/// What the installer's environment is made from.
InstallerSetting InstallerSettingOf(const LauncherState& state);

}  // namespace kvl
