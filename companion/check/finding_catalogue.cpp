#include "companion/check/finding_catalogue.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>

namespace kvl {
namespace {

/// A line "// When: ..." says what the manual adds about the row below it.
struct Catalogue {
  using enum FindingKind;
  using enum Severity;

  static constexpr std::nullopt_t kEither = std::nullopt;

  static constexpr FindingRow kRows[] = {
      // The launch
      // When: The text is that of the launcher.
      {kBadArguments, "bad-arguments", kError, "<message>",
       "correct the launcher's arguments (behind --)"},
      {kBlankInInstallerMedia, "blank-in-installer-media", kError,
       "the path of the external installer media contains a blank",
       "copy that media into a directory whose path has no blanks"},
      {kNoInstaller, "no-installer", kError,
       "the installer is missing, and no external installer media has one",
       "put the installer there, or name its directory (--os) and file (--installer)"},
      {kNoFirstVolume, "no-installer", kError,
       "the launcher finds no directory inst here, so this is not volume 1",
       "give the directory that holds inst and StartTUI.sh"},
      {kNoSystemNamed, "no-installer", kError,
       "neither --os nor KVL_OS names a system, and the start script is missing or does not name "
       "one",
       "copy the start script again, or use --os and --installer"},
      {kNothingForThisMachine, "not-for-this-machine", kError,
       "this machine is <machine>, but the media is for <machines>",
       "start the media on a machine that it is for"},
      {kNoInstallerInInstallerMedia, "no-installer", kError,
       "this external installer media has no installer, and KVL_UseExternalInstaller makes the "
       "launcher ignore that of the media",
       "name another external installer media, or do without KVL_UseExternalInstaller"},
      {kInstallerPassedOver, "no-installer", kError,
       "KVL_UseExternalInstaller makes the launcher ignore this installer, but no external "
       "installer media is named",
       "name an external installer media (-installerPath), or do without KVL_UseExternalInstaller"},
      {kInstallerFoundLater, "no-installer", kError,
       "the launcher does not find this installer, but a second look finds it",
       "examine the disc, and check the media again"},
      {kCountIsNoNumber, "count-is-no-number", kError,
       "the first line of volumes.txt is not a number of volumes, so the launcher aborts",
       "write the number of volumes, and nothing else, into the first line"},
      {kSearchAborts, "search-aborts", kError,
       "the launcher searches for an AM volume above the media, meets an error (<error>) and "
       "aborts",
       "remove or repair what the error names, or put the media elsewhere"},
      // When: An error for the path of the installer itself, a warning for an argument. Only the
      // first path or argument that changes is reported; an empty argument stands as ''.
      {kCommandIsSplit, "command-is-split", kEither,
       "the launcher changes this path or argument for the installer, because it is empty or has a "
       "double quote, a doubled backslash or a backslash at its end",
       "use a path or argument that is not empty and has none of these"},
      // When: The name of the variable stands in place of the path.
      {kVariableTooLong, "variable-too-long", kError,
       "this variable of the installer is longer than the system passes to a program",
       "shorten the text that the variable is set from"},
      // When: Argument 1 is the first one behind the path of the installer.
      {kArgumentTooLong, "argument-too-long", kError,
       "argument <number> of the installer is longer than the system passes to a program",
       "shorten this argument"},
      {kTogetherTooLong, "argument-too-long", kError,
       "the arguments and variables of the installer have <number> bytes together, but the system "
       "passes at most <number> to a program",
       "shorten or remove the longest of them"},
      {kColonInPath, "colon-in-path", kWarning,
       "the path contains a colon, which splits it in the path lists of the installer",
       "use a directory whose path has no colon"},
      {kInstallerIsNoFile, "installer-is-no-file", kError, "the installer is a directory",
       "put the file of the installer in place of the directory"},
      {kInstallerOnNoexec, "noexec-mount", kError,
       "the installer lies on a file system that is mounted noexec",
       "mount the file system without noexec, or copy the media to another one"},
      {kStagedOnNoexec, "noexec-mount", kError,
       "the launcher stages the installer on a file system that is mounted noexec",
       "set TMPDIR to a directory on another file system"},
      {kInstallerNotExecutable, "installer-not-executable", kError,
       "the installer has no execute permission",
       "give the installer execute permission (chmod a+x)"},
      {kInstallerIsEmpty, "installer-is-empty", kError, "the installer is empty",
       "copy the installer again"},
      // When: A shell or an emulator may run the program, so the outcome of the launch is unknown.
      {kInstallerForAnotherMachine, "installer-not-for-this-machine", kError,
       "the installer is a program for <machine>, but this machine is <machine>",
       "put the installer for this machine there"},
      // When: The damage is one of these: the file ends within its headers, the headers make no
      // sense, the file ends before its last segment. The outcome of the launch is unknown unless
      // the file ends long before its last segment.
      {kProgramCutOff, "program-cut-off", kError, "the program is damaged (<damage>)",
       "copy the program again"},
      {kLoaderMissing, "loader-missing", kError,
       "the program needs the loader <path>, which is missing or cannot be executed",
       "install that loader, or put a program for this system there"},
      {kInstallerNotReadable, "unreadable", kWarning,
       "you may execute the installer but not read it, so kvl-media cannot tell whether it starts",
       "give the installer read permission (chmod a+r)"},
      // When: An error for a script, a warning for volumes.txt.
      {kCarriageReturn, "carriage-return", kEither, "the first line contains a carriage return",
       "save the file with line feeds alone"},
      {kInterpreterMissing, "interpreter-missing", kError,
       "the first line of the script names the program <path>, which is missing or cannot be "
       "executed",
       "correct the first line, or install that program"},

      // The start script and the launcher
      {kStartScriptMissing, "start-script-missing", kError, "the start script is missing",
       "copy the start script again"},
      {kMediaUnfinished, "media-unfinished", kError, "make did not finish this media",
       "wait for make, or remove the media and run make again"},
      {kStartScriptNotExecutable, "start-script-not-executable", kError,
       "the start script has no execute permission",
       "give the start script execute permission (chmod a+x)"},
      // When: Not reported when an external installer media is named.
      {kStartScriptWithoutInstaller, "start-script-without-installer", kError,
       "the start script names the installer <path>, which is missing",
       "put the installer there, or correct KVL_OS and KVL_Installer_EXE in the start script"},
      {kLauncherMissing, "launcher-missing", kError,
       "the start script starts a launcher that is missing", "put the launcher there"},
      // When: Not reported when the same is reported of the installer.
      {kLauncherOnNoexec, "noexec-mount", kError,
       "the launcher lies on a file system that is mounted noexec",
       "mount the file system without noexec, or copy the media to another one"},
      {kLauncherNotExecutable, "launcher-not-executable", kError,
       "the launcher has no execute permission",
       "give the launcher execute permission (chmod a+x)"},
      {kLauncherNotForThisMachine, "launcher-not-for-this-machine", kError,
       "the launcher is neither a script nor a binary", "put the launcher for this machine there"},
      {kLauncherForAnotherMachine, "launcher-not-for-this-machine", kError,
       "the launcher is a program for <machine>, but this machine is <machine>",
       "put the launcher for this machine there"},

      // Staging
      {kNoSpace, "no-space", kError, "staging needs <number> bytes, but only <number> are free",
       "make room there, or set TMPDIR to another directory"},
      {kSpaceIsScarce, "no-space", kWarning,
       "staging may need up to <number> bytes, but only <number> are free",
       "make room there, or set TMPDIR to another directory"},
      {kNoInodes, "no-space", kError,
       "staging needs room for <number> files and directories, but there is room for only <number>",
       "make room there, or set TMPDIR to another directory"},
      // When: Only reported when the superuser checks the media.
      {kExchangeable, "temporary-directory-of-others", kWarning,
       "other users own this directory or may write into it without a sticky bit, so they can "
       "replace what the superuser stages below it",
       "set TMPDIR to a directory into which, as into all above it, only the superuser can write"},
      {kTemporaryDirectoryClosed, "temporary-directory-not-writable", kError,
       "you cannot write into the temporary directory",
       "set TMPDIR to a directory that you can write into"},
      {kTemporaryDirectoryMissing, "temporary-directory-not-writable", kError,
       "the temporary directory is missing, and you cannot make it",
       "set TMPDIR to a directory that you can write into"},
      {kTemporaryDirectoryIsNoDirectory, "temporary-directory-not-writable", kError,
       "TMPDIR is not a directory", "set TMPDIR to a directory that you can write into"},
      {kTemporaryDirectoryDangling, "temporary-directory-not-writable", kError,
       "the path of the temporary directory contains a link that leads nowhere",
       "set TMPDIR to a directory that you can write into"},
      {kTemporaryDirectoryWithBackslash, "backslash-in-path", kError,
       "the path of the temporary directory contains a backslash, which the launcher takes for a "
       "slash when it makes directories",
       "set TMPDIR to a directory whose path has no backslash"},
      {kUmaskClosesStaging, "umask-closes-staging", kError,
       "the umask <umask> removes permissions that you need on the staged files",
       "set a umask that leaves them to you (umask 022)"},
      {kStagedPathTooLong, "path-too-long", kError,
       "the staged copy of this file or directory has a path that is too long for the system",
       "set TMPDIR to a directory with a shorter path, shorten names, or use fewer directories"},
      {kStagingSourceMissing, "staging-source-missing", kError,
       "staging needs a file or directory that is missing", "put the file or directory there"},
      {kStagingIntoItself, "staging-into-itself", kError,
       "the temporary directory lies inside a directory that staging copies",
       "set TMPDIR to a directory outside the media"},
      {kDirectoryOverFile, "overlay-of-another-kind", kError,
       "the external installer media has a directory where the media has a file",
       "rename one of the two"},
      {kFileOverDirectory, "overlay-of-another-kind", kError,
       "the external installer media has a file where the media has a directory",
       "rename one of the two"},
      {kReadOnlyOverwritten, "read-only-overwritten", kEither,
       "the external installer media replaces a staged file that is read-only",
       "give the owner of the file write permission (chmod u+w)"},

      // Volumes
      {kVolumeMissing, "volume-missing", kWarning, "<volume> has no marker",
       "copy the whole volume there"},
      // When: The path is that of the first missing marker.
      {kVolumesMissing, "volume-missing", kWarning,
       "<volumes> <number> to <number> have no markers",
       "copy all of these volumes, or correct the number in volumes.txt"},
      {kVolumeOfAnotherMedia, "volume-of-another-media", kWarning,
       "<volume> has the tag <tag> instead of <tag>",
       "put the volume that belongs to this media there"},
      {kMarkerUnreadable, "marker-unreadable", kWarning, "the marker of <volume> cannot be read",
       "make the marker a regular file with read permission (chmod a+r)"},
      {kMarkerBehindClosedWay, "marker-unreadable", kWarning,
       "you cannot enter a directory above the marker of <volume>",
       "give the directories above the marker execute permission (chmod a+x)"},
      {kMarkerWithoutTag, "marker-without-tag", kWarning,
       "the marker of <volume> has no line MTBDIR=<tag>", "copy the marker again"},
      {kMoreVolumesMissing, "more-volumes-missing", kWarning,
       "<number> more volumes above volume <number> are missing",
       "copy these volumes, or correct the number in volumes.txt"},
      {kSearchFails, "search-fails", kWarning,
       "the launcher does not find all volumes, but a second look finds them",
       "examine the disc, and check the media again"},
      {kAmMarkerWithoutTag, "am-marker-without-tag", kWarning,
       "this file looks like the marker of an AM volume, but has no line MTBDIR=<tag>",
       "copy the marker again, or remove the file if it is not a marker"},
      // When: The launcher drops a carriage return at the end of a line.
      {kMarkerCarriageReturn, "carriage-return", kWarning, "the marker contains a carriage return",
       "save the marker with line feeds alone"},
      {kVolumesFileMissing, "volumes-file-missing", kWarning,
       "volumes.txt is missing, so the launcher sees one volume, but <reason>",
       "copy volumes.txt again, or write the number of volumes into it"},
      {kVolumesFileDiffers, "volumes-file-differs", kWarning,
       "volumes.txt says <number>, but <reason>", "copy volumes.txt again, or correct the number"},
      // When: Only reported when meta.TOCxml names the directory.
      {kPayloadMissing, "payload-missing", kWarning,
       "the payload directory of volume <number> is missing", "copy the whole volume again"},
      {kVolumesFileUnreadable, "volumes-file-unreadable", kWarning,
       "volumes.txt cannot be read, so the number of volumes is unknown",
       "make volumes.txt a regular file with read permission (chmod a+r)"},
      {kVolumesFileEmpty, "volumes-file-empty", kWarning, "volumes.txt is empty",
       "write the number of volumes into volumes.txt"},
      {kByteOrderMark, "byte-order-mark", kWarning,
       "volumes.txt begins with a byte order mark, so the launcher cannot read the number of "
       "volumes",
       "save volumes.txt without a byte order mark"},

      // Trees
      // When: A link in a payload may lead to something in the payload of another volume.
      {kDanglingLink, "dangling-link", kEither, "this link leads nowhere",
       "restore what the link leads to, or remove the link if nothing needs it"},
      {kLinkCycle, "link-cycle", kEither, "this link leads round in a circle",
       "let the link lead to something else, or remove the link if nothing needs it"},
      {kTooManyLinks, "too-many-links", kEither,
       "this link leads round in a circle or through too many other links",
       "let the link lead to something else, or remove the link if nothing needs it"},
      {kPipe, "pipe", kEither, "a pipe cannot be copied",
       "put a file in place of the pipe, or remove the pipe if nothing needs it"},
      {kSocket, "socket", kEither, "a socket cannot be copied",
       "put a file in place of the socket, or remove the socket if nothing needs it"},
      {kDevice, "device", kEither, "a device cannot be copied",
       "put a file in place of the device, or remove the device if nothing needs it"},
      // When: An error when the launcher stages an installer from this directory.
      {kDirectoryNotListable, "directory-not-listable", kEither,
       "you cannot list this directory, so it counts as empty",
       "give the directory read and execute permission (chmod a+rx)"},
      {kClosedFile, "unreadable", kEither, "you cannot read this file",
       "give the file read permission (chmod a+r)"},
      {kClosedWay, "unreadable", kEither, "you cannot enter a directory above this path",
       "give the directories above it execute permission (chmod a+x)"},
      {kUnread, "unreadable", kEither, "the system cannot read this entry (<error>)",
       "examine the disc, and copy the entry again if it is part of the media"},
      {kFileNotForOthers, "not-readable-by-others", kWarning, "other users cannot read this file",
       "give all users read permission (chmod a+r)"},
      {kDirectoryNotForOthers, "not-readable-by-others", kWarning,
       "other users cannot read this directory",
       "give all users read and execute permission (chmod a+rx)"},
      {kNameTooLong, "name-too-long", kWarning,
       "a disc (ISO 9660 with Rock Ridge) cuts this name off",
       "shorten the name to 253 bytes or less"},
      // When: Only make reports this, and only without --iso.
      {kFileTooLarge, "file-too-large", kWarning,
       "this file has 4 GiB or more, which neither FAT nor a disc image below level 3 of ISO 9660 "
       "holds",
       "let make write the disc images (--iso), or carry the media on another file system"},
      {kPathTooLong, "path-too-long", kEither, "this path is too long for the system",
       "shorten names, or use fewer directories"},

  };
};

// Each kind has one row, in the order of the enumeration.
static_assert(std::size(Catalogue::kRows) ==
              static_cast<std::size_t>(FindingKind::kPathTooLong) + 1);
static_assert(std::ranges::adjacent_find(Catalogue::kRows, std::ranges::greater_equal{},
                                         &FindingRow::kind) == std::end(Catalogue::kRows));

}  // namespace

std::span<const FindingRow> FindingCatalogue() {
  return Catalogue::kRows;
}

const FindingRow& RowOf(FindingKind kind) {
  return Catalogue::kRows[static_cast<std::size_t>(kind)];
}

}  // namespace kvl
