#include "launcher/installer_search.h"

#include "console/logger.h"
#include "environment/environment.h"
#include "environment/variables.h"
#include "insio/entry.h"
#include "launcher/launcher_state.h"
#include "launcher/staging.h"

namespace kvl {
namespace {

bool FindInCurrentMedia(const LauncherState& state, Logger& logger) {
  const std::string candidate = InstallerInCurrentMedia(state);
  logger.Message(candidate, kInformation, kMarked);
  if (!KVLInsIO::Exists(candidate)) {
    logger.Message("No installer in the current media.", kInformation, kMarked);
    return false;
  }
  if (!GetEnv(variables::kUseExternalInstaller).empty()) {
    logger.Message("Installer found in the current media, \"" + candidate +
                       "\" but do not use it because of " + variables::kUseExternalInstaller +
                       " env var.",
                   kInformation, kMarked);
    return false;
  }
  logger.Message("Installer found in current media: \"" + candidate + "\".", kInformation, kMarked);
  return true;
}

}  // namespace

std::string InstallerInCurrentMedia(const LauncherState& state) {
  return InstallerIn(state.MediaDir, state.OsName, state.InstallerExeName);
}

InstallerSource FindInstaller(const LauncherState& state,
                              const std::function<bool(const std::string& media)>& is_usable,
                              Logger& logger) {
  if (FindInCurrentMedia(state, logger)) return InstallerSource::kCurrentMedia;
  if (!state.InstallerPathArg.empty()) {
    logger.Message(
        "Argument \"-installerPath\" found and its value is \"" + state.InstallerPathArg + "\".",
        kInformation, kMarked);
    if (is_usable(state.InstallerPathArg)) return InstallerSource::kArgument;
  }
  const std::string media = GetEnv(variables::kExternalInstallerMedia);
  if (media.empty()) return InstallerSource::kNone;
  logger.Message("Environment variable " + std::string(variables::kExternalInstallerMedia) +
                     " is defined and its value is \"" + media + "\".",
                 kInformation, kMarked);
  return is_usable(media) ? InstallerSource::kVariable : InstallerSource::kNone;
}

}  // namespace kvl
