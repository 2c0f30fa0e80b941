#include "tests/models/text_laws.h"
#include "tests/models/text_model.h"
#include "tests/properties/property.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

rc::Gen<std::string> FewLetters() {
  return TextsOf({"a", "a", "b", "ab", "\n", "\r", "\r\n", std::string(1, 0)});
}

TEST(TextProperties, OfNumbersAgreeWithTheModel) {
  CheckProperty(40, [] {
    CheckNumberLaws(
        *TextsOf({" ", "\t", "+", "-", "0", "1", "9", "2147483647", "2147483648", "a"}));
    CheckNumberLaws(std::to_string(*rc::gen::arbitrary<std::int64_t>()));
    CheckNumberLaws(*rc::gen::arbitrary<std::string>());
  });
}

TEST(TextProperties, OfLinesAgreeWithTheModel) {
  CheckProperty(20, [] { CheckReadLineLaws(*FewLetters()); });
}

TEST(TextProperties, OfReplacingAgreeWithTheModel) {
  CheckProperty(20, [] {
    const std::string text = *FewLetters();
    const std::string what = *TextsOf({"a", "b"});
    CheckReplaceAllLaws(text, what.substr(0, 3), *FewLetters(),
                        *rc::gen::inRange<std::size_t>(0, 9));
  });
}

TEST(TextProperties, OfReplacingInLinesAgreeWithTheModel) {
  const TestDirectory directory;
  CheckProperty(3, [&] {
    const std::string what = *TextsOf({"a", "b", "\r", "\n"});
    CheckReplaceInLinesLaws(directory.Path(), *FewLetters(), what.substr(0, 2), *FewLetters());
  });
}

TEST(TextProperties, OfMarkersAgreeWithTheModel) {
  const TestDirectory directory;
  const auto contents = TextsOf(
      {"MTBDIR=", "MTBDIR", "mtbdir=", "=", "\n", "\n", "\r\n", " ", "x", std::string(1, 0)});
  CheckProperty(10, [&] { CheckMarkerLaws(directory.Path(), *contents); });
}

}  // namespace
}  // namespace kvl::test
