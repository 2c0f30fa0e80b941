#include "tests/models/split_laws.h"
#include "tests/properties/property.h"

namespace kvl::test {
namespace {

rc::Gen<std::string> Texts() {
  return rc::gen::oneOf(TextsOf({" ", "'", "\"", "\\", "a", "bc"}),
                        rc::gen::arbitrary<std::string>());
}

TEST(SplitProperties, OfAnyCommandAgreeWithTheModel) {
  CheckProperty(20, [] { CheckSplitLaws(*Texts()); });
}

TEST(SplitProperties, GiveQuotedArgumentsBack) {
  CheckProperty(5, [] {
    const auto arguments = *rc::gen::container<std::vector<std::string>>(Texts());
    CheckQuotingLaws(arguments, *rc::gen::arbitrary<std::string>());
  });
}

TEST(SplitProperties, GiveTheInstallersArgumentsBack) {
  CheckProperty(5, [] {
    const auto plain = TextsOf({" ", "'", "a", "=", "/x", "\n"});
    CheckInstallerCommandLaws(*rc::gen::container<std::vector<std::string>>(plain));
  });
}

}  // namespace
}  // namespace kvl::test
