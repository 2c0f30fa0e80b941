// Finding the installer: in the current media, or in one of the external ones that the command line
// and the environment name.
#pragma once

#include <functional>
#include <string>

namespace kvl {

class Logger;
struct LauncherState;

enum class InstallerSource {
  kNone,
  kCurrentMedia,
  kArgument,  ///< the media of "-installerPath"
  kVariable,  ///< the media of KVL_ZOLVEN_Installer
};

/// Looks for the installer where the state says, and reports on the console. The external media are
/// named to `is_usable`, one after the other, until it is true; it remembers what it found itself.
/// An installer in the current media is at InstallerInCurrentMedia(state). That nothing was found is
/// not reported here.
InstallerSource FindInstaller(const LauncherState& state,
                              const std::function<bool(const std::string& media)>& is_usable,
                              Logger& logger);

/// Where the installer is expected in the current media.
std::string InstallerInCurrentMedia(const LauncherState& state);

}  // namespace kvl
