#include "console/command_split.h"

#include <algorithm>
#include <utility>

namespace kvl {
namespace {

constexpr char kBlank = ' ';
constexpr char kBackslash = '\\';
constexpr char kSingleQuote = '\'';
constexpr char kDoubleQuote = '"';

class Splitter {
 public:
  explicit Splitter(std::string_view command) : rest_(command) {}

  std::vector<std::string> Split() && {
    while (!rest_.empty()) {
      switch (const char character = Take()) {
        case kBlank:
          EndArgument();
          break;
        case kSingleQuote:
          TakeSingleQuoted();
          break;
        case kDoubleQuote:
          TakeDoubleQuoted();
          break;
        case kBackslash:
          if (!rest_.empty()) argument_.push_back(Take());
          break;
        default:
          argument_.push_back(character);
      }
    }
    EndArgument();
    return std::move(arguments_);
  }

 private:
  char Take() {
    const char character = rest_.front();
    rest_.remove_prefix(1);
    return character;
  }

  void EndArgument() {
    if (!argument_.empty()) arguments_.push_back(std::exchange(argument_, {}));
  }

  void TakeSingleQuoted() {
    const std::size_t end = std::min(rest_.find(kSingleQuote), rest_.size());
    argument_.append(rest_.substr(0, end));
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
  }

  void TakeDoubleQuoted() {
    while (!rest_.empty()) {
      char character = Take();
      if (character == kDoubleQuote) return;
      if (character == kBackslash && NextIsEscapable()) character = Take();
      argument_.push_back(character);
    }
  }

  bool NextIsEscapable() const {
    return !rest_.empty() && (rest_.front() == kDoubleQuote || rest_.front() == kBackslash);
  }

  std::string_view rest_;
  std::string argument_;
  std::vector<std::string> arguments_;
};

}  // namespace

std::vector<std::string> SplitCommand(std::string_view command) {
  return Splitter(command).Split();
}

}  // namespace kvl
