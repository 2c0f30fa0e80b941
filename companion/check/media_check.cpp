#include "companion/check/media_check.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "companion/check/disc_access.h"
#include "companion/check/installer_check.h"
#include "companion/check/installer_variables.h"
#include "companion/check/media_description.h"
#include "companion/check/special_file.h"
#include "companion/check/start_check.h"
#include "companion/check/start_forecast.h"
#include "companion/check/start_script.h"
#include "companion/check/temporary_directory.h"
#include "companion/check/tree_survey.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "companion/names/plain_text.h"
#include "console/logger.h"
#include "environment/environment.h"
#include "environment/media_names.h"
#include "environment/variables.h"
#include "launcher/command_line.h"
#include "launcher/exit_status.h"
#include "launcher/run_plan.h"
#include "media/volume_scan.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;

constexpr int kAbortStatus = 134;  // as a shell shows death by SIGABRT

class MediaCheck {
 public:
  explicit MediaCheck(MediaCheckRequest request) : request_(std::move(request)) {
    GoToFirstVolume();
    start_script_ = ReadStart(Script(), kMostOfAScript);
    report_.media_dir = InsPath(request_.media_dir).Str();
    SetEnv(variables::kCurrentMediaDir, request_.media_dir);
    report_.os_source = SetName(variables::kOs, request_.os_name);
    report_.installer_name_source = SetName(variables::kInstallerExe, request_.installer_name);
    SetName(variables::kLibraryPathName, {});
    before_ = AllVariables();
  }

  MediaReport Run() {
    if (ReadArguments()) {
      plan_ = PlanRun(state_, logger_);
      LookAtInstaller();
      LookAtVolumes();
      if (report_.IsStillGoing()) LookAtStart();
      if (is_first_volume_ && !state_.OsName.empty()) {
        report_.start_problems = CheckStart(
            {request_.media_dir, state_.OsName, state_.InstallerExeName, HasExternalInstaller()},
            start_script_, report_.findings);
      }
      LookThroughTrees();
    }
    return std::move(report_);
  }

 private:
  std::string Script() const { return PathBelow(request_.media_dir, names::kStartTui); }

  /// Goes on to the directory of volume 1 if the given one holds a directory for each volume.
  void GoToFirstVolume() {
    for (const char* way : {"", "/1", "/1/media/1"}) {
      const std::string directory = request_.media_dir + way;
      const std::string inst = PathBelow(directory, names::kInst);
      const PathState state = StateAt(inst);
      AddUnseen(inst, state.error, Severity::kWarning, report_.findings);
      if (!state.IsDirectory()) continue;
      if (*way != '\0') report_.found_in = std::exchange(request_.media_dir, directory);
      return;
    }
  }

  /// Sets the variable for the launcher. The option counts before the environment, and the
  /// environment before the start script.
  NameSource SetName(const char* variable, const std::string& option) {
    if (!option.empty()) {
      SetEnv(variable, option);
      return NameSource::kOption;
    }
    if (!GetEnv(variable).empty()) return NameSource::kEnvironment;
    const std::string name = AssignmentIn(start_script_.bytes, variable);
    if (name.empty()) return NameSource::kNone;
    SetEnv(variable, name);
    return NameSource::kStartScript;
  }

  bool HasExternalInstaller() const {
    return !state_.InstallerPathArg.empty() || !GetEnv(variables::kExternalInstallerMedia).empty();
  }

  void End(Expectation expectation, ExitStatus status) {
    report_.End(expectation, static_cast<int>(status));
  }

  /// Takes a message of one or more lines.
  void TakeMessage(std::string_view message) {
    while (!message.empty()) {
      const std::string_view line = message.substr(0, message.find('\n'));
      report_.messages.push_back(ShownText(line));
      message.remove_prefix(std::min(line.size() + 1, message.size()));
    }
  }

  bool ReadArguments() {
    std::vector<const char*> arguments = {names::kLauncher};
    for (const std::string& text : request_.launcher_arguments) arguments.push_back(text.c_str());
    state_.InstallerExeName = GetEnv(variables::kInstallerExe);
    const std::string os_before = GetEnv(variables::kOs);
    const std::string error =
        ReadCommandLine(static_cast<int>(arguments.size()), arguments.data(), state_);
    state_.OsName = GetEnv(variables::kOs);
    report_.os_name = state_.OsName;
    if (state_.OsName != os_before) report_.os_source = NameSource::kArgument;
    report_.installer_name = state_.InstallerExeName;
    if (error.empty()) return true;
    logger_.Message(error, kError, kMarked);
    const std::string text = error.ends_with('.') ? error.substr(0, error.size() - 1) : error;
    report_.findings.Add(FindingKind::kBadArguments, "", {text});
    End(Expectation::kBadCommandLine, ExitStatus::kBadCommandLine);
    return false;
  }

  void LookAtInstaller() {
    report_.source = plan_.Source;
    report_.installer = state_.InstallerPath;
    report_.external_inst_slash = state_.CommonDirPrefix;
    if (plan_.Source != InstallerSource::kNone) return;
    if (plan_.MediaWithBlank.empty()) {
      is_first_volume_ = SayWhyThereIsNoInstaller(
          {request_.media_dir, state_, plan_.InstallerCandidate, start_script_}, report_.findings);
      End(Expectation::kNoInstaller, ExitStatus::kNoInstaller);
      return;
    }
    report_.findings.Add(FindingKind::kBlankInInstallerMedia, plan_.MediaWithBlank);
    End(Expectation::kBlankInInstallerMedia, ExitStatus::kBlankInInstallerMedia);
  }

