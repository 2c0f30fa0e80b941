// The run sequence.
#include "launcher/launcher.h"

#include <exception>

#include "console/run_command.h"
#include "environment/installer_environment.h"
#include "launcher/clean_up_script.h"
#include "launcher/command_line.h"
#include "launcher/exit_status.h"
#include "launcher/run_plan.h"
#include "launcher/staging.h"
#include "media/installer_media.h"
#include "media/volume_scan.h"

namespace kvl {

Launcher::Launcher(int argc, const char* const* argv, const std::string& installer_exe_name,
                   bool initial_ui_flag, bool initial_wait_flag) {
  WaitFlag = initial_wait_flag;
  UIFlag = initial_ui_flag;
  InstallerExeName = installer_exe_name;
  const std::string error = ReadCommandLine(argc, argv, *this);
  if (error.empty()) return;
  Message(error, kError, kMarked);
  EndProcess(ExitStatus::kBadCommandLine);
}

int Launcher::Run() {
  const RunPlan plan = PlanRun(*this, logger_);
  if (plan.Abort) std::rethrow_exception(plan.Abort);
  if (plan.Status) EndProcess(*plan.Status);

  if (plan.CopyInstaller) StageInstaller(plan);
  static_cast<LauncherState&>(*this) = plan.AtStart;
  ExportToInstaller(plan);
  if (InstallerCopied) LeaveCleanUpScript(plan.StagingDir);
  return RunCommand(plan.CommandLine);
}

void Launcher::StageInstaller(const RunPlan& plan) {
  try {
    MakeCopies(plan.Copies);
  } catch (const std::exception& failure) {
    // Message: ERROR: Cannot copy the installer to a temporary directory: [...]
    // Cause: Staging failed. The next line says why.
    // Remedy: See [Why staging failed](#why-staging-failed). Remove what was copied into
    // that directory.
    Message("Cannot copy the installer to a temporary directory: " + plan.StagingDir, kError,
            kMarked);
    const std::string reason = failure.what();
    if (!reason.empty()) Message(reason, kError, kMarked);
    EndProcess(ExitStatus::kStagingFailed);
  }
}

void Launcher::LeaveCleanUpScript(const std::string& staging_dir_slash) {
  WriteCleanUpScript(staging_dir_slash);
  if (!WaitFlag) return;
  // Message: WARN: This media is composed of multiple volumes.
  //   If it is not done already, please copy each volume on a local hard drive before starting the installation.
  //   Not doing so might result in the installation leaving temporary files behind.
  // Cause: The launcher staged the installer, because it did not find all volumes: some are
  // missing, you cannot read them, their directories are not named `1`, `2` and so on, or
  // `volumes.txt` is empty or cannot be read.
  // Remedy: None if you mean to change discs. Else copy the volumes side by side; `kvl-media
  // check` says what is wrong with those that are there. [Remove the staged
  // copy](#what-is-left-behind) afterwards.
  Message("This media is composed of multiple volumes.", kWarning, kMarked);
  Message(
      "If it is not done already, please copy each volume on a local hard drive before starting "
      "the installation.",
      kWarning, kMarked);
  Message("Not doing so might result in the installation leaving temporary files behind.", kWarning,
          kMarked);
}

void Launcher::Message(const std::string& text, int level, bool marked) {
  logger_.Message(text, level, marked);
}

int Launcher::ScanMediaVolumes(std::vector<std::string>& volume_paths) {
  const ScanOutcome outcome = ScanMediaOf(*this, logger_);
  if (outcome.am_layout_tried) volume_paths.clear();
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
  kvl::SetInstallerEnvironment(InstallerSettingOf(*this));
}

int Launcher::RunCommand(const std::string& command) {
  return kvl::RunCommand(command, WaitFlag, logger_, signals_);
}

}  // namespace kvl
