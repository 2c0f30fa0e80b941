// LauncherState: what the caller asks for and what the run has found, as plain values. The Launcher
// derives from it.
#pragma once

#include <string>
#include <vector>

#include "insio/path.h"

namespace kvl {

struct LauncherState {
  bool WaitFlag = true;                      ///< wait for the installer
  bool UIFlag = false;                       ///< "-UI"; on purpose without effect
  bool InteractiveSession = true;            ///< what the installer learns; no option changes it
  std::vector<std::string> PassThroughArgs;  ///< for the installer, in order
  std::string InstallerPathArg;              ///< the value of "-installerPath"
  bool SoftMgt = false;                      ///< "-SoftMgt"
  bool SoftMgtReadOnly = false;              ///< "-List" or "-Check"; recorded only
  bool ManagementMode = false;               ///< run the installer in place
  bool InstallerCopied = false;              ///< the installer has been staged
  bool Uninstall = false;                    ///< "--uninst" was given, and no "--mgt" after it
  std::string SoftMgtAction;                 ///< "List", "Check1", "Commit", "Rollback" or empty
  KVLInsIO::InsPath MediaDir;                ///< the media; once staged, the staging directory
  std::string CommonDirPrefix;   ///< "inst" of an external installer media, with its "/"
  std::string InstallerExeName;  ///< the installer's file name
  std::string InstallerPath;     ///< the installer that will be started
  std::string OsName;            ///< the operating-system directory below "inst"
};

}  // namespace kvl
