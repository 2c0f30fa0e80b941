#include "companion/check/start_check.h"

#include <errno.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <functional>

#include "companion/check/disc_access.h"
#include "companion/check/program_head.h"
#include "companion/check/special_file.h"
#include "companion/check/start_script.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "environment/media_names.h"
#include "environment/variables.h"
#include "insio/path.h"
#include "media/installer_search.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;

class StartCheck {
 public:
  StartCheck(const StartedMedia& media, const FileStart& text, Findings& findings)
      : media_(media),
        media_dir_(media.media_dir),
        text_(text),
        os_name_(NameInScript(variables::kOs, media.os_name)),
        findings_(findings) {}

  StartProblems Run() {
    return {.tui = AddsErrors([this] { LookAtStartTui(); }),
            .gui = AddsErrors([this] { LookAtStartGui(); }),
            .launcher = StartsLauncher() && AddsErrors([this] { LookAtLauncher(); })};
  }

 private:
  /// Returns true if `look` adds an error, even one that was known already.
  bool AddsErrors(const std::function<void()>& look) const {
    const std::size_t before = findings_.ErrorsAdded();
    look();
    return findings_.ErrorsAdded() != before;
  }

  std::string NameInScript(const char* variable, const std::string& otherwise) const {
    const std::string name = AssignmentIn(text_.bytes, variable);
    return name.empty() ? otherwise : name;
  }

  void LookAtStartTui() {
    const std::string script = PathBelow(media_dir_, names::kStartTui);
    if (const std::string sign = SignOfMake(); !sign.empty() && !StateAt(script).IsThere()) {
      findings_.Add(FindingKind::kMediaUnfinished, sign);
    } else if (findings_.Has(FindingKind::kStagingSourceMissing, script)) {
      findings_.Add(FindingKind::kStagingSourceMissing, script);
    } else {
      LookAtScript(script, StateAt(script), [this] { return ProgramHead(text_); });
      LookAtInstallerOf(script);
    }
  }

  /// Returns the path of the sign that make leaves until a media is whole, in the directory of volume 1
  /// or up to three directories above, as its layouts have it. Returns an empty text without one.
  std::string SignOfMake() const {
    InsPath place(media_dir_);
    for (int above = 0; above <= 3 && !place.IsEmpty(); ++above) {
      std::string sign = PathBelow(place.Str(), names::kUnfinished);
      if (StateOfEntry(sign).IsThere()) return sign;
      place = place.Parent();
    }
    return {};
  }

  /// Checks the installer if only the script names it; any other one has been checked before.
  void LookAtInstallerOf(const std::string& script) {
    const std::string name = NameInScript(variables::kInstallerExe, media_.installer_name);
    const bool is_known = os_name_ == media_.os_name && name == media_.installer_name;
    if (is_known || media_.has_external_installer) return;
    const std::string installer = InstallerIn(InsPath(media_dir_), os_name_, name);
    const int error = WhyNotAllowed(installer, F_OK);
    if (error == 0 || AddUnseen(installer, error, Severity::kError, findings_)) return;
    if (AddClosedWay(installer, error, Severity::kError, findings_)) return;
    findings_.Add(FindingKind::kStartScriptWithoutInstaller, script, {installer});
  }

  void LookAtStartGui() {
    const std::string script = PathBelow(media_dir_, names::kStartGui);
    const PathState state = StateAt(script);
    if (AddUnseen(script, state.error, Severity::kError, findings_) || !state.IsFile()) return;
    LookAtScript(script, state, [&] { return ProgramHead(script); });
  }

  bool StartsLauncher() const {
    const std::string launcher =
        std::string("/") + names::kCode + "/" + names::kBin + "/" + names::kLauncher;
    return text_.bytes.find(launcher) != std::string::npos;
  }

