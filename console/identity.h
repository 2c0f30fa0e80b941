// The user who runs the launcher, and the host.
#pragma once

#include <string>

namespace kvl {

/// Returns true if the real user id is 0. Ignores the effective user id, so a set-user-id launcher
/// run by an ordinary user gets false. Keeps its first answer for the whole process, even if the
/// ids change.
bool HasElevatedPrivileges();

/// Returns the host's name, up to 64 bytes; the empty text if the system does not tell it.
std::string GetHostName();

}  // namespace kvl
