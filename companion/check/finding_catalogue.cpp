#include "companion/check/finding_catalogue.h"

#include <cstddef>
#include <iterator>

namespace kvl {
namespace {

struct Catalogue {
  using enum FindingKind;
  using enum Severity;

  static constexpr std::nullopt_t kEither = std::nullopt;

  static constexpr FindingRow kRows[] = {
      {kBadArguments, "bad-arguments", kError, "<message>", "correct the launcher's arguments"},
      {kBlankInInstallerMedia, "blank-in-installer-media", kError,
       "the path of the external installer media has a blank in it",
       "copy that media into a directory without blanks"},
      {kNoInstaller, "no-installer", kError,
       "there is no installer here, nor in an external installer media",
       "put the installer there, or name its directory (--os) and file (--installer)"},
      {kNoFirstVolume, "no-installer", kError,
       "this is no volume 1: there is no directory inst in it",
       "give the directory that holds inst and StartTUI.sh"},
      {kNoSystemNamed, "no-installer", kError, "the start script is missing or names no system",
       "copy it again, or use --os and --installer"},
      {kNoInstallerInInstallerMedia, "no-installer", kError,
       "there is no installer in this installer media, and KVL_UseExternalInstaller passes over "
       "that "
       "of the media",
       "name another installer media, or do without that variable"},
      {kInstallerPassedOver, "no-installer", kError,
       "KVL_UseExternalInstaller passes over it, and no installer media is named",
       "name one (-installerPath), or do without that variable"},
      {kInstallerFoundLater, "no-installer", kError,
       "the launcher does not find it, and a second look does",
       "look at the disc, and check again"},
      {kCountIsNoNumber, "count-is-no-number", kError,
       "its first line is no number of volumes, which aborts the launcher",
       "let its first line be the number of volumes, and nothing else"},
      {kSearchAborts, "search-aborts", kError,
       "the search for volumes meets an error, which aborts the launcher: <error>",
       "look at what it names"},
      {kCommandIsSplit, "command-is-split", kEither,
       "the installer does not get its path and arguments as they are: a double quote, a doubled "
       "or "
       "last backslash or an empty argument is among them",
       "do without them in the paths and arguments"},
      {kVariableTooLong, "variable-too-long", kError,
       "a variable of the installer that is longer than the system hands to a program",
       "shorten what it is set from"},
      {kArgumentTooLong, "argument-too-long", kError,
       "argument <number> of the installer is longer than the system hands to a program",
       "shorten it"},
      {kTogetherTooLong, "argument-too-long", kError,
       "the arguments and variables of the installer have <number> bytes together, and the system "
       "hands <number> to a program",
       "do without the longest of them"},
      {kColonInPath, "colon-in-path", kWarning,
       "a colon in it takes the path lists of the installer apart",
       "use a directory without a colon in its path"},
      {kInstallerIsNoFile, "installer-is-no-file", kError, "it is a directory",
       "put the installer there as a file"},
      {kInstallerOnNoexec, "noexec-mount", kError,
       "the installer would be started from a file system that is mounted noexec",
       "mount it without noexec, or copy the media to another file system"},
      {kStagedOnNoexec, "noexec-mount", kError,
       "the installer would be started from a file system that is mounted noexec",
       "let TMPDIR name a directory of another file system"},
      {kInstallerNotExecutable, "installer-not-executable", kError,
       "the installer has no execute permission", "give it that (chmod a+x)"},
      {kInstallerIsEmpty, "installer-is-empty", kError, "the installer is empty", "copy it again"},
      {kInstallerForAnotherMachine, "installer-not-for-this-machine", kError,
       "it is a program for <machine>, and this machine is <machine>",
       "put the installer for this machine there"},
      {kProgramCutOff, "program-cut-off", kError, "the program is damaged: <what>",
       "copy it again"},
      {kLoaderMissing, "loader-missing", kError,
       "the program needs a loader that is missing or cannot be executed: <path>",
       "install that loader, or put a program for this system there"},
      {kInstallerNotReadable, "unreadable", kWarning,
       "you may execute it, but not read it, so that it cannot be known whether it starts",
       "give it read permission (chmod a+r)"},
      {kCarriageReturn, "carriage-return", kEither, "its first line has a carriage return",
       "save it with line feeds alone"},
      {kInterpreterMissing, "interpreter-missing", kError,
       "its first line names a program that is missing or cannot be executed: <path>",
       "correct the line, or install that program"},

      {kStartScriptMissing, "start-script-missing", kError, "there is no start script here",
       "copy it again"},
      {kStartScriptNotExecutable, "start-script-not-executable", kError,
       "the start script has no execute permission", "give it that (chmod a+x)"},
      {kLauncherMissing, "launcher-missing", kError,
       "there is no launcher here, and the start script starts it", "put the launcher there"},
      {kLauncherOnNoexec, "noexec-mount", kError,
       "the launcher would be started from a file system that is mounted noexec",
       "mount it without noexec, or copy the media to another file system"},
      {kLauncherNotExecutable, "launcher-not-executable", kError,
       "the launcher has no execute permission", "give it that (chmod a+x)"},
      {kLauncherNotForThisMachine, "launcher-not-for-this-machine", kError,
       "this machine cannot run the launcher", "put the launcher for this machine there"},
      {kLauncherForAnotherMachine, "launcher-not-for-this-machine", kError,
       "it is a program for <machine>, and this machine is <machine>",
       "put the launcher for this machine there"},

      {kNoSpace, "no-space", kError, "staging needs <number> bytes, and <number> are free",
       "make room there, or let TMPDIR name another directory"},
      {kSpaceIsScarce, "no-space", kWarning,
       "staging needs up to <number> bytes, and <number> are free; whether they are enough cannot "
       "be known",
       "make room there, or let TMPDIR name another directory"},
      {kNoInodes, "no-space", kError,
       "staging makes <number> files and directories, and there is room for <number>",
       "make room there, or let TMPDIR name another directory"},
      {kTemporaryDirectoryClosed, "temporary-directory-not-writable", kError,
       "you cannot write into the temporary directory",
       "let TMPDIR name a directory that you can write into"},
      {kTemporaryDirectoryMissing, "temporary-directory-not-writable", kError,
       "the temporary directory is missing and cannot be made",
       "let TMPDIR name a directory that you can write into"},
      {kTemporaryDirectoryIsNone, "temporary-directory-not-writable", kError,
       "the temporary directory is none", "let TMPDIR name a directory that you can write into"},
      {kTemporaryDirectoryDangling, "temporary-directory-not-writable", kError,
       "a link that leads nowhere, on the way to the temporary directory",
       "let TMPDIR name a directory that you can write into"},
      {kTemporaryDirectoryWithBackslash, "backslash-in-path", kError,
       "the temporary directory has a backslash in its path, which stands for a slash where the "
       "launcher makes directories",
       "let TMPDIR name a directory without a backslash in its path"},
      {kUmaskClosesStaging, "umask-closes-staging", kError,
       "the umask <umask> takes permissions from what is staged that you need yourself",
       "set one that leaves them to you (umask 022)"},
      {kStagedPathTooLong, "path-too-long", kError,
       "where it is staged, its path is too long for the system",
       "let TMPDIR name a directory with a shorter path, put it less deep, or shorten names"},
      {kStagingSourceMissing, "staging-source-missing", kError,
       "it is needed to stage the installer, and is not there", "put it there"},
      {kStagingIntoItself, "staging-into-itself", kError,
       "the temporary directory lies inside of what is copied",
       "let TMPDIR name a directory outside the media"},
      {kDirectoryOverFile, "overlay-of-another-kind", kError,
       "a directory, and in the media a file has its name", "rename one of the two"},
      {kFileOverDirectory, "overlay-of-another-kind", kError,
       "a file, and in the media a directory has its name", "rename one of the two"},
      {kReadOnlyOverwritten, "read-only-overwritten", kEither,
       "a read-only file that the external installer media has to overwrite",
       "give it write permission for its owner (chmod u+w)"},

      {kVolumeMissing, "volume-missing", kWarning, "<volume> is missing: it has no marker",
       "copy the whole volume there"},
      {kVolumeOfAnotherMedia, "volume-of-another-media", kWarning,
       "<volume> has the tag <tag> instead of <tag>", "put the volume of the same media there"},
      {kMarkerUnreadable, "marker-unreadable", kWarning, "the marker of <volume> cannot be read",
       "make it a regular file with read permission (chmod a+r)"},
      {kMarkerWithoutTag, "marker-without-tag", kWarning,
       "the marker of <volume> has no line MTBDIR=<tag>", "copy the marker again"},
      {kMoreVolumesMissing, "more-volumes-missing", kWarning,
       "<number> volumes above <number> are missing",
       "copy them, or correct the number in volumes.txt"},
      {kSearchFails, "search-fails", kWarning,
       "the launcher does not find all volumes, and a second look does",
       "look at the disc, and check again"},
      {kAmMarkerWithoutTag, "am-marker-without-tag", kWarning,
       "it looks like the marker of an AM volume, and has no line MTBDIR=<tag>",
       "copy the marker again, or remove it if it is none"},
      {kVolumesFileUnreadable, "volumes-file-unreadable", kWarning,
       "the number of volumes cannot be read",
       "make it a regular file with read permission (chmod a+r)"},
      {kVolumesFileEmpty, "volumes-file-empty", kWarning,
       "it has no line with the number of volumes", "write the number into it"},
      {kByteOrderMark, "byte-order-mark", kWarning,
       "it begins with a byte order mark, so that its number is none",
       "save it without a byte order mark"},

      {kDanglingLink, "dangling-link", kEither, "a link that leads nowhere",
       "put there what it leads to, or remove the link"},
      {kLinkCycle, "link-cycle", kEither, "a link that leads round in a circle",
       "remove the link, or let it lead to something else"},
      {kTooManyLinks, "too-many-links", kEither,
       "links that lead round in a circle, or too many of them one behind the other",
       "remove the link, or let it lead to something else"},
      {kPipe, "pipe", kEither, "a pipe, which cannot be copied", "remove it from the media"},
      {kSocket, "socket", kEither, "a socket, which cannot be copied", "remove it from the media"},
      {kDevice, "device", kEither, "a device, which cannot be copied", "remove it from the media"},
      {kDirectoryNotListable, "directory-not-listable", kEither,
       "a directory that you may not list, so that it counts as empty",
       "give it read and execute permission (chmod a+rx)"},
      {kClosedFile, "unreadable", kEither, "you cannot read it",
       "give it read permission (chmod a+r)"},
      {kClosedWay, "unreadable", kEither, "you cannot read it",
       "give the directories above it permission x"},
      {kUnread, "unreadable", kEither, "it cannot be read: <error>",
       "look at the disc, and copy it again"},
      {kFileNotForOthers, "not-readable-by-others", kWarning, "an ordinary user cannot read it",
       "give it read permission for all (chmod a+r)"},
      {kDirectoryNotForOthers, "not-readable-by-others", kWarning,
       "an ordinary user cannot read it",
       "give it read and execute permission for all (chmod a+rx)"},
      {kNameTooLong, "name-too-long", kWarning,
       "a name that is cut off on a disc (ISO 9660 with Rock Ridge)",
       "shorten it to 253 bytes or less"},
      {kPathTooLong, "path-too-long", kEither, "a path that is too long for the system",
       "put it less deep, or shorten names"},
  };

  static constexpr bool IsInOrder() {
    for (std::size_t i = 0; i < std::size(kRows); ++i) {
      if (kRows[i].kind != static_cast<FindingKind>(i)) return false;
    }
    return kRows[std::size(kRows) - 1].kind == kPathTooLong;
  }
};
static_assert(Catalogue::IsInOrder());

}  // namespace

std::span<const FindingRow> FindingCatalogue() {
  return Catalogue::kRows;
}

const FindingRow& RowOf(FindingKind kind) {
  return Catalogue::kRows[static_cast<std::size_t>(kind)];
}

}  // namespace kvl
