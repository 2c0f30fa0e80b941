#include "companion/check/start_check.h"

#include <errno.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
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
  StartCheck(const std::string& media_dir, const std::string& os_name, Findings& findings)
      : media_dir_(media_dir), os_name_(os_name), findings_(findings) {}

  void Run(const FileStart& text) {
    const std::string script = PathBelow(media_dir_, names::kStartTui);
    if (!findings_.Has(FindingKind::kStagingSourceMissing, script)) {
      LookAtScript(script, StateAt(script), [&] { return ProgramHead(text); });
    }
    const std::string other = PathBelow(media_dir_, names::kStartGui);
    const PathState state = StateAt(other);
    const bool is_unseen = AddUnseen(other, state.error, Severity::kError, findings_);
    if (!is_unseen && state.IsFile())
      LookAtScript(other, state, [&] { return ProgramHead(other); });
    const std::string launcher =
        std::string("/") + names::kCode + "/" + names::kBin + "/" + names::kLauncher;
    if (text.bytes.find(launcher) != std::string::npos) LookAtLauncher(text.bytes);
  }

 private:
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

  /// Where the script with this text starts it.
  void LookAtLauncher(const std::string& script) {
    const std::string named = AssignmentIn(script, variables::kOs);
    const std::string launcher =
        InstallerIn(InsPath(media_dir_), named.empty() ? os_name_ : named, names::kLauncher);
    const PathState state = StateAt(launcher);
    if (!IsFile(launcher, state, FindingKind::kLauncherMissing)) return;
    if (IsOnNoexecMount(launcher, findings_) && !IsNoexecSaidOfTheMedia()) {
      findings_.Add(FindingKind::kLauncherOnNoexec, launcher);
    }
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

  /// Of an installer that would be started in place.
  bool IsNoexecSaidOfTheMedia() const {
    const std::string_view code = RowOf(FindingKind::kInstallerOnNoexec).code;
    return std::any_of(findings_.All().begin(), findings_.All().end(), [&](const Finding& finding) {
      return finding.Code() == code && finding.path.starts_with(media_dir_ + "/");
    });
  }

  /// Else the findings say why not: of the same severity as when it is `missing`, in the words for all
  /// files of a media.
  bool IsFile(const std::string& path, const PathState& state, FindingKind missing) {
    if (state.IsFile()) return true;
    if (AddUnseen(path, state.error, Severity::kError, findings_)) return false;
    if (AddSpecialFile(path, state, Severity::kError, findings_)) return false;
    if (!state.IsThere() && StateOfEntry(path).IsThere()) {
      findings_.Add(FindingKind::kDanglingLink, Severity::kError, path);
    } else {
      findings_.Add(missing, path);
    }
    return false;
  }

  /// On a file system that forbids it, nothing is said of the file.
  bool MayNotBeExecuted(const std::string& path, const PathState& state) {
    if (!IsProgram(state.mode)) return true;
    if (IsOnNoexecMount(path, findings_)) return false;
    const int error = WhyNotAllowed(path, X_OK);
    return !AddUnseen(path, error, Severity::kError, findings_) && error != 0;
  }

  const std::string& media_dir_;
  const std::string& os_name_;
  Findings& findings_;
};

}  // namespace

void CheckStart(const std::string& media_dir, const std::string& os_name, const FileStart& script,
                Findings& findings) {
  StartCheck(media_dir, os_name, findings).Run(script);
}

bool IsOnNoexecMount(const std::string& path, Findings& findings) {
  struct statvfs status;
  for (InsPath place(path); !place.IsEmpty(); place = place.Parent()) {
    if (::statvfs(place.Str().c_str(), &status) == 0) return (status.f_flag & ST_NOEXEC) != 0;
    if (AddUnseen(place.Str(), errno, Severity::kError, findings)) return false;
  }
  return false;
}

}  // namespace kvl
