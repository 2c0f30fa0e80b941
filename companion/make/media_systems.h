// The systems that a media is for: the installer and the launcher of each, and which machine starts which.
#pragma once

#include <string>
#include <vector>

#include "insio/open_directory.h"

namespace kvl {

struct SystemRequest {
  std::string name = "linux";  ///< of its directory below "inst"
  /// As uname(1) calls it, but arm64 for aarch64; empty when every machine starts these programs.
  std::string machine = {};
  std::string installer = {};  ///< a file
  std::string launcher = {};   ///< a file
};

/// A file and what it was when the media was planned.
struct PlannedFile {
  KVLInsIO::OpenFile file;
  KVLInsIO::EntryState state;
};

struct PlannedSystem {
  std::string name, machine;
  std::string installer_name;
  PlannedFile installer, launcher;

  std::string Programs() const;         ///< their directory below "inst"
  std::string PathOfInstaller() const;  ///< below "inst"
  std::string PathOfLauncher() const;   ///< below "inst"
};

/// A file that must be there. `what` names it in the message. Throws CannotMake "the <what> is not
/// there: <path>".
PlannedFile PlanFile(const std::string& what, const std::string& path);

/// Throws CannotMake for no system, for a name, a machine or a file that makes no sense, and when there
/// are several and not each has a name and a machine of its own.
std::vector<PlannedSystem> PlanSystems(const std::vector<SystemRequest>& requests);

}  // namespace kvl
