// The systems that a media is for. Each has an installer, a launcher, and the machine that they run
// on.
#pragma once

#include <string>
#include <vector>

#include "insio/open_directory.h"

namespace kvl {

struct SystemRequest {
  std::string name = "linux";  ///< of its directory below "inst"
  /// As uname(1) names it, but arm64 for aarch64. Empty if the programs run on every machine.
  std::string machine = {};
  std::string installer = {};  ///< a file
  std::string launcher = {};   ///< a file
};

/// An open file and its state when the media was planned.
struct PlannedFile {
  KVLInsIO::OpenFile file;
  KVLInsIO::EntryState state;
};

struct PlannedSystem {
  std::string name, machine;
  std::string installer_name;
  PlannedFile installer, launcher;

  // Paths below "inst".
  std::string Programs() const;  ///< the directory of both programs
  std::string PathOfInstaller() const;
  std::string PathOfLauncher() const;
};

/// Opens a regular file. `what` and `option` name the file and its option in the message. Throws
/// CannotMake if there is no such file.
PlannedFile PlanFile(const std::string& what, const std::string& path, const std::string& option);

/// Throws CannotMake if a name, a machine or a file is not valid, and if several systems do not
/// each have a name and a machine of their own.
std::vector<PlannedSystem> PlanSystems(const std::vector<SystemRequest>& requests);

}  // namespace kvl
