// Properties: laws checked for random inputs, as tests like any other.
//
// RC_PARAMS is read as rapidcheck always does ("seed=1 max_success=1000"). The seed in use is printed
// before the first property, and with a failure what reproduces it.
#pragma once

#include <rapidcheck.h>

#include "tests/support/test.h"

// Tells of failures how to reproduce them; in the library, and not in its headers.
namespace rc::detail {
TestListener& globalTestListener();
}

namespace kvl::test {

/// Checks the property for `times` times as many cases as RC_PARAMS says, 100 if it says nothing.
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

/// Any number of the parts, joined: texts over an alphabet of words.
inline rc::Gen<std::string> TextsOf(const std::vector<std::string>& parts) {
  return rc::gen::map(rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(parts)),
                      [](const std::vector<std::string>& chosen) {
                        std::string text;
                        for (const std::string& part : chosen) text += part;
                        return text;
                      });
}

}  // namespace kvl::test
