// Checking whether a directory is a usable installer media.
#pragma once

#include <string>

namespace kvl {

class Logger;

/// Appends "/" to a text that is not empty and does not end in one.   /m  =>  /m/     /m/  =>  /m/
void EnsureTrailingSlash(std::string& text);

/// What is looked for in an installer media: "inst/" + platform + "/code/bin/" + executable.
struct InstallerPlace {
  std::string platform;    ///< the operating-system directory; may be empty
  std::string executable;  ///< the installer's file name
};

/// The two values of ValidateInstallerMedia's `quiet`.
inline constexpr bool kQuiet = true;
inline constexpr bool kWithVerdict = false;

struct InstallerMedia {
  enum class Verdict {
    /// No installer in it, or no media named.
    kNotUsable,
    /// There is an installer, but the media's directory has a blank in its path.
    kBlankInDirectory,
    kUsable,
  };
  Verdict verdict = Verdict::kNotUsable;
  // Only of a usable media:
  std::string inst_slash;  ///< its "inst" directory, ending in "/"
  std::string installer;   ///< the path of the installer
};

/// Looks for the installer in the media's sub-directory "1" and then in the media itself, the paths
/// put together exactly as the texts stand, and reports on the console. An empty `media` is not
/// usable, without a message. Only the media's directory, with the "1" when the installer is there,
/// is checked for blanks, not the names behind it. `quiet` suppresses only the message that the
/// media is invalid, on purpose not the one before it.
InstallerMedia ValidateInstallerMedia(const std::string& media, const InstallerPlace& place,
                                      bool quiet, Logger& logger);

}  // namespace kvl
