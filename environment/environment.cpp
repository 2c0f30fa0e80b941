#include "environment/environment.h"

#include <cstdlib>

#include "environment/variables.h"

namespace kvl {
namespace {

/// Precedes every backed-up value, so that no backup variable is empty.
constexpr char kBackupMark[] = "KVL_BAK=";

}  // namespace

std::string GetEnv(const std::string& name) {
  if (name.empty()) return {};
  const char* value = std::getenv(name.c_str());
  return value == nullptr ? std::string() : std::string(value);
}

void SetEnv(const std::string& name, const std::string& value) {
  if (name.empty()) return;
  ::setenv(name.c_str(), value.c_str(), /*replace=*/1);
}

void BackupEnv(const std::string& name) {
  SetEnv(variables::kBackupPrefix + name, kBackupMark + GetEnv(name));
}

}  // namespace kvl
