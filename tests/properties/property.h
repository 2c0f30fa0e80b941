// Properties: laws that tests check for random inputs.
//
// RC_PARAMS has rapidcheck's usual meaning ("seed=1 max_success=1000"). The program prints the seed
// before the first property, and after a failure the way to reproduce it.
#pragma once

#include <rapidcheck.h>

#include "tests/support/test.h"

// Prints how to reproduce failures; the library has it, but its headers do not.
namespace rc::detail {
TestListener& globalTestListener();
}

namespace kvl::test {

/// Checks the property for `times` x the number of cases in RC_PARAMS, which is 100 by default.
template <typename Property>
void CheckProperty(double times, Property&& property) {
  const rc::detail::Configuration& configuration = rc::detail::configuration();
  rc::detail::TestParams params = configuration.testParams;
  params.maxSuccess = std::max(1, static_cast<int>(params.maxSuccess * times));

  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  const std::string name = std::string(test.test_suite_name()) + "/" + test.name();
  const rc::detail::TestResult result = rc::detail::checkProperty(
      rc::detail::toProperty(std::forward<Property>(property)), {name, test.name()}, params,
      rc::detail::globalTestListener(), configuration.reproduce);
  if (result.template is<rc::detail::SuccessResult>()) return;

  std::ostringstream text;
  rc::detail::printResultMessage(result, text);
  FAIL() << text.str() << "\nseed=" << params.seed;
}

/// Joins any number of the parts: texts over an alphabet of words.
inline rc::Gen<std::string> TextsOf(const std::vector<std::string>& parts) {
  return rc::gen::map(rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(parts)),
                      [](const std::vector<std::string>& chosen) {
                        std::string text;
                        for (const std::string& part : chosen) text += part;
                        return text;
                      });
}

}  // namespace kvl::test
