#include "media/installer_media.h"

#include "console/logger.h"
#include "environment/media_names.h"
#include "insio/entry.h"

namespace kvl {
namespace {

constexpr char kBlank = ' ';

std::string InstSlash(const std::string& root_slash) {
  return root_slash + names::kInst + "/";
}

std::string InstallerBelow(const std::string& root_slash, const InstallerPlace& place) {
  return InstSlash(root_slash) + place.platform + "/" + names::kCode + "/" + names::kBin + "/" +
         place.executable;
}

}  // namespace

void EnsureTrailingSlash(std::string& text) {
  if (!text.empty() && text.back() != '/') text.push_back('/');
}

InstallerMedia ValidateInstallerMedia(const std::string& media, const InstallerPlace& place,
                                      bool quiet, Logger& logger) {
  using Verdict = InstallerMedia::Verdict;
  if (media.empty()) return {};

  std::string media_slash = media;
  EnsureTrailingSlash(media_slash);
  std::string root_slash = media_slash + "1/";
  std::string installer = InstallerBelow(root_slash, place);
  if (!KVLInsIO::Exists(installer)) {
    // Message: INFO: Installer executable "[...]" does not exist, trying without sub dir "1"
    // Cause: The launcher looks through an external installer media.
    logger.Message(
        "Installer executable \"" + installer + "\" does not exist, trying without sub dir \"1\"",
        kInformation, kMarked);
    root_slash = media_slash;
    installer = InstallerBelow(root_slash, place);
    if (!KVLInsIO::Exists(installer)) {
      if (!quiet) {
        // Message: INFO: Invalid Installer media, "[...]" does not exist
        // Cause: The external installer media holds no installer, so the launcher does
        // not use it.
        logger.Message("Invalid Installer media, \"" + installer + "\" does not exist",
                       kInformation, kUnmarked);
      }
      return {};
    }
  }

  if (root_slash.find(kBlank) != std::string::npos) {
    // Message: ERROR: The directory of the installer contains space characters.
    //   Please copy the Installer media into a directory that does not contain space characters
    //   and run the installer again.
    // Cause: The external installer media holds an installer, but its path holds a blank.
    // The exit status is 12.
    // Remedy: Copy that media into a directory without a blank in its path, or name it by a
    // link without one.
    logger.Message(
        "The directory of the installer contains space characters.\n"
        "Please copy the Installer media into a directory that does not contain space characters\n"
        "and run the installer again.",
        kError, kUnmarked);
    return {Verdict::kBlankInDirectory, {}, {}};
  }
  // Message: INFO: Installer Media: "[...]"
  // Cause: The launcher will start this installer of the external installer media.
  logger.Message("Installer Media: \"" + installer + "\"", kInformation, kMarked);
  return {Verdict::kUsable, InstSlash(root_slash), installer};
}

}  // namespace kvl
