#include "companion/calls/own_check.h"

#include <string_view>

#include "companion/check/media_check.h"
#include "environment/environment.h"
#include "environment/variables.h"

namespace kvl {
namespace {

bool IsAboutThisPlace(const Finding& finding) {
  switch (finding.kind) {
    case FindingKind::kNoFirstVolume:  // a backslash in its path, which the launcher takes for "/"
    case FindingKind::kCommandIsSplit:
    case FindingKind::kInstallerOnNoexec:
    case FindingKind::kLauncherOnNoexec:
    case FindingKind::kInstallerForAnotherMachine:
    case FindingKind::kLauncherForAnotherMachine:
    case FindingKind::kLoaderMissing:
      return true;
    default:
      return false;
  }
}

}  // namespace

OwnCheck CheckOwnMedia(const std::string& first_volume) {
  for (const std::string_view name : variables::kRead) {
    if (name != variables::kTmpDir) SetEnv(std::string(name), "");
  }
  OwnCheck own;
  own.findings = CheckMedia({first_volume, {}, {}, {}}).findings;
  for (const Finding& finding : own.findings.All()) {
    if (finding.severity != Severity::kError) continue;
    own.starts = false;
    if (!IsAboutThisPlace(finding)) own.is_sound = false;
  }
  return own;
}

}  // namespace kvl
