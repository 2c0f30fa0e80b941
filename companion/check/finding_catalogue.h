// Everything that a check can find: the one place of its code, severity, text and remedy.
#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace kvl {

enum class Severity {
  kWarning,  ///< the launcher gets on with it, but somebody will not
  kError,    ///< the start script, the launcher or the installer would not do its work
};

/// One for each text.
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
  kTemporaryDirectoryIsNone,
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
  std::string_view code;             ///< short, stable, for programs; that of several kinds
  std::optional<Severity> severity;  ///< nothing where the situation decides
  /// What is wrong. A word in angle brackets stands for an argument, in their order, as long as there
  /// are arguments.
  std::string_view text;
  std::string_view remedy;  ///< what to do about it
};

/// All of them, in the order of the enumeration.
std::span<const FindingRow> FindingCatalogue();

const FindingRow& RowOf(FindingKind kind);

}  // namespace kvl