  void LookAtVolumes() {
    report_.volumes_looked_for = !state_.SoftMgt && GetEnv(variables::kOnlineRepository).empty();
    const VolumesFile file = CheckVolumesFile(state_.MediaDir, report_.findings);
    if (!report_.IsStillGoing()) {  // the launcher ends before it looks at volumes
      Logger unheard([](std::string_view) {});
      PlanVolumes(state_, unheard, plan_);
    }
    if (plan_.Abort) {
      SayWhatAbortsTheScan(file);
      report_.End(Expectation::kAbort, kAbortStatus);
    } else if (report_.volumes_looked_for) {
      report_.layout = plan_.Scan.layout;
      CheckVolumesOf(file);
    }
  }

  void CheckVolumesOf(const VolumesFile& file) {
    const MediaDescription description(request_.media_dir, report_.findings);
    report_.volumes =
        CheckVolumes(state_.MediaDir, file, description.Volumes(), plan_.Scan, report_.findings);
    const auto look_at = [&](const std::string& directory, VolumeNumber number) {
      if (description.NamesPayloadOf(number)) CheckPayload(directory, number, report_.findings);
    };
    if (report_.volumes.rows.empty()) look_at(request_.media_dir, 1);
    for (const VolumeRow& row : report_.volumes.rows) {
      if (row.state == VolumeState::kFound) look_at(DirectoryOf(row), row.number);
    }
  }

  /// Returns the directory of a volume, for volume 1 as the caller gave it.
  const std::string& DirectoryOf(const VolumeRow& row) const {
    return row.directory == state_.MediaDir.Str() ? request_.media_dir : row.directory;
  }

  void SayWhatAbortsTheScan(const VolumesFile& file) {
    try {
      std::rethrow_exception(plan_.Abort);
    } catch (const std::logic_error&) {  // the conversion of the number throws it
      report_.findings.Add(FindingKind::kCountIsNoNumber, VolumesFileOf(state_.MediaDir).Str());
      report_.volumes.count = 0;
    } catch (const std::exception& failure) {
      report_.findings.Add(FindingKind::kSearchAborts, state_.MediaDir.Str(), {MessageOf(failure)});
      CheckVolumesOf(file);
    }
  }

  void LookAtStart() {
    if (plan_.Status) {
      report_.End(Expectation::kQuery, static_cast<int>(*plan_.Status) & 0xFF);
      return;
    }
    report_.staged = plan_.CopyInstaller;
    if (report_.staged) ForecastCopies();
    if (report_.MayStart()) ForecastStart(plan_, before_, report_);
  }

  void ForecastCopies() {
    report_.staging_directory = plan_.TempRoot + "/" + kIdentifier;
    report_.staging = ForecastStaging(
        {state_.MediaDir, state_.CommonDirPrefix, state_.OsName, report_.staging_directory + "/"},
        report_.findings);
    AddExchangeable(plan_.TempRoot, report_.findings);
    if (report_.staging.fails) End(Expectation::kStagingFails, ExitStatus::kStagingFailed);
    if (report_.staging.is_doubtful) report_.End(Expectation::kCannotBeKnown, std::nullopt);
  }

  void LookThroughTrees() {
    std::set<FileIdentity> seen;  // in the flat layout all volumes share a directory
    std::vector<std::string> volumes = {request_.media_dir};
    InstalledTree installed;
    for (const VolumeRow& row : report_.volumes.rows) {
      if (row.state != VolumeState::kFound) continue;
      if (report_.layout == Layout::kAm) LookAtWayTo(row);
      volumes.push_back(DirectoryOf(row));
      installed.AddPayloadOf(volumes.back(), std::to_string(row.number));
    }
    const auto survey = [&](const std::string& tree) {
      const PathState state = StateAt(tree);
      if (state.IsThere() && seen.insert(state.identity).second) {
        SurveyTree(tree, installed, report_.findings);
      }
      return state.error;
    };
    for (const std::string& volume : volumes) {  // the check has already found each of them
      if (const int error = survey(volume)) {
        AddUnread(volume, error, Severity::kWarning, report_.findings);
      }
    }
    if (report_.external_inst_slash.empty()) return;
    for (const std::string& name : {std::string(names::kCommon), state_.OsName}) {
      const std::string tree = report_.external_inst_slash + name;
      AddUnseen(tree, survey(tree), Severity::kWarning, report_.findings);
    }
  }

  /// Looks at the directories from the AM volume, which is a disc of its own, down to the volume.
  void LookAtWayTo(const VolumeRow& row) {
    const InsPath outer = plan_.Scan.first_am.directory.Parent();
    for (InsPath place = InsPath(row.directory).Parent(); place != outer && !place.IsEmpty();
         place = place.Parent()) {
      const PathState state = StateAt(place.Str());
      AddUnseen(place.Str(), state.error, Severity::kWarning, report_.findings);
      if (state.IsThere()) AddNotForOthers(place.Str(), state, report_.findings);
    }
  }

  MediaCheckRequest request_;
  Variables before_;
  LauncherState state_;
  RunPlan plan_;
  FileStart start_script_;
  bool is_first_volume_ = true;  // until the opposite is clear
  Logger logger_{[this](std::string_view message) { TakeMessage(message); }};
  MediaReport report_;
};

}  // namespace

MediaReport CheckMedia(const MediaCheckRequest& request) {
  return MediaCheck(request).Run();
}

std::string MediaDirectory(const std::string& path) {
  const PathState state = StateAt(path);
  if (state.error != 0 && !IsAboutThePath(state.error)) {
    throw std::system_error(state.error, std::generic_category(),
                            "the system cannot look at this directory: " + path);
  }
  if (!state.IsDirectory()) return {};
  try {
    return AbsolutePath(path);
  } catch (const std::filesystem::filesystem_error&) {
    return {};
  }
}

}  // namespace kvl
