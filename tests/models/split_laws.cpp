#include "tests/models/split_laws.h"

#include "console/command_split.h"
#include "launcher/installer_command.h"
#include "tests/models/byte_source.h"
#include "tests/models/law.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

enum State { kBare, kEscaped, kInSingle, kInDouble, kEscapedInDouble };
enum Kind { kBlank, kSingleQuote, kDoubleQuote, kBackslash, kOther, kEnd };

/// What becomes of a character.
enum Effect { kDrop, kKeep, kFinish, kKeepWithBackslash, kKeepBackslash };

struct Step {
  State next;
  Effect effect;
};

using Row = std::array<Step, 6>;
constexpr std::array<Row, 5> kTable = {
    // blank, ', ", backslash, any other, the end
    Row{Step{kBare, kFinish}, Step{kInSingle, kDrop}, Step{kInDouble, kDrop}, Step{kEscaped, kDrop},
        Step{kBare, kKeep}, Step{kBare, kFinish}},
    Row{Step{kBare, kKeep}, Step{kBare, kKeep}, Step{kBare, kKeep}, Step{kBare, kKeep},
        Step{kBare, kKeep}, Step{kBare, kFinish}},
    Row{Step{kInSingle, kKeep}, Step{kBare, kDrop}, Step{kInSingle, kKeep}, Step{kInSingle, kKeep},
        Step{kInSingle, kKeep}, Step{kBare, kFinish}},
    Row{Step{kInDouble, kKeep}, Step{kInDouble, kKeep}, Step{kBare, kDrop},
        Step{kEscapedInDouble, kDrop}, Step{kInDouble, kKeep}, Step{kBare, kFinish}},
    Row{Step{kInDouble, kKeepWithBackslash}, Step{kInDouble, kKeepWithBackslash},
        Step{kInDouble, kKeep}, Step{kInDouble, kKeep}, Step{kInDouble, kKeepWithBackslash},
        Step{kBare, kKeepBackslash}}};

Kind KindOf(char character) {
  const std::size_t kind = std::string_view(" '\"\\").find(character);
  return kind == std::string_view::npos ? kOther : static_cast<Kind>(kind);
}

class SplitModel {
 public:
  std::vector<std::string> Split(const std::string& command) {
    for (const char character : command) Take(KindOf(character), character);
    Take(kEnd, '\0');
    return arguments_;
  }

 private:
  void Take(Kind kind, char character) {
    const Step step = kTable[state_][kind];
    state_ = step.next;
    if (step.effect == kKeepWithBackslash || step.effect == kKeepBackslash) argument_ += '\\';
    if (step.effect == kKeep || step.effect == kKeepWithBackslash) argument_ += character;
    if ((step.effect == kFinish || step.effect == kKeepBackslash) && !argument_.empty()) {
      arguments_.push_back(argument_);
      argument_.clear();
    }
  }

  State state_ = kBare;
  std::string argument_;
  std::vector<std::string> arguments_;
};

std::string Escaped(const std::string& text, std::string_view special) {
  std::string escaped;
  for (const char character : text) {
    if (special.find(character) != std::string_view::npos) escaped += '\\';
    escaped += character;
  }
  return escaped;
}

/// One part of an argument in one of the ways in which it can be written.
std::string Quoted(const std::string& part, std::size_t way) {
  const bool has_single_quote = part.find('\'') != std::string::npos;
  if (way == 0) return "\"" + Escaped(part, "\"\\") + "\"";
  if (way == 1 && !has_single_quote) return "'" + part + "'";
  return Escaped(part, " '\"\\");
}

std::vector<std::string> WithoutEmptyOnes(const std::vector<std::string>& texts) {
  std::vector<std::string> others;
  for (const std::string& text : texts) {
    if (!text.empty()) others.push_back(text);
  }
  return others;
}

}  // namespace

void CheckSplitLaws(const std::string& command) {
  const std::vector<std::string> arguments = SplitCommand(command);
  RequireEqual("split", arguments, SplitModel().Split(command));
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
