// Finds the installer in the current media, or in an external media that the command line or the
// environment names.
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

/// Returns where a media has its installer: inst/<os_name>/code/bin/<executable> below `media_dir`,
/// joined with single slashes. Joins empty parts like any other; with an empty `executable` the
/// result is the "bin" directory.
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
  std::string candidate;   ///< its path in the current media, whether it exists or not
  std::string installer;   ///< the installer's path; empty if none was found
  std::string inst_slash;  ///< the "inst" directory of an external media, ending in "/"
  /// The external media that ended the search because its path has a blank; otherwise empty.
  std::string media_with_blank;
};

/// Looks for the installer and reports on the console, an error if it finds none. Searches in this
/// order: the current media, unless KVL_UseExternalInstaller is set; `external_media`; the media of
/// KVL_ZOLVEN_Installer. Passes over an external media that has no installer, and stops at one
/// whose path has a blank (see ValidateInstallerMedia).
InstallerFound FindInstaller(const InstallerSearch& search, Logger& logger);

}  // namespace kvl
