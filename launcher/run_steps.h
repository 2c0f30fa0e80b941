// The steps of a run that decide what will be done, and tell the installer so by its variables and
// arguments. None of them touches a file or starts anything.
#pragma once

#include <string>
#include <vector>

#include "environment/installer_environment.h"
#include "launcher/launcher_state.h"

namespace kvl {

/// Sets KVLAdmInstVolumePath_2, _3, ... to the directories of the further volumes, when the scan
/// found them all outside the media directory.
void ExportVolumePaths(int scan_code, const std::vector<std::string>& volume_paths);

/// False when the installer is to run from where it is: in management mode, or when
/// KVLAdmInstDontCopyInstaller is set.
bool IsToBeStaged(const LauncherState& state);

/// Lets the state and KVLAdmInstOriginalMediaDir say that the installer has been copied into
/// `staging_dir_slash`, which ends in "/".
void UseStagedInstaller(const std::string& staging_dir_slash, LauncherState& state);

/// Lets KVLAdmInstOriginalMediaDir say that it has not.
void UseInstallerInPlace();

/// What the installer's environment is made from.
InstallerSetting InstallerSettingOf(const LauncherState& state);

/// Adds to the arguments passed on what the launcher itself has to tell the installer: the media
/// directory, or in software management what is to be done, then with two variables.
void AddInstallerArguments(LauncherState& state);

}  // namespace kvl
