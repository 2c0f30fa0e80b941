#include "tests/models/command_line_laws.h"
#include "tests/properties/property.h"

namespace kvl::test {
namespace {

TEST(CommandLineProperties, OfAnyArgumentsAgreeWithTheModel) {
  CheckProperty(10, [] {
    const auto words = rc::gen::elementOf(kCommandLineWords);
    const auto arguments =
        *rc::gen::container<ArgumentList>(rc::gen::weightedOneOf<std::optional<std::string>>(
            {{20, rc::gen::map(words, [](const std::string& word) { return std::optional(word); })},
             {1, rc::gen::just(std::optional<std::string>())}}));
    CheckCommandLineLaws(arguments);
  });
}

}  // namespace
}  // namespace kvl::test
