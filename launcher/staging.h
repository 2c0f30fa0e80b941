// Staging: copies the installer and the media's description files into a fresh directory, so that
// the user may change the media while the installer runs.
#pragma once

#include <string>
#include <vector>

#include "insio/path.h"

namespace kvl {

/// Returns a name for the staging directory: `temp_root` as it stands, "/", a new identifier, "/".
/// Looks at nothing and creates nothing.
std::string NewStagingDirectory(const std::string& temp_root);

/// Returns `staging_dir_slash` if nothing lies at that path; otherwise the first new name at which
/// nothing lies. Two launches at the same clock reading draw the same names. Somebody who guesses a
/// name may have put anything there, including a dangling link.
///  - A name that the system does not let the launcher look at counts as free; the copy then
///    reports the reason.
///  - After a thousand taken names, returns the next one without a look.
///  - Creates nothing, so another process can still take the name after the look.
std::string FreeStagingDirectory(const std::string& temp_root, std::string staging_dir_slash);

struct StagingRequest {
  KVLInsIO::InsPath media_dir;
  /// The "inst" directory of the external installer media, ending in "/"; empty if the media itself
  /// has the installer.
  std::string external_inst_slash;
  std::string os_name;
  std::string staging_dir_slash;  ///< the destination, ending in "/"; created if missing
};

/// One copy: of a file, or of a directory as a whole tree.
struct StagingCopy {
  std::string source;
  std::string destination;
};

/// Returns the copies that staging consists of, in order: the media's "inst" tree, its description
/// files and its start scripts; then, from an external installer media, "common" and the
/// operating-system directory over those of "inst". `staging_dir_slash` need not exist.
std::vector<StagingCopy> StagingCopies(const StagingRequest& request);

/// Makes the copies in order. Follows links. Every source must exist. An overwritten file keeps its
/// mode: if the media has an installer without execute permission, the external installer that
/// overwrites it is not executable either. Throws what KVLInsIO::Copy throws, at the first failure;
/// what it has copied by then stays.
void MakeCopies(const std::vector<StagingCopy>& copies);

}  // namespace kvl
