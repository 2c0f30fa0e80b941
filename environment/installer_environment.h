// The environment in which the launcher starts the installer: the places of the media and the
// installer, the search paths for programs, libraries and resources, fixed diagnostic switches, the
// temporary directory, and facts about the user.
#pragma once

#include <string>

namespace kvl {

/// The input of SetInstallerEnvironment.
struct InstallerSetting {
  std::string media_dir;  ///< the media directory; once staged, the staging directory
  /// The "inst" directory of an external installer media, ending in "/"; empty if the installer
  /// comes from the media itself.
  std::string external_inst_slash;
  std::string os_name;  ///< the operating-system directory below "inst"; may be empty
  bool elevated_privileges = false;
  bool interactive_session = true;
};

/// Sets all variables of the installer's environment, in a fixed order. Call it once per launch.
/// Checks no path for existence and reports no failure.
///  - Backs up (BackupEnv) the ORB paths except ORBTemp, PATH and the library search path, each
///    just before it replaces the value. On purpose it backs up nothing else.
///  - A path list has, for each of its entries, the operating-system directory and then "common".
///    With an external installer media, the same directories of that media follow at the end. The
///    list replaces the old value, also that of the library search path. Only PATH keeps its old
///    value, behind the new first entry.
///  - The function concatenates texts as they are: an empty `os_name` leaves "//" in them.
///  - The diagnostic switches get fixed values, whatever they were.
///  - TEMP follows TMPDIR. ORBTemp is always "/tmp", on purpose.
///  - KVL_LIBPATH_VARNAME names the variable that becomes the library search path. If it names
///    none, the function sets no search path but still writes a backup, under the bare prefix.
void SetInstallerEnvironment(const InstallerSetting& setting);

}  // namespace kvl
