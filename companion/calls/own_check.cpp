#include "companion/calls/own_check.h"

#include <unistd.h>

#include <map>
#include <string_view>

#include "companion/check/media_check.h"
#include "environment/environment.h"
#include "environment/variables.h"

namespace kvl {
namespace {

bool IsAboutThisPlace(const Finding& finding) {
  switch (finding.kind) {
    case FindingKind::kNoFirstVolume:  // its path has a backslash, which the launcher reads as "/"
    case FindingKind::kCommandIsSplit:
    case FindingKind::kInstallerOnNoexec:
    case FindingKind::kLauncherOnNoexec:
    case FindingKind::kInstallerForAnotherMachine:
    case FindingKind::kLauncherForAnotherMachine:
    case FindingKind::kLoaderMissing:
    case FindingKind::kNothingForThisMachine:
      return true;
    default:
      return false;
  }
}

/// Restores the environment, in which a check sets what the installer would get. A program that
/// make starts later must not get that.
class KeptEnvironment {
 public:
  KeptEnvironment() : kept_(Now()) {}
  ~KeptEnvironment() {
    for (const auto& [name, value] : Now()) {
      if (!kept_.contains(name)) SetEnv(name, "");
    }
    for (const auto& [name, value] : kept_) SetEnv(name, value);
  }
  KeptEnvironment(const KeptEnvironment&) = delete;
  KeptEnvironment& operator=(const KeptEnvironment&) = delete;

 private:
  static std::map<std::string, std::string> Now() {
    std::map<std::string, std::string> variables;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
      const std::string_view text = *entry;
      const std::size_t equals = text.find('=');
      if (equals == text.npos) continue;
      variables.try_emplace(std::string(text.substr(0, equals)), text.substr(equals + 1));
    }
    return variables;
  }

  const std::map<std::string, std::string> kept_;
};

}  // namespace

OwnCheck CheckOwnMedia(const std::string& first_volume) {
  const KeptEnvironment kept;
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
