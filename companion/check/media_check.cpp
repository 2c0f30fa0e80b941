#include "companion/check/media_check.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "companion/check/disc_access.h"
#include "companion/check/installer_variables.h"
#include "companion/check/program_head.h"
#include "companion/check/special_file.h"
#include "companion/check/start_check.h"
#include "companion/check/start_script.h"
#include "companion/check/tree_survey.h"
#include "companion/names/path_below.h"
#include "console/command_split.h"
#include "console/logger.h"
#include "console/run_command.h"
#include "console/text.h"
#include "environment/environment.h"
#include "environment/media_names.h"
#include "environment/variables.h"
#include "insio/entry.h"
#include "insio/tree_level.h"
#include "launcher/command_line.h"
#include "launcher/exit_status.h"
#include "launcher/run_plan.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;

constexpr int kAbortStatus = 134;        // as a shell shows a death by signal 6
constexpr int kCannotStartStatus = 255;  // what the system makes of -1
constexpr int kEmptyScriptStatus = 0;
constexpr char kIdentifier[] = "<identifier>";
constexpr char kLauncherName[] = "kvl-launcher";

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
      if (IsStillGoing()) LookAtStart();
      if (is_first_volume_ && !state_.OsName.empty()) {
        CheckStart(request_.media_dir, state_.OsName, start_script_, report_.findings);
      }
      LookThroughTrees();
    }
    return std::move(report_);
  }

 private:
  std::string Script() const { return PathBelow(request_.media_dir, names::kStartTui); }

  bool IsStillGoing() const { return report_.expectation == Expectation::kInstallerRuns; }

  /// The first end that a run comes to is the one.
  void End(Expectation expectation, int status) {
    if (!IsStillGoing()) return;
    report_.expectation = expectation;
    report_.status = status;
  }

  void Add(const char* code, Severity severity, const std::string& path, const std::string& text,
           const std::string& remedy) {
    report_.findings.Add({code, severity, path, text, remedy});
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
    std::vector<const char*> arguments = {kLauncherName};
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
    Add("bad-arguments", Severity::kError, "", text, "correct the launcher's arguments");
    End(Expectation::kBadCommandLine, static_cast<int>(ExitStatus::kBadCommandLine));
    return false;
  }

  void LookAtInstaller() {
    report_.source = plan_.Source;
    report_.installer = state_.InstallerPath;
    report_.external_inst_slash = state_.CommonDirPrefix;
    if (plan_.Source != InstallerSource::kNone) return;
    if (plan_.MediaWithBlank.empty()) {
      SayWhyThereIsNoInstaller();
      End(Expectation::kNoInstaller, static_cast<int>(ExitStatus::kNoInstaller));
      return;
    }
    Add("blank-in-installer-media", Severity::kError, plan_.MediaWithBlank,
        "the path of the external installer media has a blank in it",
        "copy that media into a directory without blanks");
    End(Expectation::kBlankInInstallerMedia, static_cast<int>(ExitStatus::kBlankInInstallerMedia));
  }

  void AddNoInstaller(const std::string& path, const std::string& text, const std::string& remedy) {
    Add("no-installer", Severity::kError, path, text, remedy);
  }

  void SayWhyThereIsNoInstaller() {
    const std::string& own = plan_.InstallerCandidate;
    struct stat status;
    const std::string inst = KVLInsIO::Join(request_.media_dir, names::kInst).Str();
    const int error = ::stat(inst.c_str(), &status) == 0 ? 0 : errno;
    if (AddUnseen(inst, error, Severity::kError, report_.findings)) return;
    if (error != 0 || !S_ISDIR(status.st_mode)) {
      is_first_volume_ = false;
      AddNoInstaller(request_.media_dir, "this is no volume 1: there is no directory inst in it",
                     "give the directory that holds inst and StartTUI.sh");
    } else if (state_.OsName.empty()) {
      if (AddUnseen(Script(), start_script_.error, Severity::kError, report_.findings)) return;
      AddNoInstaller(KVLInsIO::Join(request_.media_dir, names::kStartTui).Str(),
                     "the start script is missing or names no system",
                     "copy it again, or use --os and --installer");
    } else if (KVLInsIO::Exists(own)) {
      if (GetEnv(variables::kUseExternalInstaller).empty()) {
        AddNoInstaller(own, "the launcher does not find it, and a second look does",
                       "look at the disc, and check again");
      } else {
        SayThatItIsPassedOver(own);
      }
    } else if (!IsOneUnseen(own)) {
      AddNoInstaller(
          own, "there is no installer here, nor in an external installer media",
          "put the installer there, or name its directory (--os) and file (--installer)");
    }
  }

  bool IsUnseen(const std::string& path) {
    return AddUnseen(path, WhyNotAllowed(path, F_OK), Severity::kError, report_.findings);
  }

  bool IsUnseenIn(const std::string& installer_media) {
    const auto is_unseen_below = [&](const std::string& directory) {
      return IsUnseen(InstallerIn(InsPath(directory), state_.OsName, state_.InstallerExeName));
    };
    return is_unseen_below(installer_media + "/1") || is_unseen_below(installer_media);
  }

  /// The installer of the media itself, or one of an installer media that is named.
  bool IsOneUnseen(const std::string& own) {
    bool is_unseen = IsUnseen(own);
    for (const std::string& media : InstallerMediaThatAreNamed()) {
      if (IsUnseenIn(media)) is_unseen = true;
    }
    return is_unseen;
  }

  std::vector<std::string> InstallerMediaThatAreNamed() const {
    std::vector<std::string> named = {state_.InstallerPathArg,
                                      GetEnv(variables::kExternalInstallerMedia)};
    std::erase(named, "");
    return named;
  }

  /// The installer of the media itself is there, and not wanted.
  void SayThatItIsPassedOver(const std::string& own) {
    const std::vector<std::string> named = InstallerMediaThatAreNamed();
    for (const std::string& media : named) {
      if (IsUnseenIn(media)) continue;
      AddNoInstaller(media,
                     "there is no installer in this installer media, and KVL_UseExternalInstaller "
                     "passes over that of the media",
                     "name another installer media, or do without that variable");
    }
    if (!named.empty()) return;
    AddNoInstaller(own, "KVL_UseExternalInstaller passes over it, and no installer media is named",
                   "name one (-installerPath), or do without that variable");
  }

  void LookAtVolumes() {
    report_.volumes_looked_for = !state_.SoftMgt && GetEnv(variables::kOnlineRepository).empty();
    const VolumesFile file = CheckVolumesFile(state_.MediaDir, report_.findings);
    if (!IsStillGoing()) {  // the launcher does not come to them
      Logger unheard([](std::string_view) {});
      PlanVolumes(state_, unheard, plan_);
    }
    if (plan_.Abort) {
      SayWhatAbortsTheScan();
      report_.volumes.count = 0;
      End(Expectation::kAbort, kAbortStatus);
    } else if (report_.volumes_looked_for) {
      report_.layout = plan_.Scan.layout;
      report_.volumes = CheckVolumes(state_.MediaDir, file, plan_.Scan, report_.findings);
    }
  }

  void SayWhatAbortsTheScan() {
    try {
      std::rethrow_exception(plan_.Abort);
    } catch (const std::logic_error&) {  // as the conversion of the number throws it
      Add("count-is-no-number", Severity::kError, VolumesFileOf(state_.MediaDir).Str(),
          "its first line is no number of volumes, which aborts the launcher",
          "let its first line be the number of volumes, and nothing else");
    } catch (const std::exception& failure) {
      std::string text = failure.what();
      while (text.ends_with('\n')) text.pop_back();
      Add("search-aborts", Severity::kError, state_.MediaDir.Str(),
          "the search for volumes meets an error, which aborts the launcher: " + text,
          "look at what it names");
    }
  }

  void LookAtStart() {
    if (plan_.Status) {
      End(Expectation::kQuery, static_cast<int>(*plan_.Status) & 0xFF);
      return;
    }
    report_.staged = plan_.CopyInstaller;
    if (report_.staged) ForecastCopies();
    if (IsStillGoing()) ForecastStart();
  }

  void ForecastCopies() {
    report_.staging_directory = plan_.TempRoot + "/" + kIdentifier;
    report_.staging = ForecastStaging(
        {state_.MediaDir, state_.CommonDirPrefix, state_.OsName, report_.staging_directory + "/"},
        report_.findings);
    if (!report_.staging.fails) return;
    End(Expectation::kStagingFails, static_cast<int>(ExitStatus::kStagingFailed));
  }

  /// The text with the identifier of this plan, which is not that of any run, written as such.
  std::string WithoutIdentifier(std::string text) const {
    if (!plan_.CopyInstaller) return text;
    std::string identifier = plan_.StagingDir.substr(plan_.TempRoot.size() + 1);
    identifier.pop_back();
    ReplaceAll(text, identifier, kIdentifier, 0);
    return text;
  }

  void ForecastStart() {
    state_ = plan_.AtStart;
    ExportToInstaller(plan_);
    ExportToCommand();
    CheckCommand(SplitCommand(plan_.CommandLine));
    for (const auto& [name, value] : Changes(before_, AllVariables())) {
      report_.variables.emplace(name, WithoutIdentifier(value));
    }
    if (AddTooLongVariables(report_.findings)) End(Expectation::kCannotStart, kCannotStartStatus);
    CheckPaths();
    if (!IsFileToStart()) {
      End(Expectation::kCannotStart, kCannotStartStatus);
      return;
    }
    CheckInstallerHead();
  }

  void CheckCommand(const std::vector<std::string>& command) {
    for (const std::string& word : command) report_.command.push_back(WithoutIdentifier(word));
    std::vector<std::string> meant = {state_.InstallerPath};
    meant.insert(meant.end(), state_.PassThroughArgs.begin(), state_.PassThroughArgs.end());
    if (command == meant) return;
    const bool is_lost = command.empty() || command.front() != meant.front();
    Add("command-is-split", is_lost ? Severity::kError : Severity::kWarning, "",
        "the installer does not get its path and arguments as they are: a double quote, a doubled "
        "or last backslash or an empty argument is among them",
        "do without them in the paths and arguments");
    if (is_lost) End(Expectation::kCannotStart, kCannotStartStatus);
  }

  void CheckPaths() {
    for (const std::string& path : {state_.MediaDir.Str(), state_.CommonDirPrefix}) {
      if (path.find(':') == std::string::npos) continue;
      Add("colon-in-path", Severity::kWarning, WithoutIdentifier(path),
          "a colon in it takes the path lists of the installer apart",
          "use a directory without a colon in its path");
    }
  }

  /// False when it cannot even be asked for its permissions, and what is in it.
  bool IsFileToStart() {
    struct stat status;
    if (::stat(report_.installer.c_str(), &status) != 0) {  // it was there
      AddUnread(report_.installer, errno, Severity::kError, report_.findings);
      return false;
    }
    if (S_ISDIR(status.st_mode)) {
      Add("installer-is-no-file", Severity::kError, report_.installer, "it is a directory",
          "put the installer there as a file");
      return false;
    }
    if (AddSpecialFile(report_.installer, status.st_mode, Severity::kError, report_.findings)) {
      return false;
    }
    CheckExecutable(status.st_mode);
    return true;
  }

  void CheckExecutable(mode_t mode) {
    const std::string place = report_.staged ? plan_.TempRoot : report_.installer;
    if (IsOnNoexecMount(place, report_.findings)) {
      Add("noexec-mount", Severity::kError, place,
          "the installer would be started from a file system that is mounted noexec",
          report_.staged ? "let TMPDIR name a directory of another file system"
                         : "mount it without noexec, or copy the media to another file system");
      End(Expectation::kCannotStart, kCannotStartStatus);
    } else if (!MayBeExecuted(mode)) {
      Add("installer-not-executable", Severity::kError, InstallerWhoseModeCounts(),
          "the installer has no execute permission", "give it that (chmod a+x)");
      End(Expectation::kCannotStart, kCannotStartStatus);
    }
  }

  void CheckInstallerHead() {
    const ProgramHead head(report_.installer);
    if (AddUnreadHead(report_.installer, head, SeverityOfUnread(head), report_.findings)) {
      if (SeverityOfUnread(head) == Severity::kError) EndForWantOfTheInstaller();
      return;
    }
    if (head.IsEmpty()) {
      Add("installer-is-empty", Severity::kError, report_.installer, "the installer is empty",
          "copy it again");
      // What the system cannot execute is given to the shell, which finds nothing to do.
      End(Expectation::kCannotStart, kEmptyScriptStatus);
      return;
    }
    AddCarriageReturn(report_.installer, head, report_.findings);
    if (AddMissingInterpreter(report_.installer, head, report_.findings) != 0) {
      End(Expectation::kCannotStart, kCannotStartStatus);
    }
  }

  /// It can be neither copied nor started.
  void EndForWantOfTheInstaller() {
    if (report_.staged) {
      End(Expectation::kStagingFails, static_cast<int>(ExitStatus::kStagingFailed));
    } else {
      End(Expectation::kCannotStart, kCannotStartStatus);
    }
  }

  /// A staged installer of an external media has the mode of the media's own one, if there is one.
  std::string InstallerWhoseModeCounts() {
    const bool overlays = report_.staged && !state_.CommonDirPrefix.empty();
    if (!overlays) return report_.installer;
    const std::string own =
        InstallerIn(InsPath(request_.media_dir), state_.OsName, state_.InstallerExeName);
    return !IsUnseen(own) && KVLInsIO::Exists(own) ? own : report_.installer;
  }

  bool MayBeExecuted(mode_t mode) {
    if (!report_.staged) {
      const int error = WhyNotAllowed(report_.installer, X_OK);
      return AddUnseen(report_.installer, error, Severity::kError, report_.findings) || error == 0;
    }
    const std::string counts = InstallerWhoseModeCounts();
    struct stat status;
    if (counts != report_.installer) {
      if (::stat(counts.c_str(), &status) == 0) {
        mode = status.st_mode;
      } else {
        AddUnseen(counts, errno, Severity::kError, report_.findings);
      }
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    // The copy belongs to the user; the superuser needs any of the three bits.
    const mode_t wanted = ::geteuid() == 0 ? S_IXUSR | S_IXGRP | S_IXOTH : S_IXUSR;
    return (mode & ~mask & wanted) != 0;
  }

  void LookThroughTrees() {
    std::set<KVLInsIO::internal::FileIdentity> seen;  // in the flat layout all volumes are in one
    std::vector<std::string> trees = {request_.media_dir};
    for (const VolumeRow& row : report_.volumes.rows) {
      if (row.state == VolumeState::kFound) trees.push_back(row.directory);
    }
    if (!report_.external_inst_slash.empty()) {
      for (const std::string& name : {std::string(names::kCommon), state_.OsName}) {
        trees.push_back(report_.external_inst_slash + name);
      }
    }
    for (const std::string& tree : trees) {
      KVLInsIO::internal::FileIdentity identity;
      if (!KVLInsIO::internal::Identify(tree, identity)) {
        AddUnseen(tree, errno, Severity::kWarning, report_.findings);
      } else if (seen.insert(identity).second) {
        SurveyTree(tree, report_.findings);
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
  namespace fs = std::filesystem;
  struct stat status;
  const int unseen = ::stat(path.c_str(), &status) == 0 ? 0 : errno;
  if (unseen != 0 && !IsAboutThePath(unseen)) {
    throw std::system_error(unseen, std::generic_category(),
                            "cannot look at the directory: " + path);
  }
  if (unseen != 0 || !S_ISDIR(status.st_mode)) return {};
  std::error_code error;
  const fs::path given(path);
  for (const fs::path& name : given) {
    if (name != "..") continue;
    const fs::path real = fs::canonical(given, error);
    return error ? std::string() : real.string();
  }
  const fs::path absolute = given.is_absolute() ? given : fs::current_path(error) / given;
  std::string text = absolute.lexically_normal().string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return error ? std::string() : text;
}

}  // namespace kvl
