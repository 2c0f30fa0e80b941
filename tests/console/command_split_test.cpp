#include "console/command_split.h"

#include <random>

#include "tests/console/command_rows.h"
#include "tests/console/fake_child.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

TEST(SplitCommand, FollowsTheQuotingRules) {
  for (const CommandRow& row : CommandRows()) {
    EXPECT_EQ(SplitCommand(row.command), row.arguments) << row.command;
  }
}

TEST(SplitCommand, GivesTheChildExactlyTheseArguments) {
  const FakeChild child;
  const ScopedEnv env(child.Env());
  for (const CommandRow& row : CommandRows()) {
    SCOPED_TRACE(row.command);
    EXPECT_EQ(RunCaught(child.Program() + " " + row.command).code, 0);
    std::vector<std::string> expected = row.arguments;
    expected.insert(expected.begin(), child.Program());
    EXPECT_EQ(child.Report().arguments, expected);
  }
}

class RandomArguments {
 public:
  /// Up to 9 arguments of 1 to 20 bytes, none of them NUL.
  std::vector<std::string> List() {
    std::vector<std::string> list(Below(10));
    for (std::string& argument : list) {
      for (unsigned left = 1 + Below(20); left > 0; --left) argument.push_back(Byte());
    }
    return list;
  }

  /// The argument in one of the ways to write it.
  std::string Quoted(const std::string& argument) {
    switch (Below(3)) {
      case 0:
        return InDoubleQuotes(argument);
      case 1:
        return InSingleQuotes(argument);
      default:
        return Bare(argument);
    }
  }

  std::string Command(const std::vector<std::string>& arguments) {
    std::string command;
    for (const std::string& argument : arguments) {
      command.append(1 + Below(3), ' ').append(Quoted(argument));
    }
    return command.append(Below(3), ' ');
  }

 private:
  unsigned Below(unsigned limit) { return static_cast<unsigned>(numbers_()) % limit; }

  /// Every second byte is one with a meaning.
  char Byte() {
    constexpr std::string_view kSpecial = " '\"\\\n\t";
    if (Below(2) == 0) return kSpecial[Below(kSpecial.size())];
    return static_cast<char>(1 + Below(255));
  }

  static std::string InDoubleQuotes(const std::string& argument) {
    std::string text = "\"";
    for (const char byte : argument) {
      if (byte == '"' || byte == '\\') text.push_back('\\');
      text.push_back(byte);
    }
    return text + "\"";
  }

  static std::string InSingleQuotes(const std::string& argument) {
    std::string text = "'";
    for (const char byte : argument) {
      if (byte == '\'') text.append("'\\'");
      text.push_back(byte);
    }
    return text + "'";
  }

  static std::string Bare(const std::string& argument) {
    std::string text;
    for (const char byte : argument) text.append({'\\', byte});
    return text;
  }

  std::mt19937 numbers_{20240229};
};

TEST(SplitCommand, GivesBackWhatWasQuotedByTheRules) {
  RandomArguments random;
  for (int round = 0; round < 2000; ++round) {
    const std::vector<std::string> arguments = random.List();
    const std::string command = random.Command(arguments);
    EXPECT_EQ(SplitCommand(command), arguments) << command;
  }
}

TEST(SplitCommand, GivesTheChildEveryByteButNul) {
  const FakeChild child;
  const ScopedEnv env(child.Env());
  std::string bytes;
  for (int byte = 1; byte <= 255; ++byte) bytes.push_back(static_cast<char>(byte));
  RandomArguments random;
  EXPECT_EQ(RunCaught(child.Program() + random.Command({bytes, bytes, bytes})).code, 0);
  EXPECT_EQ(child.Report().arguments,
            (std::vector<std::string>{child.Program(), bytes, bytes, bytes}));
}

TEST(SplitCommand, TakesTimeInProportionToTheLength) {
  const Outcome outcome = RunIsolated([] {
    ::alarm(60);  // copying the rest of the text at every character would take minutes
    const std::string argument(3'000'000, 'a');
    return SplitCommand("\"" + argument + "\"") == std::vector{argument} ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
}

}  // namespace
}  // namespace kvl::test
