// Checks every law (tests/models/laws.h) for random inputs.

#include "tests/models/laws.h"

#include "tests/insio/odd_paths.h"
#include "tests/properties/property.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using Strings = std::vector<std::string>;

const std::string kNul(1, '\0');

rc::Gen<std::string> AnyText() {
  return rc::gen::arbitrary<std::string>();
}

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

TEST(EnvironmentProperties, OfAnyStepsAgreeWithTheModel) {
  CheckProperty(3, [] {
    const auto name =
        rc::gen::elementOf(Strings{"", "A", "B", "A=", "=", "KVL_BAK_", "KVL_BAK_A", " "});
    const auto step = rc::gen::construct<EnvironmentStep>(rc::gen::arbitrary<bool>(), name,
                                                          TextsOf({"x", "=", " ", "\n"}));
    CheckEnvironmentLaws(*rc::gen::container<std::vector<EnvironmentStep>>(step));
  });
}

/// Has few different names, so that two paths often share a beginning.
rc::Gen<std::string> Paths() {
  return rc::gen::oneOf(TextsOf({"/", "/", "\\", ".", "..", "'", "\"", " ", "a", "ab", "m", "//",
                                 ";", ":", "\n", kNul}),
                        TextsOf({"/", "a", "b"}), TextsOf({"/m", "/am", "/bm", "/.."}),
                        rc::gen::elementOf(kOddPaths), AnyText());
}

TEST(PathProperties, OfOnePathAgreeWithTheModel) {
  CheckProperty(20, [] { CheckPathLaws(*Paths()); });
}

TEST(PathProperties, OfTwoPathsAgreeWithTheModel) {
  CheckProperty(20, [] {
    const std::string one = *Paths(), other = *Paths();
    CheckPathPairLaws(one, other);
  });
}

TEST(PathProperties, OfAPathAndOneBelowItAgreeWithTheModel) {
  CheckProperty(10, [] {
    const std::string above = *Paths();
    const std::string below = above + "/" + *Paths();
    CheckPathPairLaws(above, below);
    CheckPathPairLaws(below, above);
  });
}

TEST(ScanProperties, OfAnyMediaAgreeWithTheModel) {
  constexpr std::size_t kMoreThanMostTablesTake = 120;
  const TestDirectory directory;
  const auto any_byte = rc::gen::resize(rc::kNominalSize, rc::gen::arbitrary<std::uint8_t>());
  CheckProperty(0.7, [&] {
    const auto bytes =
        *rc::gen::container<std::vector<std::uint8_t>>(kMoreThanMostTablesTake, any_byte);
    ByteSource source(bytes.data(), bytes.size());
    CheckScanLaws(DecodeScanTable(source), directory.Path());
  });
}

rc::Gen<std::string> Commands() {
  return rc::gen::oneOf(TextsOf({" ", "'", "\"", "\\", "a", "bc"}), AnyText());
}

TEST(SplitProperties, OfAnyCommandAgreeWithTheModel) {
  CheckProperty(20, [] { CheckSplitLaws(*Commands()); });
}

TEST(SplitProperties, GiveQuotedArgumentsBack) {
  CheckProperty(5, [] { CheckQuotingLaws(*rc::gen::container<Strings>(Commands()), *AnyText()); });
}

TEST(SplitProperties, GiveTheInstallersArgumentsBack) {
  CheckProperty(5, [] {
    const auto plain = TextsOf({" ", "'", "a", "=", "/x", "\n"});
    CheckInstallerCommandLaws(*rc::gen::container<Strings>(plain));
  });
}

rc::Gen<std::string> FewLetters() {
  return TextsOf({"a", "a", "b", "ab", "\n", "\r", "\r\n", kNul});
}

TEST(TextProperties, OfNumbersAgreeWithTheModel) {
  CheckProperty(40, [] {
    CheckNumberLaws(
        *TextsOf({" ", "\t", "+", "-", "0", "1", "9", "2147483647", "2147483648", "a"}));
    CheckNumberLaws(std::to_string(*rc::gen::arbitrary<std::int64_t>()));
    CheckNumberLaws(*AnyText());
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
  const auto contents =
      TextsOf({"MTBDIR=", "MTBDIR", "mtbdir=", "=", "\n", "\n", "\r\n", " ", "x", kNul});
  CheckProperty(10, [&] { CheckMarkerLaws(directory.Path(), *contents); });
}

}  // namespace
}  // namespace kvl::test
