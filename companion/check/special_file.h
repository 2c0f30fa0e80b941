// Entries that cannot be copied because reading them would wait, is no reading at all, or fails.
#pragma once

#include <errno.h>
#include <sys/stat.h>

#include <string>
#include <system_error>

#include "companion/check/findings.h"

namespace kvl {

/// True for a pipe, a socket or a device, which are then added to the findings.
inline bool AddSpecialFile(const std::string& path, mode_t mode, Severity severity,
                           Findings& findings) {
  const auto add = [&](const char* code, const char* text) {
    findings.Add({code, severity, path, text, "remove it from the media"});
    return true;
  };
  if (S_ISFIFO(mode)) return add("pipe", "a pipe, which cannot be copied");
  if (S_ISSOCK(mode)) return add("socket", "a socket, which cannot be copied");
  if (S_ISCHR(mode) || S_ISBLK(mode)) return add("device", "a device, which cannot be copied");
  return false;
}

/// What the system could not read or look at, and says why.
inline void AddUnread(const std::string& path, int error, Severity severity, Findings& findings) {
  findings.Add({"unreadable", severity, path,
                "it cannot be read: " + std::generic_category().message(error),
                "look at the disc, and copy it again"});
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

inline void AddClosedFile(const std::string& path, Severity severity, Findings& findings) {
  findings.Add(
      {"unreadable", severity, path, "you cannot read it", "give it read permission (chmod a+r)"});
}

inline void AddLinkCycle(const std::string& path, Severity severity, Findings& findings) {
  findings.Add({"link-cycle", severity, path, "a link that leads round in a circle",
                "remove the link, or let it lead to something else"});
}

/// The system gives up on a path with more than forty links in it.
inline void AddTooManyLinks(const std::string& path, Severity severity, Findings& findings) {
  findings.Add({"too-many-links", severity, path,
                "links that lead round in a circle, or too many of them one behind the other",
                "remove the link, or let it lead to something else"});
}

inline void AddDanglingLink(const std::string& path, Severity severity, Findings& findings) {
  findings.Add({"dangling-link", severity, path, "a link that leads nowhere",
                "put there what it leads to, or remove the link"});
}

inline void AddUnlistable(const std::string& path, Findings& findings) {
  findings.Add({"directory-not-listable", Severity::kWarning, path,
                "a directory that you may not list, so that it counts as empty",
                "give it read and execute permission (chmod a+rx)"});
}

}  // namespace kvl
