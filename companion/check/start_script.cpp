#include "companion/check/start_script.h"

#include <sys/utsname.h>

#include <algorithm>
#include <sstream>
#include <string_view>
#include <vector>

#include "console/text.h"
#include "environment/variables.h"

namespace kvl {
namespace {

constexpr std::string_view kExpandedByAShell = "$`\\\"' \t;&|<>()*?[#~";

std::string_view WithoutQuotes(std::string_view value) {
  const bool is_quoted = value.size() >= 2 && value.front() == value.back() &&
                         (value.front() == '"' || value.front() == '\'');
  return is_quoted ? value.substr(1, value.size() - 2) : value;
}

/// Reads a script line by line, and knows for which machines each line is.
class ScriptLines {
 public:
  explicit ScriptLines(const std::string& script) : lines_(script) {}

  /// Returns false at the end.
  bool Next() {
    if (!ReadLine(lines_, line_)) return false;
    text_ = line_;
    text_.remove_prefix(std::min(text_.find_first_not_of(" \t"), text_.size()));
    if (text_ == "case $machine in") {
      is_choice_ = true;
    } else if (text_ == "esac") {
      is_choice_ = false;
    } else if (is_choice_ && text_.ends_with(')')) {
      SetMachines();
    } else if (text_ == ";;") {
      machines_.clear();
    }
    return true;
  }

  std::string_view Text() const { return text_; }
  bool IsFor(const std::string& machine) const {
    return !is_choice_ || std::ranges::find(machines_, machine) != machines_.end();
  }
  bool IsChoice() const { return is_choice_; }
  const std::vector<std::string>& Machines() const { return machines_; }

 private:
  /// Takes the machines from a line "one | another)".
  void SetMachines() {
    std::istringstream patterns(std::string(text_.substr(0, text_.size() - 1)));
    machines_.clear();
    for (std::string pattern; patterns >> pattern;) {
      if (pattern != "|") machines_.push_back(pattern);
    }
  }

  std::istringstream lines_;
  std::string line_;
  std::string_view text_;
  bool is_choice_ = false;
  std::vector<std::string> machines_;  // of this branch of the choice
};

}  // namespace

std::string NameOfThisMachine() {
  utsname system;
  return ::uname(&system) == 0 ? system.machine : "";
}

std::string AssignmentIn(const std::string& script, const std::string& name,
                         const std::string& machine) {
  std::string found;
  for (ScriptLines lines(script); lines.Next();) {
    std::string_view rest = lines.Text();
    if (rest.starts_with("export ")) rest.remove_prefix(7);
    if (!rest.starts_with(name + "=") || !lines.IsFor(machine)) continue;
    const std::string_view value = WithoutQuotes(rest.substr(name.size() + 1));
    if (value.find_first_of(kExpandedByAShell) == std::string_view::npos) found = value;
  }
  return found;
}

std::string MachinesIn(const std::string& script) {
  std::string found;
  for (ScriptLines lines(script); lines.Next();) {
    if (!lines.IsChoice() || !lines.Text().starts_with(std::string(variables::kOs) + "=")) continue;
    for (const std::string& machine : lines.Machines()) {
      found += (found.empty() ? "" : ", ") + machine;
    }
  }
  return found;
}

}  // namespace kvl
