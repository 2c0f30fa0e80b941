// Checks whether a directory is a usable installer media.
#pragma once

#include <string>

namespace kvl {

class Logger;

/// Appends "/" to a non-empty text that does not end in one.
///   /m  =>  /m/     /m/  =>  /m/
void EnsureTrailingSlash(std::string& text);

/// The installer's place in an installer media: "inst/" + platform + "/code/bin/" + executable.
struct InstallerPlace {
  std::string platform;    ///< the operating-system directory; may be empty
  std::string executable;  ///< the installer's file name
};

/// The values of ValidateInstallerMedia's `quiet`.
inline constexpr bool kQuiet = true;
inline constexpr bool kWithVerdict = false;

struct InstallerMedia {
  enum class Verdict {
    /// The media has no installer, or its path is empty.
    kNotUsable,
    /// The media has an installer, but its directory has a blank in its path.
    kBlankInDirectory,
    kUsable,
  };
  Verdict verdict = Verdict::kNotUsable;
  // Only set for a usable media:
  std::string inst_slash;  ///< its "inst" directory, ending in "/"
  std::string installer;   ///< the path of the installer
};

/// Looks for the installer in the media's subdirectory "1" and then in the media itself, and
/// reports on the console. Concatenates the paths exactly as given. Returns kNotUsable for an empty
/// `media`, without a message. Checks only the media's directory for blanks (with the "1" if the
/// installer is there), not the names below it. `quiet` suppresses only the message that the media
/// is invalid; on purpose it does not suppress the message before that one.
InstallerMedia ValidateInstallerMedia(const std::string& media, const InstallerPlace& place,
                                      bool quiet, Logger& logger);

}  // namespace kvl
