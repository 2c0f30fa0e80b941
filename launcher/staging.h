// Staging: copying the installer with the media's description files into a fresh directory, so that
// the media may be changed while the installer runs.
#pragma once

#include <string>
#include <vector>

#include "insio/path.h"

namespace kvl {

/// A name for the staging directory: the text of the temporary directory as it stands, "/", a new
/// identifier, "/". Nothing is looked at or created.
std::string NewStagingDirectory(const std::string& temp_root);

/// `staging_dir_slash` when nothing lies at that name; else the first new one of which that is true.
/// Launches at one reading of the clock draw the same names, and somebody who guesses a name can have
/// put anything there, also a link that leads nowhere. A name that cannot be looked at counts as free:
/// the copy says why. Where a thousand names are taken, the next one is given unseen. Nothing is
/// created, so whoever is faster after the look still gets the name.
std::string FreeStagingDirectory(const std::string& temp_root, std::string staging_dir_slash);

struct StagingRequest {
  KVLInsIO::InsPath media_dir;
  /// The "inst" directory of the external installer media, ending in "/"; empty when the installer
  /// is in the media itself.
  std::string external_inst_slash;
  std::string os_name;
  std::string staging_dir_slash;  ///< where to, ending in "/"; made when missing
};

/// One copy: of a file, or of a directory as a whole tree.
struct StagingCopy {
  std::string source;
  std::string destination;
};

/// The copies that staging consists of, in their order: the media's "inst" tree, its description files
/// and start scripts, and then, from an external installer media, "common" and the operating-system
/// directory over those of "inst". `staging_dir_slash` need not exist.
std::vector<StagingCopy> StagingCopies(const StagingRequest& request);

/// Makes the copies, in their order. Links are followed. Every source must exist. A file that is
/// overwritten keeps its mode, so an installer of the media's own without its execute permission
/// takes that of the external one along.
/// Throws what KVLInsIO::Copy throws, at the first failure; what has been copied by then stays.
void MakeCopies(const std::vector<StagingCopy>& copies);

}  // namespace kvl
