#include "tests/support/scoped_env.h"

namespace kvl::test {
namespace {

void Replace(const Environment& variables) {
  ::clearenv();
  for (const auto& [name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
}

}  // namespace

Environment CurrentEnvironment() {
  Environment variables;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    const std::size_t equals = text.find('=');
    variables.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  return variables;
}

ScopedEnv::ScopedEnv(const Environment& variables)
    : Undo([before = CurrentEnvironment()] { Replace(before); }) {
  Replace(variables);
}

Environment EnvChanges(const Environment& before, const Environment& after) {
  Environment changes;
  for (const auto& [name, value] : after) {
    const auto old = before.find(name);
    if (old == before.end() || old->second != value) changes.emplace(name, value);
  }
  for (const auto& [name, value] : before) {
    if (!after.contains(name)) changes.emplace(name, "(gone)");
  }
  return changes;
}

}  // namespace kvl::test
