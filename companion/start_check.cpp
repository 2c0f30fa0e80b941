#include "companion/start_check.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>

#include "companion/program_head.h"
#include "companion/special_file.h"
#include "companion/start_script.h"
#include "environment/variables.h"
#include "insio/path.h"
#include "launcher/staging.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;

constexpr char kScript[] = "/StartTUI.sh";
constexpr char kScriptWithWindows[] = "/StartGUI.sh";
constexpr char kLauncherName[] = "kvl-launcher";
constexpr char kLauncherInScript[] = "/code/bin/kvl-launcher";

class StartCheck {
 public:
  StartCheck(const std::string& media_dir, const std::string& os_name, Findings& findings)
      : media_dir_(media_dir), os_name_(os_name), findings_(findings) {}

  void Run() {
    const std::string script = media_dir_ + kScript;
    LookAtScript(script);
    const std::string other = media_dir_ + kScriptWithWindows;
    if (IsFile(other)) LookAtScript(other);
    if (HasText(script, kLauncherInScript)) LookAtLauncher(script);
  }

 private:
  void Add(const char* code, const std::string& path, const char* text, const char* remedy) {
    findings_.Add({code, Severity::kError, path, text, remedy});
  }

  void LookAtScript(const std::string& script) {
    if (findings_.Has("staging-source-missing", script)) return;
    if (IsOfAnotherKind(script)) return;
    if (!IsFile(script)) {
      Add("start-script-missing", script, "there is no start script here", "copy it again");
      return;
    }
    if (MayNotBeExecuted(script)) {
      Add("start-script-not-executable", script, "the start script has no execute permission",
          "give it that (chmod a+x)");
    }
    if (const auto head = ProgramHead::Read(script)) AddCarriageReturn(script, *head, findings_);
  }

  void LookAtLauncher(const std::string& script) {
    const std::string named = AssignmentIn(script, variables::kOs);
    const std::string launcher =
        InstallerIn(InsPath(media_dir_), named.empty() ? os_name_ : named, kLauncherName);
    if (IsOfAnotherKind(launcher)) return;
    if (!IsFile(launcher)) {
      Add("launcher-missing", launcher, "there is no launcher here, and the start script starts it",
          "put the launcher there");
      return;
    }
    if (IsOnNoexecMount(launcher) && !IsNoexecSaidOfTheMedia()) {
      Add("noexec-mount", launcher,
          "the launcher would be started from a file system that is mounted noexec",
          "mount it without noexec, or copy the media to another file system");
    }
    if (MayNotBeExecuted(launcher)) {
      Add("launcher-not-executable", launcher, "the launcher has no execute permission",
          "give it that (chmod a+x)");
    }
    const auto head = ProgramHead::Read(launcher);
    if (!head) return;
    if (head->IsScript()) {
      AddCarriageReturn(launcher, *head, findings_);
      AddMissingInterpreter(launcher, *head, findings_);
    } else if (!head->IsBinaryOfThisMachine()) {
      Add("launcher-not-for-this-machine", launcher, "this machine cannot run the launcher",
          "put the launcher for this machine there");
    }
  }

  /// Of an installer that would be started in place.
  bool IsNoexecSaidOfTheMedia() const {
    return std::any_of(findings_.All().begin(), findings_.All().end(), [&](const Finding& finding) {
      return finding.code == "noexec-mount" && finding.path.starts_with(media_dir_ + "/");
    });
  }

  /// Of the same severity as when it is missing, in the words for all files of a media.
  bool IsOfAnotherKind(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) == 0) {
      return AddSpecialFile(path, status.st_mode, Severity::kError, findings_);
    }
    if (::lstat(path.c_str(), &status) != 0) return false;
    AddDanglingLink(path, Severity::kError, findings_);
    return true;
  }

  static bool IsFile(const std::string& path) {
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
  }

  /// On a file system that forbids it, nothing is said of the file.
  static bool MayNotBeExecuted(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) return false;
    if ((status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) == 0) return true;
    return !IsOnNoexecMount(path) && ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) != 0;
  }

  const std::string& media_dir_;
  const std::string& os_name_;
  Findings& findings_;
};

}  // namespace

void CheckStart(const std::string& media_dir, const std::string& os_name, Findings& findings) {
  StartCheck(media_dir, os_name, findings).Run();
}

bool IsOnNoexecMount(const std::string& path) {
  struct statvfs status;
  for (InsPath place(path); !place.IsEmpty(); place = place.Parent()) {
    if (::statvfs(place.Str().c_str(), &status) == 0) return (status.f_flag & ST_NOEXEC) != 0;
  }
  return false;
}

}  // namespace kvl
