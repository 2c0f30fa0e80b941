#include "companion/check/start_forecast.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
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

constexpr int kCannotStartStatus = 255;  // the exit status that the system makes of -1
constexpr int kEmptyScriptStatus = 0;

class StartForecast {
 public:
  StartForecast(const RunPlan& plan, MediaReport& report)
      : plan_(plan), state_(plan.AtStart), report_(report), findings_(report.findings) {}

  void Run(const Variables& before) {
    ExportToInstaller(plan_);
    ExportToCommand();
    const std::vector<std::string> command = SplitCommand(plan_.CommandLine);
    CheckCommand(command);
    for (const auto& [name, value] : Changes(before, AllVariables())) {
      report_.variables.emplace(name, WithoutIdentifier(value));
    }
    if (AddTooLongTexts(command, findings_)) CannotStart();
    CheckPaths();
    if (report_.staged && !FindStaged()) return CannotStart();
    if (!IsFileToStart(StateAt(program_))) return CannotStart();
    CheckExecutable();
    CheckInstallerHead();
  }

 private:
  void CannotStart() { report_.End(Expectation::kCannotStart, kCannotStartStatus); }
  void CannotBeKnown() { report_.End(Expectation::kCannotBeKnown, std::nullopt); }

  /// Replaces the identifier of this plan, which no run will have, by kIdentifier.
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

  /// Returns true for a regular file. Otherwise adds a finding.
  bool IsFileToStart(const PathState& state) {
    if (!state.IsThere()) {  // it was there before
      AddUnread(program_, state.error, Severity::kError, findings_);
      return false;
    }
    if (state.IsDirectory()) findings_.Add(FindingKind::kInstallerIsNoFile, program_);
    return !state.IsDirectory() && !AddSpecialFile(program_, state, Severity::kError, findings_);
  }

  /// Finds the original of the staged installer. Returns false if staging does not copy the
  /// installer, because it takes a directory that it cannot list as empty.
  bool FindStaged() {
    const std::string& own = plan_.InstallerCandidate;
    const bool has_own = IsStaged(own, plan_.OriginalMediaDir);
    const std::string& external = state_.CommonDirPrefix;
    const bool has_external = !external.empty() && IsStaged(report_.installer, external);
    if (has_own && !has_external) program_ = own;
    if (has_own) whose_mode_counts_ = own;  // an external installer keeps the mode
    if (has_own || has_external) return true;
    const std::string closed =
        ClosedDirectory(report_.installer, external.empty() ? plan_.OriginalMediaDir : external);
    findings_.Add(FindingKind::kDirectoryNotListable, Severity::kError, closed);
    return false;
  }

  bool IsStaged(const std::string& file, const std::string& directory) {
    const PathState state = StateAt(file);
    AddUnseen(file, state.error, Severity::kError, findings_);
    return state.IsThere() && ClosedDirectory(file, directory).empty();
  }

  /// Returns the first directory below `directory`, on the way to `file`, that cannot be listed;
  /// empty if all can be listed.
  std::string ClosedDirectory(const std::string& file, const std::string& directory) {
    const std::size_t first = directory.size() + (directory.ends_with('/') ? 0 : 1);
    for (std::size_t end = first; (end = file.find('/', end)) != std::string::npos; ++end) {
      std::string place = file.substr(0, end);
      const int error = WhyNotAllowed(place, R_OK);
      if (!AddUnseen(place, error, Severity::kError, findings_) && error != 0) return place;
    }
    return {};
  }

  void CheckExecutable() {
    const std::string place = report_.staged ? plan_.TempRoot : program_;
    if (IsOnNoexecMount(place, findings_)) {
      findings_.Add(report_.staged ? FindingKind::kStagedOnNoexec : FindingKind::kInstallerOnNoexec,
                    place);
      CannotStart();
    } else if (!MayBeExecuted()) {
      if (report_.staged && (ModeThatCounts() & ExecuteBits()) != 0) {
        AddUmask();
      } else {
        findings_.Add(FindingKind::kInstallerNotExecutable, whose_mode_counts_);
      }
      CannotStart();
    }
  }

  bool MayBeExecuted() {
    if (report_.staged) return (ModeThatCounts() & ~Umask() & ExecuteBits()) != 0;
    const int error = WhyNotAllowed(program_, X_OK);
    return AddUnseen(program_, error, Severity::kError, findings_) || error == 0;
  }

  mode_t ModeThatCounts() {
    const PathState state = StateAt(whose_mode_counts_);
    AddUnseen(whose_mode_counts_, state.error, Severity::kError, findings_);
    return state.mode;
  }

  /// The user owns the copy and needs the bit of the owner; the superuser needs any of the three.
  static mode_t ExecuteBits() {
    return MayOverridePermissions() ? S_IXUSR | S_IXGRP | S_IXOTH : S_IXUSR;
  }

  void CheckInstallerHead() {
    const ProgramHead head(program_);
    if (head.Error() == EACCES && !report_.staged) {
      findings_.Add(FindingKind::kInstallerNotReadable, program_);
      CannotBeKnown();
    } else if (AddUnreadHead(program_, head, Severity::kError, findings_)) {
      EndForWantOfTheInstaller();
    } else if (head.IsBinary()) {
      CheckBinaryInstaller();
    } else {
      CheckScript(head);
    }
  }

  void CheckBinaryInstaller() {
    const BinaryCheck check =
        AddBinaryFault(program_, FindingKind::kInstallerForAnotherMachine, findings_);
    if (check.fault == BinaryFault::kNone) return;
    if (check.end == BinaryEnd::kCannotBeKnown) return CannotBeKnown();
    check.fault == BinaryFault::kUnread ? EndForWantOfTheInstaller() : CannotStart();
  }

  void CheckScript(const ProgramHead& head) {
    if (head.IsEmpty()) findings_.Add(FindingKind::kInstallerIsEmpty, program_);
    AddCarriageReturn(program_, head, findings_);
    if (AddMissingInterpreter(program_, head, findings_) != 0) CannotStart();
    if (report_.staged && !MayReadWhatIsStaged()) {
      AddUmask();
      CannotBeKnown();  // nobody can tell how the interpreter reacts
    }
    // The system leaves an empty file to the shell, which has nothing to do.
    if (head.IsEmpty()) report_.End(Expectation::kCannotStart, kEmptyScriptStatus);
  }

  bool MayReadWhatIsStaged() {
    return MayOverridePermissions() || (ModeThatCounts() & ~Umask() & S_IRUSR) != 0;
  }

  void AddUmask() {
    findings_.Add(FindingKind::kUmaskClosesStaging, report_.staging_directory, {OctalUmask()});
  }

  /// Ends the run because the installer can be neither copied nor started.
  void EndForWantOfTheInstaller() {
    if (report_.staged) {
      report_.End(Expectation::kStagingFails, static_cast<int>(ExitStatus::kStagingFailed));
    } else {
      CannotStart();
    }
  }

  const RunPlan& plan_;
  const LauncherState& state_;
  MediaReport& report_;
  Findings& findings_;
  std::string program_ = report_.installer;  // the installer, or the original of the staged one
  std::string whose_mode_counts_ = program_;
};

}  // namespace

void ForecastStart(const RunPlan& plan, const Variables& before, MediaReport& report) {
  StartForecast(plan, report).Run(before);
}

}  // namespace kvl
