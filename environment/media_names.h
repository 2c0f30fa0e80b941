// The names of all files and directories of a media. No other file repeats them.
#pragma once

#include <string_view>

namespace kvl::names {

// The tree that holds the installer: inst/<operating system>/code/bin/<installer>.
inline constexpr char kInst[] = "inst";
inline constexpr char kCommon[] = "common";
inline constexpr char kCode[] = "code";
inline constexpr char kBin[] = "bin";
inline constexpr char kLauncher[] = "kvl-launcher";    ///< beside the installer
inline constexpr char kVolumesFile[] = "volumes.txt";  ///< in "inst": the number of volumes

/// Follows the volume's number in the name of its marker.
inline constexpr std::string_view kMarkerExtension = ".txt";

/// Contains a directory for each volume.
inline constexpr char kPayload[] = "payload";

// In the directory of each volume: the list of its files, whose name is the volume's number and
// kListExtension, and the manifest, which is the same in all volumes.
inline constexpr char kListExtension[] = ".sha256";
inline constexpr char kManifest[] = "media.manifest";
inline constexpr char kSignature[] = "media.manifest.minisig";  ///< beside a signed manifest

/// Appended to the path of a volume's directory: the file with its disc image.
inline constexpr char kImageExtension[] = ".iso";

// Beside "inst": the description files, the start scripts, and the text that tells how to start.
inline constexpr char kTableOfContents[] = "meta.TOCxml";
inline constexpr char kMediaXml[] = "media.xml";
inline constexpr char kMediaDb[] = "media.db";
inline constexpr char kStartGui[] = "StartGUI.sh";
inline constexpr char kStartTui[] = "StartTUI.sh";
inline constexpr char kReadMe[] = "ReadMe_UNIX.txt";
inline constexpr char kUnfinished[] = "StartTUI.sh.unfinished";  ///< until the media is complete

/// Beside a staged installer.
inline constexpr char kCleanUpScript[] = "remove.bat";

}  // namespace kvl::names
