// Launcher: the program's one object. It holds what the command line and the environment asked for,
// and runs the whole sequence from the media to the installer's exit code.
//
// The work itself is done by free functions of the folders below; the members here pass the state
// in and store the results.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "console/logger.h"
#include "console/signals.h"
#include "insio/path.h"

namespace kvl {

class ArgumentReader;

/// The values that main starts the Launcher with.
inline constexpr bool kWithoutUI = false;
inline constexpr bool kWaitForInstaller = true;

class Launcher {
 public:
  /// Reads CurrentMediaDir, then the command line. "-env" takes effect at once. `argv` may be null:
  /// then there are no arguments. A bad command line is an error message and the end of the process
  /// with ExitStatus::kBadCommandLine:
  ///   "Bad -env argument", "Bad -installerPath argument": the option is the last argument,
  ///   or a null pointer follows; anywhere else a null pointer ends the arguments
  ///   "-SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback)."
  ///   "-List must be used with the -SoftMgt flag.", likewise -Check, -Commit, -Rollback
  Launcher(int argc, const char* const* argv, const std::string& installer_exe_name,
           bool initial_ui_flag, bool initial_wait_flag);

  /// The whole run; call it once. Finds the installer, scans the media, stages the installer unless
  /// it is to run in place, prepares its environment, starts it, waits for it, and returns its exit
  /// code as RunCommand does. Ends the process itself when there is no installer, when staging
  /// fails, when an external installer media has a blank in its path, and with the number of
  /// volumes when that is all that was asked for (KVLAdmODTMultiVolumes). What was staged stays
  /// behind in any case.
  int Run();

  /// Writes a message (see Logger).
  void Message(std::string_view text, int level, bool marked);

  /// Scans the media (see media/volume_scan.h), appends the directories of its further volumes to
  /// `volume_paths`, which is to be empty, and returns the result code. Sets ManagementMode when the
  /// media is complete.
  int ScanMediaVolumes(std::vector<std::string>& volume_paths);

  /// Checks an installer media (see media/installer_media.h). When it is usable, stores where its
  /// installer is and returns true. A blank in its directory ends the process with
  /// ExitStatus::kBlankInInstallerMedia.
  bool ValidateInstallerMedia(const std::string& media, bool quiet);

  /// Prepares the installer's environment (see environment/installer_environment.h).
  void SetInstallerEnvironment();

  /// Runs a command (see console/run_command.h), waiting for it when WaitFlag is set.
  int RunCommand(const std::string& command);

  bool WaitFlag;                             ///< wait for the installer
  bool UIFlag;                               ///< "-UI"; on purpose without effect
  bool InteractiveSession = true;            ///< told to the installer; no option changes it
  std::vector<std::string> PassThroughArgs;  ///< for the installer, in order
  std::string InstallerPathArg;              ///< the value of "-installerPath"
  bool SoftMgt = false;                      ///< "-SoftMgt"
  bool SoftMgtReadOnly = false;              ///< "-List" or "-Check"; recorded only
  bool ManagementMode = false;               ///< run the installer from where it is
  bool InstallerCopied = false;              ///< the installer has been staged
  bool Uninstall = false;                    ///< "--uninst" came last of "--mgt" and "--uninst"
  std::string SoftMgtAction;                 ///< "List", "Check1", "Commit", "Rollback" or empty
  KVLInsIO::InsPath MediaDir;                ///< the media; once staged, the staging directory
  std::string CommonDirPrefix;   ///< "inst" of an external installer media, with its "/"
  std::string InstallerExeName;  ///< the installer's file name
  std::string InstallerPath;     ///< the installer that will be started
  std::string OsName;            ///< the operating-system directory below "inst"

 private:
  void ParseCommandLine(ArgumentReader arguments);
  void ApplyArgument(ArgumentReader& arguments);
  void CheckSoftwareManagement();

  void FindInstaller();
  void FindInstallerInMedia();
  bool FindExternalInstaller();
  void StageInstaller(const std::string& staging_dir_slash);
  void AddInstallerArguments();
  void LeaveCleanUpScript(const std::string& staging_dir_slash);

  SignalScope signals_;
  Logger logger_;
};

}  // namespace kvl
