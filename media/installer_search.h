// Finding the installer: in the current media, or in one of the external ones that the command line
// and the environment name.
#pragma once

#include <string>

#include "insio/path.h"

namespace kvl {

class Logger;

enum class InstallerSource {
  kNone,
  kCurrentMedia,
  kArgument,  ///< the media of "-installerPath"
  kVariable,  ///< the media of KVL_ZOLVEN_Installer
};

/// Where the installer lies in a media: inst/<os_name>/code/bin/<executable> below `media_dir`,
/// joined with single slashes; empty parts are joined like any other. With an empty `executable`
/// this is the "bin" directory itself.
///   /m, linux, x  =>  /m/inst/linux/code/bin/x     (empty), (empty), x  =>  /inst/code/bin/x
std::string InstallerIn(const KVLInsIO::InsPath& media_dir, const std::string& os_name,
                        const std::string& executable);

struct InstallerSearch {
  KVLInsIO::InsPath media_dir;
  std::string os_name;         ///< the operating-system directory below "inst"; may be empty
  std::string executable;      ///< the installer's file name
  std::string external_media;  ///< the value of "-installerPath"; may be empty
};

struct InstallerFound {
  InstallerSource source = InstallerSource::kNone;
  std::string candidate;   ///< where the current media would have it
  std::string installer;   ///< its path; empty when there is none
  std::string inst_slash;  ///< the "inst" directory of an external media, ending in "/"
  /// The external media that ended the search, because its path has a blank in it. Empty otherwise.
  std::string media_with_blank;
};

/// Looks for the installer and reports on the console. The current media comes first, unless
/// KVL_UseExternalInstaller is set, then `external_media`, then the media of KVL_ZOLVEN_Installer.
/// An external media that is not usable (see ValidateInstallerMedia) is passed over. That nothing
/// was found is an error message.
InstallerFound FindInstaller(const InstallerSearch& search, Logger& logger);

}  // namespace kvl
