// What a check has found out about a media.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "companion/check/findings.h"
#include "companion/check/staging_survey.h"
#include "companion/check/start_check.h"
#include "companion/check/volume_check.h"
#include "media/installer_search.h"
#include "media/volume_scan.h"

namespace kvl {

/// How a run of the launcher would end, or go on.
enum class Expectation {
  kBadCommandLine,
  kNoInstaller,
  kBlankInInstallerMedia,
  kAbort,  ///< an uncaught exception
  kQuery,  ///< only the result of the scan was asked for
  kStagingFails,
  kCannotStart,          ///< the installer could not be executed
  kCannotBeKnown,        ///< whether the installer starts, or how a start of it ends
  kStartScriptFails,     ///< only of a start by the script
  kLauncherCannotStart,  ///< likewise
  kInstallerRuns,
};

/// Where the name of the system or the installer comes from.
enum class NameSource {
  kNone,
  kOption,  ///< of the call
  kEnvironment,
  kStartScript,
  kArgument,  ///< of the launcher: "-env"
};

struct MediaReport {
  std::string media_dir;
  std::string found_in;  ///< the directory that was given, when that of volume 1 lies below it
  std::string os_name;
  NameSource os_source = NameSource::kNone;
  std::string installer_name;
  NameSource installer_name_source = NameSource::kNone;

  /// Of a launcher that is started without the start script.
  Expectation expectation = Expectation::kInstallerRuns;
  std::optional<int>
      status;  ///< the exit status; nothing when the installer decides or it cannot be known
  std::vector<std::string> messages;  ///< of the launcher, until it stages and starts the installer

  InstallerSource source = InstallerSource::kNone;
  std::string installer;  ///< as found, not as staged
  std::string external_inst_slash;

  Layout layout = Layout::kNone;  ///< the one that the scan ended with
  VolumeReport volumes;
  bool volumes_looked_for = false;  ///< false in software management and with a repository

  bool staged = false;
  std::string staging_directory;  ///< the last name stands for an identifier
  StagingForecast staging;

  // Of an installer that would be started:
  std::vector<std::string> command;              ///< its path as started, and its arguments
  std::map<std::string, std::string> variables;  ///< that the launcher sets or changes

  StartProblems start_problems;
  Findings findings;

  /// A longer message or value of a variable is Shortened to kShortText.
  static constexpr std::size_t kLongestText = 131'072;
  static constexpr std::size_t kShortText = 256;

  bool IsStillGoing() const { return expectation == Expectation::kInstallerRuns; }

  /// How a start by StartTUI.sh would end, or go on.
  Expectation EndOfStart() const {
    if (start_problems.launcher) return Expectation::kLauncherCannotStart;
    return start_problems.tui ? Expectation::kStartScriptFails : expectation;
  }
  bool MayStart() const { return IsStillGoing() || expectation == Expectation::kCannotBeKnown; }

  /// The first end that a run comes to is the one.
  void End(Expectation end, std::optional<int> with_status) {
    if (!IsStillGoing()) return;
    expectation = end;
    status = with_status;
  }
};

}  // namespace kvl
