#include "companion/check/temporary_directory.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "companion/check/special_file.h"
#include "companion/names/path_state.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kSuperuser = 0;
constexpr gid_t kGroupOfTheSuperuser = 0;

/// The owner of a directory can always give himself permission and rename what lies in it.
bool MayBeExchangedIn(const PathState& directory) {
  if (directory.owner != kSuperuser) return true;
  const bool is_open_to_group =
      (directory.mode & S_IWGRP) != 0 && directory.group != kGroupOfTheSuperuser;
  const bool is_open = is_open_to_group || (directory.mode & S_IWOTH) != 0;
  return is_open && (directory.mode & S_ISVTX) == 0;
}

/// Adds a finding for the first directory from `place` up to the root that lets others replace its
/// entries. Returns false if there is no such directory.
bool AddFirstExchangeable(fs::path place, Findings& findings) {
  for (;; place = place.parent_path()) {
    const PathState state = StateAt(place);
    AddUnseen(place, state.error, Severity::kWarning, findings);
    if (state.IsDirectory() && MayBeExchangedIn(state)) {
      findings.Add(FindingKind::kExchangeable, place);
      return true;
    }
    if (!place.has_relative_path()) return false;
  }
}

}  // namespace

void AddExchangeable(const std::string& directory, Findings& findings) {
  if (::geteuid() != kSuperuser) return;
  std::error_code error;
  const fs::path named = fs::absolute(directory, error);
  const fs::path real = fs::weakly_canonical(named, error);
  AddUnseen(directory, error.value(), Severity::kWarning, findings);
  if (!AddFirstExchangeable(named, findings)) AddFirstExchangeable(real, findings);
}

}  // namespace kvl
