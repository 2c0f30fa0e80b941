// Entries that cannot be copied because reading them would wait, is no reading at all, or fails.
#pragma once

#include <errno.h>

#include <string>
#include <system_error>

#include "companion/check/findings.h"
#include "companion/names/path_state.h"

namespace kvl {

/// True for a pipe, a socket or a device, which are then added to the findings.
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

/// What the system could not read or look at, and says why.
inline void AddUnread(const std::string& path, int error, Severity severity, Findings& findings) {
  findings.Add(FindingKind::kUnread, severity, path, {std::generic_category().message(error)});
}

/// True for the errors that say what is wrong with a path, which have findings of their own. All
/// others, such as one of the disc, say that nothing is known.
inline bool IsAboutThePath(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
    case EACCES:
    case ELOOP:
    case ENAMETOOLONG:
    case EISDIR:
    case EOPNOTSUPP:  // as ReadStart and LineFile say it of a pipe, a socket or a device
      return true;
    default:
      return false;
  }
}

/// True for an error of which nothing is known; it is added to the findings.
inline bool AddUnseen(const std::string& path, int error, Severity severity, Findings& findings) {
  if (error == 0 || IsAboutThePath(error)) return false;
  AddUnread(path, error, severity, findings);
  return true;
}

/// True when a directory on the way there is closed, which is added to the findings: what lies there
/// may be as it should be. `error` is of a call that needs no right to the entry itself.
inline bool AddClosedWay(const std::string& path, int error, Severity severity,
                         Findings& findings) {
  if (error != EACCES) return false;
  findings.Add(FindingKind::kClosedWay, severity, path);
  return true;
}

}  // namespace kvl
