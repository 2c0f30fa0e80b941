// The completions for the two shells name what kvl-media understands, and nothing else.

#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

/// Returns the first group of each match of the pattern.
std::set<std::string> OptionsIn(const std::string& text, const std::string& pattern) {
  std::set<std::string> options;
  for (const Groups& option : MatchesIn(text, pattern)) options.insert(option[1]);
  return options;
}

/// Returns the part of a text from `begin` to the next `end`.
std::string Part(const std::string& text, const std::string& begin, const std::string& end) {
  const std::size_t at = text.find(begin);
  if (at == std::string::npos) return "(no " + begin + ")";
  return text.substr(at, text.find(end, at) - at);
}

TEST(Completions, NameEveryOptionOfEverySubcommand) {
  const std::string directory = SourceFile("companion/completions");
  if (!fs::exists(directory)) GTEST_SKIP() << "the sources are not there";
  struct Row {
    std::vector<std::string> help;
    std::size_t least;
    std::string in_bash, bash_end, in_zsh, zsh_end;
  };
  for (const Row& row : {Row{{"--help"}, 2, "words='check make", "\n", "local -a options=", "\n"},
                         Row{{"check", "--help"}, 5, "check) words=", ";;", "check)", ";;"},
                         Row{{"make", "--help"}, 8, "make) words=", ";;", "make)", ";;"},
                         Row{{"seal", "--help"}, 2, "seal) words=", ";;", "seal)", ";;"},
                         Row{{"verify", "--help"}, 4, "verify) words=", ";;", "verify)", ";;"},
                         Row{{"clean", "--help"}, 2, "clean) words=", ";;", "clean)", ";;"}}) {
    SCOPED_TRACE(row.in_bash);
    // One option has a short form before it.
    const std::set<std::string> options =
        OptionsIn(CheckWorld().Companion(row.help).out, "\n +(?:-h,)?(--[a-z-]+)");
    EXPECT_GE(options.size(), row.least);
    const auto named_in = [&](const char* file, const std::string& begin, const std::string& end) {
      return OptionsIn(Part(ReadFile(directory + "/" + file), begin, end), "(--[a-z-]+)");
    };
    EXPECT_EQ(named_in("kvl-media.bash", row.in_bash, row.bash_end), options);
    EXPECT_EQ(named_in("_kvl-media", row.in_zsh, row.zsh_end), options);
  }
}

TEST(Completions, NameEverySubcommand) {
  const std::string directory = SourceFile("companion/completions");
  if (!fs::exists(directory)) GTEST_SKIP() << "the sources are not there";
  const std::string help = CheckWorld().Companion({"--help"}).out;
  const std::set<std::string> subcommands =
      OptionsIn(help.substr(help.find("Subcommands:")), "\n  ([a-z]+) ");
  EXPECT_GE(subcommands.size(), 2U);
  const std::string zsh = ReadFile(directory + "/_kvl-media");
  EXPECT_EQ(OptionsIn(Part(zsh, "commands=(", ")"), "'([a-z]+):"), subcommands);
  const std::string bash = ReadFile(directory + "/kvl-media.bash");
  EXPECT_EQ(OptionsIn(Part(bash, "words='check", "--help"), "\\b([a-z]+) "), subcommands);
}

/// Returns what bash offers for the last word.
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

TEST(Completions, OfferMatchingWordsInBash) {
  if (!fs::exists("/bin/bash")) GTEST_SKIP() << "there is no bash";
  if (!fs::exists(SourceFile("companion"))) GTEST_SKIP() << "the sources are not there";
  CheckWorld world;
  world.Volume("media");
  EXPECT_EQ(OfferedByBash(world, "kvl-media m"), "make\n");
  EXPECT_EQ(OfferedByBash(world, "kvl-media check --j"), "--json\n");
  EXPECT_EQ(OfferedByBash(world, "kvl-media check me"), "media\n");
  EXPECT_EQ(OfferedByBash(world, "kvl-media make --config me"), "media\n");
  EXPECT_EQ(OfferedByBash(world, "kvl-media make --layout s"), "single sibling\n");
}

TEST(Completions, AreUnderstoodByZsh) {
  if (!fs::exists("/bin/zsh")) GTEST_SKIP() << "there is no zsh";
  const std::string completions = SourceFile("companion/completions/_kvl-media");
  EXPECT_EQ(RunProgram({{"/bin/zsh", "-n", completions}}), Outcome{});
}

}  // namespace
}  // namespace kvl::test
