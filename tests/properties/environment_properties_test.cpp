#include "tests/models/environment_laws.h"
#include "tests/properties/property.h"

namespace kvl::test {
namespace {

TEST(EnvironmentProperties, OfAnyStepsAgreeWithTheModel) {
  CheckProperty(3, [] {
    const auto steps =
        *rc::gen::container<std::vector<EnvironmentStep>>(rc::gen::construct<EnvironmentStep>(
            rc::gen::arbitrary<bool>(),
            rc::gen::elementOf(
                std::vector<std::string>{"", "A", "B", "A=", "=", "KVL_BAK_", "KVL_BAK_A", " "}),
            TextsOf({"x", "=", " ", "\n"})));
    CheckEnvironmentLaws(steps);
  });
}

}  // namespace
}  // namespace kvl::test
