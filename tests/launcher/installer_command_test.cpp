#include "launcher/installer_command.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

TEST(InstallerCommand, QuotesThePathAndEveryArgument) {
  struct Row {
    std::string path;
    std::vector<std::string> arguments;
    std::string command;
  };
  const std::vector<Row> rows = {
      {"/m/x", {"a", "b c"}, R"("/m/x" "a" "b c")"},
      {"/m/x", {}, R"("/m/x")"},
      {"/m y/x", {"-CDpath", "/m y"}, R"("/m y/x" "-CDpath" "/m y")"},
      {"", {}, R"("")"},
      {"/m/x", {"", ""}, R"("/m/x" "" "")"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(InstallerCommand(row.path, row.arguments), row.command);
  }
}

TEST(InstallerCommand, DoesNotQuoteAPathThatBeginsWithADoubleQuoteAgain) {
  EXPECT_EQ(InstallerCommand(R"("/m/x)", {}), R"("/m/x)");
  EXPECT_EQ(InstallerCommand(R"("/m/x")", {"a"}), R"("/m/x" "a")");
  EXPECT_EQ(InstallerCommand(R"(")", {"a"}), R"(" "a")");
}

TEST(InstallerCommand, QuotesAPathThatBeginsWithAnythingElse) {
  EXPECT_EQ(InstallerCommand("'/m/x'", {}), R"("'/m/x'")");
  EXPECT_EQ(InstallerCommand(R"(/m"/x")", {}), R"("/m"/x"")");
}

TEST(InstallerCommand, EscapesNothingInAnArgument) {
  EXPECT_EQ(InstallerCommand("/m/x", {R"(say "hi")", R"(end\)", "it's", "a\nb", "\xff"}),
            "\"/m/x\" \"say \"hi\"\" \"end\\\" \"it's\" \"a\nb\" \"\xff\"");
}

}  // namespace
}  // namespace kvl::test
