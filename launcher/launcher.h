// Launcher: the program's one object. It holds what the command line and the environment asked for,
// and runs the whole sequence from the media to the installer's exit code.
//
// What is to be done is decided by free functions, of this folder (run_plan.h, command_line.h) and of
// those below; the members here pass the state in, store the results and act on them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "console/logger.h"
#include "console/signals.h"
#include "launcher/launcher_state.h"

namespace kvl {

struct RunPlan;

/// The values that main starts the Launcher with.
inline constexpr bool kWithoutUI = false;
inline constexpr bool kWaitForInstaller = true;

class Launcher : public LauncherState {
 public:
  /// Reads the command line (see command_line.h). A bad one is an error message and the end of the
  /// process with ExitStatus::kBadCommandLine.
  Launcher(int argc, const char* const* argv, const std::string& installer_exe_name,
           bool initial_ui_flag, bool initial_wait_flag);

  /// The whole run; call it once. Plans (see run_plan.h), stages the installer unless it is to run in
  /// place, prepares its environment, starts it, waits for it, and returns its exit code as
  /// RunCommand does. Ends the process itself when there is no installer, when staging
  /// fails, when an external installer media has a blank in its path, and with the number of
  /// volumes when that is all that was asked for (KVLAdmODTMultiVolumes). What was staged stays
  /// behind in any case.
  int Run();

  /// Writes a message (see Logger).
  void Message(const std::string& text, int level, bool marked);

  /// Scans the media (see media/volume_scan.h), appends the directories of its further volumes to
  /// `volume_paths`, which it empties before when it tries the AM layout, and returns the result
  /// code. Sets ManagementMode when the media is complete.
  int ScanMediaVolumes(std::vector<std::string>& volume_paths);

  /// Checks an installer media (see media/installer_media.h). When it is usable, stores where its
  /// installer is and returns true. A blank in its directory ends the process with
  /// ExitStatus::kBlankInInstallerMedia.
  bool ValidateInstallerMedia(const std::string& media, bool quiet);

  /// Prepares the installer's environment (see environment/installer_environment.h).
  void SetInstallerEnvironment();

  /// Runs a command (see console/run_command.h), waiting for it when WaitFlag is set.
  int RunCommand(const std::string& command);

 private:
  void StageInstaller(const RunPlan& plan);
  void LeaveCleanUpScript(const std::string& staging_dir_slash);

  SignalScope signals_;
  Logger logger_;
};

}  // namespace kvl
