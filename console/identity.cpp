#include "console/identity.h"

#include <unistd.h>

#include <algorithm>
#include <array>

namespace kvl {

bool HasElevatedPrivileges() {
  static const bool is_superuser = ::getuid() == 0;
  return is_superuser;
}

std::string GetHostName() {
  std::array<char, 65> name{};  // the system's limit of 64 bytes and a NUL
  if (::gethostname(name.data(), name.size()) != 0) return {};
  return {name.begin(), std::find(name.begin(), name.end(), '\0')};
}

}  // namespace kvl
