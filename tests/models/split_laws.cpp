#include "console/command_split.h"
#include "launcher/installer_command.h"
#include "tests/models/laws.h"

namespace kvl::test {
namespace {

std::vector<std::string> WithoutEmptyOnes(std::vector<std::string> texts) {
  std::erase(texts, "");
  return texts;
}

/// A command is a sequence of pieces: a blank, a backslash and a character, a text in quotes, which
/// may lack its end, or any other character. In double quotes a backslash stays before all
/// characters except \ and ".
std::vector<std::string> ModelOfSplit(const std::string& command) {
  const std::string piece =
      R"_(( )|\\([\s\S]?)|'([^']*)'?|"((?:\\[\s\S]|[^"\\])*\\?)"?|([^ '"\\]))_";
  const std::string escaped = R"_(\\(["\\]))_";
  std::vector<std::string> arguments(1);
  for (const Groups& found : MatchesIn(command, piece)) {
    if (!found[1].empty()) arguments.emplace_back();
    arguments.back() += found[2] + found[3] + Replaced(found[4], escaped, "$1") + found[5];
  }
  return WithoutEmptyOnes(arguments);
}

std::string Escaped(const std::string& text, std::string_view special) {
  std::string escaped;
  for (const char character : text) {
    if (special.find(character) != std::string_view::npos) escaped += '\\';
    escaped += character;
  }
  return escaped;
}

/// Returns a part of an argument in one of its possible spellings.
std::string Quoted(const std::string& part, std::size_t way) {
  const bool has_single_quote = part.find('\'') != std::string::npos;
  if (way == 0) return "\"" + Escaped(part, "\"\\") + "\"";
  if (way == 1 && !has_single_quote) return "'" + part + "'";
  return Escaped(part, " '\"\\");
}

}  // namespace

void CheckSplitLaws(const std::string& command) {
  const std::vector<std::string> arguments = SplitCommand(command);
  RequireEqual("split", arguments, ModelOfSplit(command));
  for (const std::string& argument : arguments) Require(!argument.empty(), "no empty argument");
  RequireEqual("split with blanks before it", SplitCommand("  " + command), arguments);
}

void CheckQuotingLaws(const std::vector<std::string>& arguments, const std::string& choices) {
  ByteSource choice(reinterpret_cast<const std::uint8_t*>(choices.data()), choices.size());
  std::string command;
  for (const std::string& argument : arguments) {
    command.append(choice.Below(3), ' ');
    for (std::size_t at = 0; at < argument.size();) {
      const std::size_t length = choice.AtEnd() ? argument.size() : 1 + choice.Below(8);
      command += Quoted(argument.substr(at, length), choice.Below(3));
      at += std::min(length, argument.size() - at);
    }
    if (choice.Chance(64)) command += "''";
    if (choice.Chance(64)) command += "\"\"";
    command += ' ';
  }
  RequireEqual("quoted and split", SplitCommand(command), WithoutEmptyOnes(arguments));
}

void CheckInstallerCommandLaws(const std::vector<std::string>& texts) {
  if (texts.empty()) return;
  for (const std::string& text : texts) {
    if (text.find_first_of("\"\\") != std::string::npos) return;
  }
  const std::vector<std::string> arguments(texts.begin() + 1, texts.end());
  RequireEqual("the installer's command", SplitCommand(InstallerCommand(texts.front(), arguments)),
               WithoutEmptyOnes(texts));
}

}  // namespace kvl::test
