// Who runs the launcher, and where.
#pragma once

#include <string>

namespace kvl {

/// True when the real user id is 0; the effective one does not count, so a set-user-id launcher run
/// by an ordinary user answers false. Found out once per process and then remembered, even when the
/// ids change.
bool HasElevatedPrivileges();

/// The host's name, up to 64 bytes; the empty text when the system does not tell it.
std::string GetHostName();

}  // namespace kvl
