// The completions for the two shells name what kvl-media understands, and nothing else.

#include "tests/companion/check_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using Names = std::set<std::string>;

/// Every long option in a text.
Names OptionsIn(const std::string& text, const std::string& pattern) {
  const std::regex option(pattern);
  Names names;
  for (auto match = std::sregex_iterator(text.begin(), text.end(), option);
       match != std::sregex_iterator(); ++match) {
    names.insert((*match)[1]);
  }
  return names;
}

/// Those that a help text lists; one of them has a short form in front.
Names OptionsOf(const std::vector<std::string>& subcommand) {
  std::vector<std::string> arguments = subcommand;
  arguments.emplace_back("--help");
  return OptionsIn(CheckWorld().Companion(arguments).out, "\n +(?:-h,)?(--[a-z-]+)");
}

/// The part of a text between two others.
std::string Part(const std::string& text, const std::string& begin, const std::string& end) {
  const std::size_t at = text.find(begin);
  if (at == std::string::npos) return "(no " + begin + ")";
  return text.substr(at, text.find(end, at) - at);
}

TEST(Completions, NameEveryOptionOfEverySubcommand) {
  const std::string bash = SourceFile("companion/completions/kvl-media.bash");
  const std::string zsh = SourceFile("companion/completions/_kvl-media");
  if (!std::filesystem::exists(bash)) GTEST_SKIP() << "the sources are not there";
  const Names general = OptionsOf({}), check = OptionsOf({"check"}), make = OptionsOf({"make"});
  EXPECT_EQ(general, (Names{"--help", "--version"}));
  EXPECT_GE(check.size(), 5U);
  EXPECT_GE(make.size(), 8U);

  const std::string any = "(--[a-z-]+)";
  EXPECT_EQ(OptionsIn(Part(ReadFile(bash), "words='check make", "\n"), any), general);
  EXPECT_EQ(OptionsIn(Part(ReadFile(bash), "check) words=", ";;"), any), check);
  EXPECT_EQ(OptionsIn(Part(ReadFile(bash), "make) words=", ";;"), any), make);
  EXPECT_EQ(OptionsIn(Part(ReadFile(zsh), "'options:", "\n"), any), general);
  EXPECT_EQ(OptionsIn(Part(ReadFile(zsh), "check)", ";;"), any), check);
  EXPECT_EQ(OptionsIn(Part(ReadFile(zsh), "make)", ";;"), any), make);
}

/// What bash offers for the last of the words.
std::string OfferedByBash(const CheckWorld& world, const std::string& words) {
  const std::string script = SourceFile("companion/completions/kvl-media.bash");
  const Outcome seen = RunProgram({{"/bin/bash", "-c",
                                    "source \"$0\"; COMP_WORDS=(" + words +
                                        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kvl_media; "
                                        "echo \"${COMPREPLY[*]}\"",
                                    script},
                                   {{"PATH", "/usr/bin:/bin"}},
                                   world.Path(".")});
  EXPECT_EQ(seen.err, "");
  return seen.out;
}

TEST(Completions, OfferWhatFitsInBash) {
  if (!std::filesystem::exists("/bin/bash")) GTEST_SKIP() << "there is no bash";
  if (!std::filesystem::exists(SourceFile("companion/completions"))) {
    GTEST_SKIP() << "the sources are not there";
  }
  CheckWorld world;
  world.Volume("media");
  EXPECT_EQ(OfferedByBash(world, "kvl-media m"), "make\n");
  EXPECT_EQ(OfferedByBash(world, "kvl-media check --j"), "--json\n");
  EXPECT_EQ(OfferedByBash(world, "kvl-media check me"), "media\n");
  EXPECT_EQ(OfferedByBash(world, "kvl-media make --layout s"), "single sibling\n");
}

TEST(Completions, AreUnderstoodByZsh) {
  if (!std::filesystem::exists("/bin/zsh")) GTEST_SKIP() << "there is no zsh";
  const Outcome seen =
      RunProgram({{"/bin/zsh", "-n", SourceFile("companion/completions/_kvl-media")}});
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 0);
}

}  // namespace
}  // namespace kvl::test
