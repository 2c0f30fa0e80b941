#include "companion/check/installer_check.h"

#include <unistd.h>

#include <string>
#include <vector>

#include "companion/check/disc_access.h"
#include "companion/check/special_file.h"
#include "companion/check/start_script.h"
#include "companion/names/path_below.h"
#include "environment/environment.h"
#include "environment/media_names.h"
#include "environment/variables.h"
#include "insio/entry.h"
#include "insio/path.h"
#include "media/installer_search.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;

class InstallerCheck {
 public:
  InstallerCheck(const MissingInstaller& missing, Findings& findings)
      : missing_(missing), findings_(findings) {
    for (const std::string& media :
         {missing.state.InstallerPathArg, GetEnv(variables::kExternalInstallerMedia)}) {
      if (!media.empty()) named_.push_back(media);
    }
  }

  bool Run() {
    const std::string inst = KVLInsIO::Join(missing_.media_dir, names::kInst).Str();
    const PathState state = StateAt(inst);
    if (AddUnseen(inst, state.error, Severity::kError, findings_) ||
        AddClosedWay(inst, state.error, Severity::kError, findings_)) {
      return true;
    }
    if (!state.IsDirectory()) {
      findings_.Add(FindingKind::kNoFirstVolume, missing_.media_dir);
      return false;
    }
    if (missing_.state.OsName.empty()) {
      SayThatNobodyNamesASystem();
    } else if (KVLInsIO::Exists(missing_.candidate)) {
      SayWhyItIsNotTaken();
    } else if (!IsOneUnseen()) {
      findings_.Add(FindingKind::kNoInstaller, missing_.candidate);
    }
    return true;
  }

 private:
  void SayThatNobodyNamesASystem() {
    const std::string script = PathBelow(missing_.media_dir, names::kStartTui);
    const FileStart& text = missing_.start_script;
    if (AddUnseen(script, text.error, Severity::kError, findings_)) return;
    if (const std::string machines = MachinesIn(text.bytes); !machines.empty()) {
      findings_.Add(FindingKind::kNothingForThisMachine, script, {NameOfThisMachine(), machines});
      return;
    }
    findings_.Add(FindingKind::kNoSystemNamed,
                  KVLInsIO::Join(missing_.media_dir, names::kStartTui).Str());
  }

  /// Adds the reason when the installer of the media itself exists.
  void SayWhyItIsNotTaken() {
    if (GetEnv(variables::kUseExternalInstaller).empty()) {
      findings_.Add(FindingKind::kInstallerFoundLater, missing_.candidate);
      return;
    }
    for (const std::string& media : named_) {
      if (!IsUnseenIn(media)) findings_.Add(FindingKind::kNoInstallerInInstallerMedia, media);
    }
    if (named_.empty()) findings_.Add(FindingKind::kInstallerPassedOver, missing_.candidate);
  }

  /// Returns true if the system cannot say whether the installer of the media itself, or one of an
  /// external installer media, exists.
  bool IsOneUnseen() {
    bool is_unseen = IsUnseen(missing_.candidate);
    for (const std::string& media : named_) {
      if (IsUnseenIn(media)) is_unseen = true;
    }
    return is_unseen;
  }

  bool IsUnseenIn(const std::string& installer_media) {
    const auto is_unseen_below = [&](const std::string& directory) {
      return IsUnseen(
          InstallerIn(InsPath(directory), missing_.state.OsName, missing_.state.InstallerExeName));
    };
    return is_unseen_below(installer_media + "/1") || is_unseen_below(installer_media);
  }

  bool IsUnseen(const std::string& path) {
    const int error = WhyNotAllowed(path, F_OK);
    return AddUnseen(path, error, Severity::kError, findings_) ||
           AddClosedWay(path, error, Severity::kError, findings_);
  }

  const MissingInstaller& missing_;
  Findings& findings_;
  std::vector<std::string> named_;  // external installer media
};

}  // namespace

bool SayWhyThereIsNoInstaller(const MissingInstaller& missing, Findings& findings) {
  return InstallerCheck(missing, findings).Run();
}

}  // namespace kvl
