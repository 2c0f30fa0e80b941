#include "companion/check/start_forecast.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "companion/check/disc_access.h"
#include "companion/check/program_head.h"
#include "companion/check/special_file.h"
#include "companion/check/start_check.h"
#include "console/command_split.h"
#include "console/run_command.h"
#include "console/text.h"

namespace kvl {
namespace {

constexpr int kCannotStartStatus = 255;  // what the system makes of -1
constexpr int kEmptyScriptStatus = 0;

class StartForecast {
 public:
  StartForecast(const RunPlan& plan, MediaReport& report)
      : plan_(plan), state_(plan.AtStart), report_(report), findings_(report.findings) {}

  void Run(const Variables& before) {
    ExportToInstaller(plan_);
    ExportToCommand();
    CheckCommand(SplitCommand(plan_.CommandLine));
    for (const auto& [name, value] : Changes(before, AllVariables())) {
      report_.variables.emplace(name, WithoutIdentifier(value));
    }
    if (AddTooLongVariables(findings_)) CannotStart();
    CheckPaths();
    const PathState state = StateAt(report_.installer);
    if (IsFileToStart(state)) {
      CheckExecutable(state.mode);
      CheckInstallerHead();
    } else {
      CannotStart();
    }
  }

 private:
  void CannotStart() { report_.End(Expectation::kCannotStart, kCannotStartStatus); }

  /// The text with the identifier of this plan, which is not that of any run, written as such.
  std::string WithoutIdentifier(std::string text) const {
    if (!plan_.CopyInstaller) return text;
    std::string identifier = plan_.StagingDir.substr(plan_.TempRoot.size() + 1);
    identifier.pop_back();
    ReplaceAll(text, identifier, kIdentifier, 0);
    return text;
  }

  void CheckCommand(const std::vector<std::string>& command) {
    for (const std::string& word : command) report_.command.push_back(WithoutIdentifier(word));
    std::vector<std::string> meant = {state_.InstallerPath};
    meant.insert(meant.end(), state_.PassThroughArgs.begin(), state_.PassThroughArgs.end());
    if (command == meant) return;
    const bool is_lost = command.empty() || command.front() != meant.front();
    const auto torn = std::mismatch(meant.begin(), meant.end() - 1, command.begin(), command.end());
    const std::string word = WithoutIdentifier(*torn.first);
    findings_.Add(FindingKind::kCommandIsSplit, is_lost ? Severity::kError : Severity::kWarning,
                  word.empty() ? "''" : word);
    if (is_lost) CannotStart();
  }

  void CheckPaths() {
    for (const std::string& path : {state_.MediaDir.Str(), state_.CommonDirPrefix}) {
      if (path.find(':') == std::string::npos) continue;
      findings_.Add(FindingKind::kColonInPath, WithoutIdentifier(path));
    }
  }

  /// False when it cannot even be asked for its permissions, and what is in it.
  bool IsFileToStart(const PathState& state) {
    if (!state.IsThere()) {  // it was
      AddUnread(report_.installer, state.error, Severity::kError, findings_);
      return false;
    }
    if (state.IsDirectory()) findings_.Add(FindingKind::kInstallerIsNoFile, report_.installer);
    return !state.IsDirectory() &&
           !AddSpecialFile(report_.installer, state, Severity::kError, findings_);
  }

  void CheckExecutable(mode_t mode) {
    const std::string place = report_.staged ? plan_.TempRoot : report_.installer;
    if (IsOnNoexecMount(place, findings_)) {
      findings_.Add(report_.staged ? FindingKind::kStagedOnNoexec : FindingKind::kInstallerOnNoexec,
                    place);
      CannotStart();
    } else if (!MayBeExecuted(mode)) {
      findings_.Add(FindingKind::kInstallerNotExecutable, InstallerWhoseModeCounts());
      CannotStart();
    }
  }

  void CheckInstallerHead() {
    const ProgramHead head(report_.installer);
    if (AddUnreadHead(report_.installer, head, SeverityOfUnread(head), findings_)) {
      if (SeverityOfUnread(head) == Severity::kError) EndForWantOfTheInstaller();
      return;
    }
    if (head.IsEmpty()) {
      findings_.Add(FindingKind::kInstallerIsEmpty, report_.installer);
      // What the system cannot execute is given to the shell, which finds nothing to do.
      report_.End(Expectation::kCannotStart, kEmptyScriptStatus);
      return;
    }
    AddCarriageReturn(report_.installer, head, findings_);
    if (AddMissingInterpreter(report_.installer, head, findings_) != 0) CannotStart();
  }

  /// It can be neither copied nor started.
  void EndForWantOfTheInstaller() {
    if (report_.staged) {
      report_.End(Expectation::kStagingFails, static_cast<int>(ExitStatus::kStagingFailed));
    } else {
      CannotStart();
    }
  }

  /// A staged installer of an external media has the mode of the media's own one, if there is one.
  std::string InstallerWhoseModeCounts() {
    const bool overlays = report_.staged && !state_.CommonDirPrefix.empty();
    if (!overlays) return report_.installer;
    const std::string& own = plan_.InstallerCandidate;
    const int error = WhyNotAllowed(own, F_OK);
    AddUnseen(own, error, Severity::kError, findings_);
    return error == 0 ? own : report_.installer;
  }

  bool MayBeExecuted(mode_t mode) {
    if (!report_.staged) {
      const int error = WhyNotAllowed(report_.installer, X_OK);
      return AddUnseen(report_.installer, error, Severity::kError, findings_) || error == 0;
    }
    const std::string counts = InstallerWhoseModeCounts();
    if (counts != report_.installer) {
      const PathState state = StateAt(counts);
      if (state.IsThere()) mode = state.mode;
      AddUnseen(counts, state.error, Severity::kError, findings_);
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    // The copy belongs to the user; the superuser needs any of the three bits.
    const mode_t wanted = ::geteuid() == 0 ? S_IXUSR | S_IXGRP | S_IXOTH : S_IXUSR;
    return (mode & ~mask & wanted) != 0;
  }

  const RunPlan& plan_;
  const LauncherState& state_;
  MediaReport& report_;
  Findings& findings_;
};

}  // namespace

void ForecastStart(const RunPlan& plan, const Variables& before, MediaReport& report) {
  StartForecast(plan, report).Run(before);
}

}  // namespace kvl
