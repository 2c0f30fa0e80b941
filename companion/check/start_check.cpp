#include "companion/check/start_check.h"

#include <errno.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "companion/check/disc_access.h"
#include "companion/check/program_head.h"
#include "companion/check/special_file.h"
#include "companion/check/start_script.h"
#include "companion/names/path_below.h"
#include "environment/media_names.h"
#include "environment/variables.h"
#include "insio/path.h"
#include "media/installer_search.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;

constexpr char kLauncherName[] = "kvl-launcher";
constexpr char kLauncherInScript[] = "/code/bin/kvl-launcher";

class StartCheck {
 public:
  StartCheck(const std::string& media_dir, const std::string& os_name, Findings& findings)
      : media_dir_(media_dir), os_name_(os_name), findings_(findings) {}

  void Run(const FileStart& text) {
    LookAtScript(PathBelow(media_dir_, names::kStartTui), [&] { return ProgramHead(text); });
    const std::string other = PathBelow(media_dir_, names::kStartGui);
    if (IsFile(other)) LookAtScript(other, [&] { return ProgramHead(other); });
    if (text.bytes.find(kLauncherInScript) != std::string::npos) LookAtLauncher(text.bytes);
  }

 private:
  void Add(const char* code, const std::string& path, const char* text, const char* remedy) {
    findings_.Add({code, Severity::kError, path, text, remedy});
  }

  void LookAtScript(const std::string& script, const std::function<ProgramHead()>& read) {
    if (findings_.Has("staging-source-missing", script)) return;
    const Kind kind = KindOf(script);
    if (kind == Kind::kNoFile) {
      Add("start-script-missing", script, "there is no start script here", "copy it again");
    }
    if (kind != Kind::kFile) return;
    if (MayNotBeExecuted(script)) {
      Add("start-script-not-executable", script, "the start script has no execute permission",
          "give it that (chmod a+x)");
    }
    const ProgramHead head = read();
    if (AddUnreadHead(script, head, Severity::kError, findings_)) return;
    AddCarriageReturn(script, head, findings_);
  }

  /// Where the script with this text starts it.
  void LookAtLauncher(const std::string& script) {
    const std::string named = AssignmentIn(script, variables::kOs);
    const std::string launcher =
        InstallerIn(InsPath(media_dir_), named.empty() ? os_name_ : named, kLauncherName);
    const Kind kind = KindOf(launcher);
    if (kind == Kind::kNoFile) {
      Add("launcher-missing", launcher, "there is no launcher here, and the start script starts it",
          "put the launcher there");
    }
    if (kind != Kind::kFile) return;
    if (IsOnNoexecMount(launcher, findings_) && !IsNoexecSaidOfTheMedia()) {
      Add("noexec-mount", launcher,
          "the launcher would be started from a file system that is mounted noexec",
          "mount it without noexec, or copy the media to another file system");
    }
    if (MayNotBeExecuted(launcher)) {
      Add("launcher-not-executable", launcher, "the launcher has no execute permission",
          "give it that (chmod a+x)");
    }
    const ProgramHead head(launcher);
    if (AddUnreadHead(launcher, head, SeverityOfUnread(head), findings_)) return;
    if (head.IsScript()) {
      AddCarriageReturn(launcher, head, findings_);
      AddMissingInterpreter(launcher, head, findings_);
    } else if (!head.IsBinaryOfThisMachine()) {
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

  enum class Kind {
    kFile,
    kNoFile,   ///< a directory, or nothing
    kAnother,  ///< as the findings say
  };

  /// Findings are of the same severity as when it is missing, in the words for all files of a media.
  Kind KindOf(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) == 0) {
      if (S_ISREG(status.st_mode)) return Kind::kFile;
      const bool is_special = AddSpecialFile(path, status.st_mode, Severity::kError, findings_);
      return is_special ? Kind::kAnother : Kind::kNoFile;
    }
    if (AddUnseen(path, errno, Severity::kError, findings_)) return Kind::kAnother;
    if (::lstat(path.c_str(), &status) != 0) return Kind::kNoFile;
    AddDanglingLink(path, Severity::kError, findings_);
    return Kind::kAnother;
  }

  bool IsFile(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) == 0) return S_ISREG(status.st_mode);
    AddUnseen(path, errno, Severity::kError, findings_);
    return false;
  }

  /// On a file system that forbids it, nothing is said of the file.
  bool MayNotBeExecuted(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) {
      AddUnread(path, errno, Severity::kError, findings_);  // it was there
      return false;
    }
    if ((status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) == 0) return true;
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
