#include "media/installer_search.h"

#include "console/logger.h"
#include "environment/environment.h"
#include "environment/media_names.h"
#include "environment/variables.h"
#include "insio/entry.h"
#include "media/installer_media.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;

bool IsInCurrentMedia(const std::string& candidate, Logger& logger) {
  // Message: INFO: [...]
  // Cause: The launcher looks for the installer at this path first.
  logger.Message(candidate, kInformation, kMarked);
  if (!KVLInsIO::Exists(candidate)) {
    // Message: INFO: No installer in the current media.
    // Cause: There is no installer at the path that the line before names.
    logger.Message("No installer in the current media.", kInformation, kMarked);
    return false;
  }
  if (!GetEnv(variables::kUseExternalInstaller).empty()) {
    // Message: INFO: Installer found in the current media, "[...]" but do not use it because of [...] env var.
    // Cause: `KVL_UseExternalInstaller` is set.
    logger.Message("Installer found in the current media, \"" + candidate +
                       "\" but do not use it because of " + variables::kUseExternalInstaller +
                       " env var.",
                   kInformation, kMarked);
    return false;
  }
  // Message: INFO: Installer found in current media: "[...]".
  // Cause: The launcher will start this installer, in place or staged.
  logger.Message("Installer found in current media: \"" + candidate + "\".", kInformation, kMarked);
  return true;
}

/// Returns true if the search ends here: the media has an installer, or its path has a blank.
bool EndsIn(const std::string& media, InstallerSource source, const InstallerSearch& search,
            Logger& logger, InstallerFound& found) {
  using Verdict = InstallerMedia::Verdict;
  const InstallerMedia external =
      ValidateInstallerMedia(media, {search.os_name, search.executable}, kWithVerdict, logger);
  if (external.verdict == Verdict::kNotUsable) return false;
  if (external.verdict == Verdict::kBlankInDirectory) {
    found.media_with_blank = media;
    return true;
  }
  found.source = source;
  found.installer = external.installer;
  found.inst_slash = external.inst_slash;
  return true;
}

bool EndsInArgument(const InstallerSearch& search, Logger& logger, InstallerFound& found) {
  const std::string& media = search.external_media;
  if (media.empty()) return false;
  // Message: INFO: Argument "-installerPath" found and its value is "[...]".
  // Cause: The launcher looks in this media next.
  logger.Message("Argument \"-installerPath\" found and its value is \"" + media + "\".",
                 kInformation, kMarked);
  return EndsIn(media, InstallerSource::kArgument, search, logger, found);
}

bool EndsInVariable(const InstallerSearch& search, Logger& logger, InstallerFound& found) {
  const std::string media = GetEnv(variables::kExternalInstallerMedia);
  if (media.empty()) return false;
  // Message: INFO: Environment variable [...] is defined and its value is "[...]".
  // Cause: The launcher looks in this media last. The variable is `KVL_ZOLVEN_Installer`.
  logger.Message("Environment variable " + std::string(variables::kExternalInstallerMedia) +
                     " is defined and its value is \"" + media + "\".",
                 kInformation, kMarked);
  return EndsIn(media, InstallerSource::kVariable, search, logger, found);
}

}  // namespace

std::string InstallerIn(const InsPath& media_dir, const std::string& os_name,
                        const std::string& executable) {
  InsPath path = media_dir;
  for (const std::string& part : {std::string(names::kInst), os_name, std::string(names::kCode),
                                  std::string(names::kBin), executable}) {
    path = KVLInsIO::Join(path.Str(), part);
  }
  return path.Str();
}

InstallerFound FindInstaller(const InstallerSearch& search, Logger& logger) {
  InstallerFound found;
  found.candidate = InstallerIn(search.media_dir, search.os_name, search.executable);
  if (IsInCurrentMedia(found.candidate, logger)) {
    found.source = InstallerSource::kCurrentMedia;
    found.installer = found.candidate;
    return found;
  }
  if (EndsInArgument(search, logger, found) || EndsInVariable(search, logger, found)) return found;
  // Message: ERROR: The installer is not found, please read the file "ReadMe_UNIX.txt".
  // Cause: The media holds no installer for this system, `KVL_UseExternalInstaller` is set and
  // no installer media is named, or the launcher was started without its start script. The
  // `INFO:` lines name the places where it looked.
  // Remedy: Start `StartTUI.sh`. If the place is right, copy volume 1 again. Or unset that
  // variable, or name an installer media with `-installerPath`.
  logger.Message("The installer is not found, please read the file \"ReadMe_UNIX.txt\".", kError,
                 kMarked);
  return found;
}

}  // namespace kvl
