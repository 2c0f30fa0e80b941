// The result of a check of a media.
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

/// The outcome of a launch.
enum class Expectation {
  kBadCommandLine,
  kNoInstaller,
  kBlankInInstallerMedia,
  kAbort,  ///< an uncaught exception
  kQuery,  ///< the launcher only answers with the result of the scan
  kStagingFails,
  kCannotStart,          ///< the system cannot execute the installer
  kCannotBeKnown,        ///< nobody can tell whether the installer starts, or how its start ends
  kStartScriptFails,     ///< only of a start by StartTUI.sh
  kLauncherCannotStart,  ///< only of a start by StartTUI.sh
  kInstallerRuns,
};

/// What names the system or the installer.
enum class NameSource {
  kNone,
  kOption,  ///< an option of `kvl-media check`
  kEnvironment,
  kStartScript,
  kArgument,  ///< the argument "-env" of the launcher
};

struct MediaReport {
  std::string media_dir;
  std::string found_in;  ///< the given directory if volume 1 lies below it, else empty
  std::string os_name;
  NameSource os_source = NameSource::kNone;
  std::string installer_name;
  NameSource installer_name_source = NameSource::kNone;

  /// The outcome if somebody starts the launcher without the start script.
  Expectation expectation = Expectation::kInstallerRuns;
  /// The exit status of the launcher; nothing if the installer decides or the outcome is unknown.
  std::optional<int> status;
  std::vector<std::string> messages;  ///< of the launcher before it stages and starts the installer

  InstallerSource source = InstallerSource::kNone;
  std::string installer;  ///< its path in the media, not in the staging directory
  std::string external_inst_slash;

  Layout layout = Layout::kNone;  ///< the result of the scan
  VolumeReport volumes;
  bool volumes_looked_for = false;  ///< false in software management and with a repository

  bool staged = false;
  std::string staging_directory;  ///< kIdentifier stands for the last name
  StagingForecast staging;

  // If the launcher would start the installer:
  std::vector<std::string> command;              ///< path of the installer and its arguments
  std::map<std::string, std::string> variables;  ///< variables that the launcher sets or changes

  StartProblems start_problems;
  Findings findings;

  /// A message or a value of a variable that is longer is Shortened to kShortText bytes.
  static constexpr std::size_t kLongestText = 131'072;
  static constexpr std::size_t kShortText = 256;

  bool IsStillGoing() const { return expectation == Expectation::kInstallerRuns; }

  /// Returns the outcome of a start by StartTUI.sh.
  Expectation EndOfStart() const {
    if (start_problems.launcher) return Expectation::kLauncherCannotStart;
    return start_problems.tui ? Expectation::kStartScriptFails : expectation;
  }
  bool MayStart() const { return IsStillGoing() || expectation == Expectation::kCannotBeKnown; }

  /// Sets the outcome unless an earlier step has already ended the run.
  void End(Expectation end, std::optional<int> with_status) {
    if (!IsStillGoing()) return;
    expectation = end;
    status = with_status;
  }
};

}  // namespace kvl
