// The environment that the installer is started in: where the media and the installer are, the
// search paths for programs, libraries and resources, fixed diagnostic switches, the temporary
// directory, and what the installer should know about the user.
#pragma once

#include <string>

namespace kvl {

/// What the environment is made from.
struct InstallerSetting {
  std::string media_dir;  ///< the media's directory; the staging directory when staged
  /// The "inst" directory of an external installer media, with its closing "/"; empty when the
  /// installer comes from the media itself.
  std::string external_inst_slash;
  std::string os_name;  ///< name of the operating-system directory below "inst"; may be empty
  bool elevated_privileges = false;
  bool interactive_session = true;
};

/// Sets all variables of the installer's environment, in a fixed order. The ORB paths but ORBTemp,
/// PATH and the library search path are backed up (BackupEnv), each just before it is replaced;
/// nothing else is, on purpose. Run once per launch.
///  - A path list names, for each of its entries, the operating-system directory and then "common";
///    with an external installer media, the same in that media behind them all. It replaces the old
///    value, also of the library search path; only PATH keeps what it held, behind the first entry.
///  - The texts are put together as they stand: an empty `os_name` leaves "//" in them.
///  - The diagnostic switches are forced, whatever they were.
///  - TEMP follows TMPDIR, ORBTemp is always "/tmp", on purpose.
///  - The library search path is the variable named by KVL_LIBPATH_VARNAME, whichever that is; with
///    no name nothing is set, and the backup is written under the bare prefix all the same.
/// Nothing is checked for existence and no failure is reported.
void SetInstallerEnvironment(const InstallerSetting& setting);

}  // namespace kvl
