#include "companion/check/media_check.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "companion/check/disc_access.h"
#include "companion/check/installer_check.h"
#include "companion/check/installer_variables.h"
#include "companion/check/special_file.h"
#include "companion/check/start_check.h"
#include "companion/check/start_forecast.h"
#include "companion/check/start_script.h"
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

constexpr int kAbortStatus = 134;  // as a shell shows a death by signal 6

std::string FirstSet(const std::string& option, const char* variable, const std::string& script) {
  if (!option.empty()) return option;
  std::string value = GetEnv(variable);
  return value.empty() ? AssignmentIn(script, variable) : value;
}

class MediaCheck {
 public:
  explicit MediaCheck(const MediaCheckRequest& request) : request_(request) {
    start_script_ = ReadStart(Script(), kMostOfAScript);
    const std::string& script = start_script_.bytes;
    report_.media_dir = InsPath(request.media_dir).Str();
    SetEnv(variables::kCurrentMediaDir, request.media_dir);
    SetEnv(variables::kOs, FirstSet(request.os_name, variables::kOs, script));
    SetEnv(variables::kInstallerExe,
           FirstSet(request.installer_name, variables::kInstallerExe, script));
    if (GetEnv(variables::kLibraryPathName).empty()) {
      const std::string name = AssignmentIn(script, variables::kLibraryPathName);
      if (!name.empty()) SetEnv(variables::kLibraryPathName, name);
    }
    before_ = AllVariables();
  }

  MediaReport Run() {
    if (ReadArguments()) {
      plan_ = PlanRun(state_, logger_);
      LookAtInstaller();
      LookAtVolumes();
      if (report_.IsStillGoing()) LookAtStart();
      if (is_first_volume_ && !state_.OsName.empty()) {
        CheckStart(request_.media_dir, state_.OsName, start_script_, report_.findings);
      }
      LookThroughTrees();
    }
    return std::move(report_);
  }

 private:
  std::string Script() const { return PathBelow(request_.media_dir, names::kStartTui); }

  void End(Expectation expectation, ExitStatus status) {
    report_.End(expectation, static_cast<int>(status));
  }

  /// It may have several lines.
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
    const std::string error =
        ReadCommandLine(static_cast<int>(arguments.size()), arguments.data(), state_);
    state_.OsName = GetEnv(variables::kOs);
    report_.os_name = state_.OsName;
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
          {request_.media_dir, state_, plan_.InstallerCandidate, start_script_.error},
          report_.findings);
      End(Expectation::kNoInstaller, ExitStatus::kNoInstaller);
      return;
    }
    report_.findings.Add(FindingKind::kBlankInInstallerMedia, plan_.MediaWithBlank);
    End(Expectation::kBlankInInstallerMedia, ExitStatus::kBlankInInstallerMedia);
  }

  void LookAtVolumes() {
    report_.volumes_looked_for = !state_.SoftMgt && GetEnv(variables::kOnlineRepository).empty();
    const VolumesFile file = CheckVolumesFile(state_.MediaDir, report_.findings);
    if (!report_.IsStillGoing()) {  // the launcher does not come to them
      Logger unheard([](std::string_view) {});
      PlanVolumes(state_, unheard, plan_);
    }
    if (plan_.Abort) {
      SayWhatAbortsTheScan();
      report_.volumes.count = 0;
      report_.End(Expectation::kAbort, kAbortStatus);
    } else if (report_.volumes_looked_for) {
      report_.layout = plan_.Scan.layout;
      report_.volumes = CheckVolumes(state_.MediaDir, file, plan_.Scan, report_.findings);
    }
  }

  void SayWhatAbortsTheScan() {
    try {
      std::rethrow_exception(plan_.Abort);
    } catch (const std::logic_error&) {  // as the conversion of the number throws it
      report_.findings.Add(FindingKind::kCountIsNoNumber, VolumesFileOf(state_.MediaDir).Str());
    } catch (const std::exception& failure) {
      report_.findings.Add(FindingKind::kSearchAborts, state_.MediaDir.Str(), {MessageOf(failure)});
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
    if (report_.staging.fails) End(Expectation::kStagingFails, ExitStatus::kStagingFailed);
    if (report_.staging.is_doubtful) report_.End(Expectation::kCannotBeKnown, std::nullopt);
  }

  void LookThroughTrees() {
    std::set<FileIdentity> seen;  // in the flat layout all volumes are in one
    std::vector<std::string> trees = {request_.media_dir};
    InstalledTree installed;
    for (const VolumeRow& row : report_.volumes.rows) {
      if (row.state != VolumeState::kFound) continue;
      trees.push_back(row.directory == state_.MediaDir.Str() ? request_.media_dir : row.directory);
      installed.AddPayloadOf(trees.back(), std::to_string(row.number));
    }
    if (!report_.external_inst_slash.empty()) {
      for (const std::string& name : {std::string(names::kCommon), state_.OsName}) {
        trees.push_back(report_.external_inst_slash + name);
      }
    }
    for (const std::string& tree : trees) {
      const PathState state = StateAt(tree);
      AddUnseen(tree, state.error, Severity::kWarning, report_.findings);
      if (state.IsThere() && seen.insert(state.identity).second) {
        SurveyTree(tree, installed, report_.findings);
      }
    }
  }

  const MediaCheckRequest& request_;
  Variables before_;
  LauncherState state_;
  RunPlan plan_;
  FileStart start_script_;
  bool is_first_volume_ = true;  // until it is clear that it is none
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
                            "cannot look at the directory: " + path);
  }
  if (!state.IsDirectory()) return {};
  try {
    return AbsolutePath(path);
  } catch (const std::filesystem::filesystem_error&) {
    return {};
  }
}

}  // namespace kvl
