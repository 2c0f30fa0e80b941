// The run sequence.
#include "launcher/launcher.h"

#include <exception>

#include "console/identity.h"
#include "console/run_command.h"
#include "environment/environment.h"
#include "environment/installer_environment.h"
#include "environment/variables.h"
#include "insio/entry.h"
#include "launcher/clean_up_script.h"
#include "launcher/exit_status.h"
#include "launcher/installer_command.h"
#include "launcher/staging.h"
#include "media/installer_media.h"
#include "media/volume_scan.h"

namespace kvl {

using KVLInsIO::InsPath;

namespace {

constexpr std::size_t kFirstFurtherVolume = 2;

void ExportVolumePaths(int volume_count, const std::vector<std::string>& volume_paths) {
  if (volume_count <= kNothingMoreNeeded) return;
  for (std::size_t i = 0; i < volume_paths.size(); ++i) {
    SetEnv(variables::kVolumePathPrefix + std::to_string(i + kFirstFurtherVolume), volume_paths[i]);
  }
}

}  // namespace

int Launcher::Run() {
  OsName = GetEnv(variables::kOs);
  FindInstaller();

  std::vector<std::string> volume_paths;
  const int volume_count = ScanMediaVolumes(volume_paths);
  if (!GetEnv(variables::kQueryVolumeCount).empty()) EndProcess(VolumeCountStatus(volume_count));
  ExportVolumePaths(volume_count, volume_paths);

  const std::string staging_dir_slash = NewStagingDirectory();
  if (GetEnv(variables::kDontCopyInstaller).empty() && !ManagementMode) {
    StageInstaller(staging_dir_slash);
  } else {
    SetEnv(variables::kOriginalMediaDir, "");
  }

  SetInstallerEnvironment();
  AddInstallerArguments();
  if (InstallerCopied) LeaveCleanUpScript(staging_dir_slash);
  return RunCommand(InstallerCommand(InstallerPath, PassThroughArgs));
}

void Launcher::FindInstaller() {
  FindInstallerInMedia();
  if (!InstallerPath.empty() || FindExternalInstaller()) return;
  Message("The installer is not found, please read the file \"ReadMe_UNIX.txt\".", kError, kMarked);
  EndProcess(ExitStatus::kNoInstaller);
}

void Launcher::FindInstallerInMedia() {
  const std::string candidate = InstallerIn(MediaDir, OsName, InstallerExeName);
  Message(candidate, kInformation, kMarked);
  if (!KVLInsIO::Exists(candidate)) {
    Message("No installer in the current media.", kInformation, kMarked);
  } else if (!GetEnv(variables::kUseExternalInstaller).empty()) {
    Message("Installer found in the current media, \"" + candidate +
                "\" but do not use it because of " + variables::kUseExternalInstaller + " env var.",
            kInformation, kMarked);
  } else {
    InstallerPath = candidate;
    Message("Installer found in current media: \"" + candidate + "\".", kInformation, kMarked);
  }
}

bool Launcher::FindExternalInstaller() {
  if (!InstallerPathArg.empty()) {
    Message("Argument \"-installerPath\" found and its value is \"" + InstallerPathArg + "\".",
            kInformation, kMarked);
    if (ValidateInstallerMedia(InstallerPathArg, kWithVerdict)) return true;
  }
  const std::string media = GetEnv(variables::kExternalInstallerMedia);
  if (media.empty()) return false;
  Message("Environment variable " + std::string(variables::kExternalInstallerMedia) +
              " is defined and its value is \"" + media + "\".",
          kInformation, kMarked);
  return ValidateInstallerMedia(media, kWithVerdict);
}

void Launcher::StageInstaller(const std::string& staging_dir_slash) {
  try {
    kvl::StageInstaller({MediaDir, CommonDirPrefix, OsName, staging_dir_slash});
  } catch (const std::exception& failure) {
    Message("Cannot copy the installer to a temporary directory: " + staging_dir_slash, kError,
            kMarked);
    const std::string_view reason = failure.what();
    if (!reason.empty()) Message(reason, kError, kMarked);
    EndProcess(ExitStatus::kStagingFailed);
  }
  InstallerCopied = true;
  SetEnv(variables::kOriginalMediaDir, MediaDir.Str());
  MediaDir = InsPath(staging_dir_slash);
  InstallerPath = InstallerIn(MediaDir, OsName, InstallerExeName);
}

void Launcher::AddInstallerArguments() {
  if (!SoftMgt) {
    PassThroughArgs.insert(PassThroughArgs.begin(), {"-CDpath", MediaDir.Str()});
    return;
  }
  PassThroughArgs.insert(PassThroughArgs.end(),
                         {"--mgt", MediaDir.Parent().Parent().Str(), "--var",
                          "Radio_KVLSoftwareMgtCheck?" + SoftMgtAction + "=true"});
  SetEnv(variables::kSingleExec, "1");
  SetEnv(variables::kResume, "!r");
}

void Launcher::LeaveCleanUpScript(const std::string& staging_dir_slash) {
  WriteCleanUpScript(staging_dir_slash);
  if (!WaitFlag) return;
  Message("This media is composed of multiple volumes.", kWarning, kMarked);
  Message(
      "If it is not done already, please copy each volume on a local hard drive before starting "
      "the installation.",
      kWarning, kMarked);
  Message("Not doing so might result in the installation leaving temporary files behind.", kWarning,
          kMarked);
}

void Launcher::Message(std::string_view text, int level, bool marked) {
  logger_.Message(text, level, marked);
}

int Launcher::ScanMediaVolumes(std::vector<std::string>& volume_paths) {
  const ScanOutcome outcome = kvl::ScanMediaVolumes(MediaDir, SoftMgt, logger_);
  if (outcome.complete) ManagementMode = true;
  volume_paths.insert(volume_paths.end(), outcome.volumes.begin(), outcome.volumes.end());
  return outcome.code;
}

bool Launcher::ValidateInstallerMedia(const std::string& media, bool quiet) {
  const InstallerMedia found =
      kvl::ValidateInstallerMedia(media, {OsName, InstallerExeName}, quiet, logger_);
  if (found.verdict == InstallerMedia::Verdict::kBlankInDirectory) {
    EndProcess(ExitStatus::kBlankInInstallerMedia);
  }
  if (found.verdict == InstallerMedia::Verdict::kNotUsable) return false;
  CommonDirPrefix = found.inst_slash;
  InstallerPath = found.installer;
  return true;
}

void Launcher::SetInstallerEnvironment() {
  kvl::SetInstallerEnvironment(
      {MediaDir.Str(), CommonDirPrefix, OsName, HasElevatedPrivileges(), InteractiveSession});
}

int Launcher::RunCommand(const std::string& command) {
  return kvl::RunCommand(command, WaitFlag, logger_, signals_);
}

}  // namespace kvl
