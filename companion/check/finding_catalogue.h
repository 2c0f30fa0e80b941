// The catalogue of findings: the code, severity, text and remedy of all that a check can find.
#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace kvl {

enum class Severity {
  kWarning,  ///< the launcher goes on, but the media causes trouble
  kError,    ///< the start script, the launcher or the installer fails
};

/// Each text has its own kind; several kinds may share a code.
enum class FindingKind {
  // The launch.
  kBadArguments,
  kBlankInInstallerMedia,
  kNoInstaller,
  kNoFirstVolume,
  kNoSystemNamed,
  kNothingForThisMachine,
  kNoInstallerInInstallerMedia,
  kInstallerPassedOver,
  kInstallerFoundLater,
  kCountIsNoNumber,
  kSearchAborts,
  kCommandIsSplit,
  kVariableTooLong,
  kArgumentTooLong,
  kTogetherTooLong,
  kColonInPath,
  kInstallerIsNoFile,
  kInstallerOnNoexec,
  kStagedOnNoexec,
  kInstallerNotExecutable,
  kInstallerIsEmpty,
  kInstallerForAnotherMachine,
  kProgramCutOff,
  kLoaderMissing,
  kInstallerNotReadable,
  kCarriageReturn,
  kInterpreterMissing,
  // The start script and the launcher.
  kStartScriptMissing,
  kMediaUnfinished,
  kStartScriptNotExecutable,
  kStartScriptWithoutInstaller,
  kLauncherMissing,
  kLauncherOnNoexec,
  kLauncherNotExecutable,
  kLauncherNotForThisMachine,
  kLauncherForAnotherMachine,
  // Staging.
  kNoSpace,
  kSpaceIsScarce,
  kNoInodes,
  kExchangeable,
  kTemporaryDirectoryClosed,
  kTemporaryDirectoryMissing,
  kTemporaryDirectoryIsNoDirectory,
  kTemporaryDirectoryDangling,
  kTemporaryDirectoryWithBackslash,
  kUmaskClosesStaging,
  kStagedPathTooLong,
  kStagingSourceMissing,
  kStagingIntoItself,
  kDirectoryOverFile,
  kFileOverDirectory,
  kReadOnlyOverwritten,
  // Volumes.
  kVolumeMissing,
  kVolumesMissing,
  kVolumeOfAnotherMedia,
  kMarkerUnreadable,
  kMarkerBehindClosedWay,
  kMarkerWithoutTag,
  kMoreVolumesMissing,
  kSearchFails,
  kAmMarkerWithoutTag,
  kMarkerCarriageReturn,
  kVolumesFileMissing,
  kVolumesFileDiffers,
  kPayloadMissing,
  kVolumesFileUnreadable,
  kVolumesFileEmpty,
  kByteOrderMark,
  // Trees.
  kDanglingLink,
  kLinkCycle,
  kTooManyLinks,
  kPipe,
  kSocket,
  kDevice,
  kDirectoryNotListable,
  kClosedFile,
  kClosedWay,
  kUnread,
  kFileNotForOthers,
  kDirectoryNotForOthers,
  kNameTooLong,
  kFileTooLarge,
  kPathTooLong,
};

struct FindingRow {
  FindingKind kind;
  std::string_view code;             ///< for programs; short and stable
  std::optional<Severity> severity;  ///< nothing if it depends on the situation
  /// What is wrong: a clause that reads well with ": <path>" behind it. Each argument replaces the
  /// next word in angle brackets; further such words stay as they are.
  std::string_view text;
  std::string_view remedy;  ///< what to do about it, in the imperative
};

/// Returns all rows in the order of the enumeration.
std::span<const FindingRow> FindingCatalogue();

const FindingRow& RowOf(FindingKind kind);

}  // namespace kvl