  void LookAtScript(const std::string& script, const PathState& state,
                    const std::function<ProgramHead()>& read) {
    if (!IsFile(script, state, FindingKind::kStartScriptMissing)) return;
    if (MayNotBeExecuted(script, state)) {
      findings_.Add(FindingKind::kStartScriptNotExecutable, script);
    }
    const ProgramHead head = read();
    if (AddUnreadHead(script, head, Severity::kError, findings_)) return;
    AddCarriageReturn(script, head, findings_);
  }

  /// Checks the launcher at the path from which StartTUI.sh starts it.
  void LookAtLauncher() {
    const std::string launcher = InstallerIn(InsPath(media_dir_), os_name_, names::kLauncher);
    const PathState state = StateAt(launcher);
    if (!IsFile(launcher, state, FindingKind::kLauncherMissing)) return;
    if (IsOnNoexecMount(launcher, findings_)) AddNoexec(launcher);
    if (MayNotBeExecuted(launcher, state)) {
      findings_.Add(FindingKind::kLauncherNotExecutable, launcher);
    }
    const ProgramHead head(launcher);
    if (AddUnreadHead(launcher, head, SeverityOfUnread(head), findings_)) return;
    if (head.IsScript()) {
      AddCarriageReturn(launcher, head, findings_);
      AddMissingInterpreter(launcher, head, findings_);
    } else if (head.IsBinary()) {
      AddBinaryFault(launcher, FindingKind::kLauncherForAnotherMachine, findings_);
    } else {
      findings_.Add(FindingKind::kLauncherNotForThisMachine, launcher);
    }
  }

  /// Adds nothing new if the same has been reported of an installer that starts in place.
  void AddNoexec(const std::string& launcher) {
    const std::string_view code = RowOf(FindingKind::kInstallerOnNoexec).code;
    const auto& all = findings_.All();
    const auto said = std::find_if(all.begin(), all.end(), [&](const Finding& finding) {
      return finding.Code() == code && finding.path.starts_with(media_dir_ + "/");
    });
    findings_.Add(FindingKind::kLauncherOnNoexec, said == all.end() ? launcher : said->path);
  }

  /// Returns true for a regular file. Otherwise adds an error: what lies there, or `missing`.
  bool IsFile(const std::string& path, const PathState& state, FindingKind missing) {
    if (state.IsFile()) return true;
    if (AddUnseen(path, state.error, Severity::kError, findings_)) return false;
    if (AddClosedWay(path, state.error, Severity::kError, findings_)) return false;
    if (AddSpecialFile(path, state, Severity::kError, findings_)) return false;
    if (!state.IsThere() && StateOfEntry(path).IsThere()) {
      findings_.Add(FindingKind::kDanglingLink, Severity::kError, path);
    } else {
      findings_.Add(missing, path);
    }
    return false;
  }

  /// Returns false on a file system mounted noexec, which has a finding of its own.
  bool MayNotBeExecuted(const std::string& path, const PathState& state) {
    if (!IsProgram(state.mode)) return true;
    if (IsOnNoexecMount(path, findings_)) return false;
    const int error = WhyNotAllowed(path, X_OK);
    return !AddUnseen(path, error, Severity::kError, findings_) && error != 0;
  }

  const StartedMedia& media_;
  const std::string& media_dir_;
  const FileStart& text_;      // of StartTUI.sh
  const std::string os_name_;  // of the script
  Findings& findings_;
};

}  // namespace

StartProblems CheckStart(const StartedMedia& media, const FileStart& script, Findings& findings) {
  return StartCheck(media, script, findings).Run();
}

bool IsOnNoexecMount(const std::string& path, Findings& findings) {
  struct statvfs status;
  InsPath place(path);
  while (::statvfs(place.Str().c_str(), &status) != 0) {
    const bool is_unseen = AddUnseen(place.Str(), errno, Severity::kError, findings);
    place = place.Parent();
    if (is_unseen || place.IsEmpty()) return false;
  }
  return (status.f_flag & ST_NOEXEC) != 0;
}

}  // namespace kvl
