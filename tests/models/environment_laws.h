// The laws of the environment (environment/environment.h).
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

struct EnvironmentStep {
  bool is_backup = false;  ///< else the value is set
  std::string name = {};
  std::string value = {};
};

std::ostream& operator<<(std::ostream& stream, const EnvironmentStep& step);

/// Takes the steps one after the other and compares the whole environment after each.
void CheckEnvironmentLaws(const std::vector<EnvironmentStep>& steps);

}  // namespace kvl::test
