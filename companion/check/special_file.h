// Findings about entries that cannot be copied: pipes, sockets, devices, unreadable files.
#pragma once

#include <errno.h>

#include <string>
#include <system_error>

#include "companion/check/findings.h"
#include "companion/names/path_state.h"

namespace kvl {

/// Returns true, and adds a finding, for a pipe, a socket or a device.
inline bool AddSpecialFile(const std::string& path, const PathState& state, Severity severity,
                           Findings& findings) {
  const auto add = [&](FindingKind kind) {
    findings.Add(kind, severity, path);
    return true;
  };
  if (S_ISFIFO(state.mode)) return add(FindingKind::kPipe);
  if (S_ISSOCK(state.mode)) return add(FindingKind::kSocket);
  return (S_ISCHR(state.mode) || S_ISBLK(state.mode)) && add(FindingKind::kDevice);
}

/// Adds a finding about what the system cannot read or look at, with its error.
inline void AddUnread(const std::string& path, int error, Severity severity, Findings& findings) {
  findings.Add(FindingKind::kUnread, severity, path, {std::generic_category().message(error)});
}

/// Returns true for an error that tells what is wrong with a path; such errors have findings of
/// their own. After any other error, for example one of the disc, nothing is known about the path.
inline bool IsAboutThePath(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
    case EACCES:
    case ELOOP:
    case ENAMETOOLONG:
    case EISDIR:
    case EOPNOTSUPP:  // from ReadStart and LineFile for a pipe, a socket or a device
      return true;
    default:
      return false;
  }
}

/// Returns true, and adds a finding, if the error leaves the state of the path unknown.
inline bool AddUnseen(const std::string& path, int error, Severity severity, Findings& findings) {
  if (error == 0 || IsAboutThePath(error)) return false;
  AddUnread(path, error, severity, findings);
  return true;
}

/// Returns true, and adds a finding, if a directory above the path is closed: the entry itself may
/// be fine. `error` comes from a call that needs no permission for the entry itself.
inline bool AddClosedWay(const std::string& path, int error, Severity severity,
                         Findings& findings) {
  if (error != EACCES) return false;
  findings.Add(FindingKind::kClosedWay, severity, path);
  return true;
}

}  // namespace kvl
