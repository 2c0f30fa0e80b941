// The names of all files and directories of a media, each once.
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

/// What a volume's marker is named by, behind the volume's number.
inline constexpr std::string_view kMarkerExtension = ".txt";

/// Holds a directory for each volume.
inline constexpr char kPayload[] = "payload";

// In the directory of each volume: the list of its files, named by the volume's number and this, and
// the manifest, which is the same on all of them.
inline constexpr char kListExtension[] = ".sha256";
inline constexpr char kManifest[] = "media.manifest";
inline constexpr char kSignature[] = "media.manifest.minisig";  ///< beside it, when it was signed

/// Behind the path of a volume's directory, the file that holds its disc image.
inline constexpr char kImageExtension[] = ".iso";

// The description files and start scripts beside "inst", and what tells how to start.
inline constexpr char kTableOfContents[] = "meta.TOCxml";
inline constexpr char kMediaXml[] = "media.xml";
inline constexpr char kMediaDb[] = "media.db";
inline constexpr char kStartGui[] = "StartGUI.sh";
inline constexpr char kStartTui[] = "StartTUI.sh";
inline constexpr char kReadMe[] = "ReadMe_UNIX.txt";
inline constexpr char kUnfinished[] = "StartTUI.sh.unfinished";  ///< until the media is whole

/// Written beside a staged installer.
inline constexpr char kCleanUpScript[] = "remove.bat";

}  // namespace kvl::names
