// The Launcher, the program's one object. It holds what the command line and the environment ask
// for, and runs the sequence from the media to the installer's exit code.
//
// Free functions of this folder (run_plan.h, command_line.h) and of the folders below decide what
// to do. The members pass the state to these functions, store the results and act on them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "console/logger.h"
#include "console/signals.h"
#include "launcher/launcher_state.h"

namespace kvl {

struct RunPlan;

/// The flags with which main starts the Launcher.
inline constexpr bool kWithoutUI = false;
inline constexpr bool kWaitForInstaller = true;

class Launcher : public LauncherState {
 public:
  /// Reads the command line (see command_line.h). After an error, writes the message and ends the
  /// process with ExitStatus::kBadCommandLine.
  Launcher(int argc, const char* const* argv, const std::string& installer_exe_name,
           bool initial_ui_flag, bool initial_wait_flag);

  /// Runs the launcher; call it once. Plans the run (see run_plan.h), stages the installer unless
  /// it runs in place, prepares its environment, starts it, waits for it, and returns its exit code
  /// as RunCommand does. Never removes what it staged.
  ///
  /// Ends the process instead of returning
  ///  - when there is no installer,
  ///  - when staging fails,
  ///  - when the path of an external installer media contains a blank,
  ///  - with the number of volumes when KVLAdmODTMultiVolumes asks for nothing else.
  int Run();

  /// Writes a message (see Logger).
  void Message(const std::string& text, int level, bool marked);

  /// Scans the media (see media/volume_scan.h), appends the directories of its further volumes to
  /// `volume_paths`, and returns the result code. Empties `volume_paths` first when it tries the AM
  /// layout. Sets ManagementMode when the media is complete.
  int ScanMediaVolumes(std::vector<std::string>& volume_paths);

  /// Returns true if the installer media is usable (see media/installer_media.h), and stores where
  /// its installer is. Ends the process with ExitStatus::kBlankInInstallerMedia if its directory
  /// has a blank in its path.
  bool ValidateInstallerMedia(const std::string& media, bool quiet);

  /// Prepares the installer's environment (see environment/installer_environment.h).
  void SetInstallerEnvironment();

  /// Runs a command (see console/run_command.h). Waits for it if WaitFlag is set.
  int RunCommand(const std::string& command);

 private:
  void StageInstaller(const RunPlan& plan);
  void LeaveCleanUpScript(const std::string& staging_dir_slash);

  SignalScope signals_;
  Logger logger_;
};

}  // namespace kvl
