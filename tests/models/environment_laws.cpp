#include "environment/environment.h"
#include "tests/models/laws.h"
#include "tests/support/scoped_env.h"

namespace kvl::test {

std::ostream& operator<<(std::ostream& stream, const EnvironmentStep& step) {
  return stream << (step.is_backup ? "back up " : "set ") << '"' << step.name << "\" \""
                << step.value << '"';
}

void CheckEnvironmentLaws(const std::vector<EnvironmentStep>& steps) {
  const ScopedEnv empty;
  Environment expected;
  const auto is_refused = [](const std::string& name) {
    return name.empty() || name.find('=') != std::string::npos;
  };
  const auto set = [&](const std::string& name, const std::string& value) {
    if (!is_refused(name)) expected[name] = value;
  };
  for (const EnvironmentStep& step : steps) {
    const auto old = expected.find(step.name);
    const std::string before = old == expected.end() ? "" : old->second;
    // For a name that contains "=", the system returns what it finds behind the "=" of a longer
    // value.
    if (!is_refused(step.name)) RequireEqual("value of " + step.name, GetEnv(step.name), before);
    if (step.is_backup) {
      BackupEnv(step.name);
      set("KVL_BAK_" + step.name, "KVL_BAK=" + before);
    } else {
      SetEnv(step.name, step.value);
      set(step.name, step.value);
    }
    RequireEqual("environment", CurrentEnvironment(), expected);
  }
}

}  // namespace kvl::test
