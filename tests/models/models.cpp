#include "tests/models/models.h"

namespace kvl::test {
namespace {

std::string WithSlashes(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) text += (i == 0 ? "" : "/") + names[i];
  return text;
}

bool IsInQuotes(std::string_view text, char quote, std::size_t shortest) {
  return text.size() >= shortest && text.front() == quote && text.back() == quote;
}

std::string_view WithoutQuotes(std::string_view text) {
  if (text == "'") return {};
  const bool is_quoted = IsInQuotes(text, '"', 2) || IsInQuotes(text, '\'', 2);
  return is_quoted ? text.substr(1, text.size() - 2) : text;
}

/// Returns the text behind the root and one more character, with a "/" behind every name.
std::string ComparedText(const PathModel& path) {
  return path.names.empty() ? "" : (WithSlashes(path.names) + "/").substr(1);
}

std::string RelativeBetweenAbsolute(const PathModel& from, const PathModel& to) {
  const std::string one = ComparedText(from), other = ComparedText(to);
  std::size_t same = 0;
  while (same < one.size() && same < other.size() && one[same] == other[same]) ++same;
  while (same > 0 && one[same - 1] != '/') --same;  // whole names only

  std::string rest = other.substr(same);
  if (rest.starts_with('/')) rest.erase(0, 1);
  if (rest.ends_with('/')) rest.pop_back();
  std::string text;
  for (auto steps = std::count(one.begin() + std::ptrdiff_t(same), one.end(), '/'); steps > 0;
       --steps) {
    text += "../";
  }
  return ModelOfPath(text + rest).Text();
}

bool IsIn(char character, std::string_view set) {
  return set.find(character) != std::string_view::npos;
}

}  // namespace

std::string PathModel::Text() const {
  return Root() + WithSlashes(names);
}

std::string PathModel::RelativePart() const {
  const std::string text = WithSlashes(names);
  return is_absolute && !text.empty() ? text.substr(1) : text;
}

std::string PathModel::FileName() const {
  if (names.empty()) return "";
  return names.size() == 1 ? RelativePart() : names.back();
}

PathModel PathModel::Parent() const {
  if (names.empty() || (names.size() == 1 && !is_absolute)) return {};
  return {is_absolute, {names.begin(), names.end() - 1}};
}

PathModel ModelOfPath(std::string_view typed) {
  typed = WithoutQuotes(typed);
  PathModel path;
  std::string name;
  for (const char character : std::string(typed) + "/") {
    if (character != '/' && character != '\\') {
      name += character;
    } else if (!name.empty()) {
      path.names.push_back(name);
      name.clear();
    }
  }
  path.is_absolute = typed.starts_with('/') || typed.starts_with('\\');
  return path;
}

std::string ModelOfMakeRelative(const PathModel& from, const PathModel& to) {
  if (to.Text().empty() || from.is_absolute != to.is_absolute) return "";
  if (from.is_absolute) return RelativeBetweenAbsolute(from, to);
  std::vector<std::string> names(std::max<std::size_t>(from.names.size(), 1), "..");
  names.insert(names.end(), to.names.begin(), to.names.end());
  return WithSlashes(names);
}

PathModel Resolved(const PathModel& path) {
  PathModel result{path.is_absolute};
  for (const std::string& name : path.names) {
    if (name == ".") continue;
    if (name == ".." && !result.names.empty() && result.names.back() != "..") {
      result.names.pop_back();
    } else if (name != ".." || !path.is_absolute) {
      result.names.push_back(name);
    }
  }
  return result;
}

std::string UpToNul(const std::string& text) {
  return text.substr(0, text.find('\0'));
}

NumberModel ModelOfNumber(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && IsIn(text[at], " \t\n\v\f\r")) ++at;
  const bool is_negative = at < text.size() && text[at] == '-';
  if (at < text.size() && IsIn(text[at], "+-")) ++at;

  NumberModel number;
  constexpr std::int64_t kTooMuch = std::int64_t{1} << 40;
  std::int64_t value = 0;
  for (; at < text.size() && IsIn(text[at], "0123456789"); ++at) {
    number.has_digit = true;
    value = value * 10 + (text[at] - '0');
    if (value > kTooMuch) value = kTooMuch;
  }
  if (is_negative) value = -value;
  using Limits = std::numeric_limits<std::int32_t>;
  if (number.has_digit && value >= Limits::min() && value <= Limits::max()) {
    number.value = static_cast<std::int32_t>(value);
  }
  return number;
}

std::vector<std::string> ModelOfLines(std::string_view contents) {
  std::vector<std::string> lines;
  bool is_in_line = false;
  for (const char character : contents) {
    if (!is_in_line) lines.emplace_back();
    is_in_line = character != '\n';
    if (is_in_line) lines.back() += character;
  }
  for (std::string& line : lines) {
    if (line.ends_with('\r')) line.pop_back();
  }
  return lines;
}

std::string ModelOfTag(const std::string& contents) {
  constexpr std::string_view kKey = "MTBDIR=";
  for (const std::string& line : ModelOfLines(contents)) {
    if (line.starts_with(kKey)) return line.substr(kKey.size());
  }
  return "";
}

ReplacedModel ModelOfReplaceAll(std::string_view text, std::string_view what, std::string_view with,
                                std::size_t start) {
  ReplacedModel result;
  for (std::size_t at = 0; at < text.size();) {
    const bool matches = at >= start && !what.empty() && text.substr(at).starts_with(what);
    result.text += matches ? with : text.substr(at, 1);
    result.count += matches ? 1 : 0;
    at += matches ? what.size() : 1;
  }
  return result;
}

ReplacedModel ModelOfReplaceInLines(std::string_view contents, std::string_view what,
                                    std::string_view with) {
  ReplacedModel result;
  for (const std::string& line : ModelOfLines(contents)) {
    const ReplacedModel replaced = ModelOfReplaceAll(line, what, with, 0);
    result.text += replaced.text + "\n";
    result.count += replaced.count;
  }
  if (!result.text.empty()) result.text.pop_back();
  return result;
}

}  // namespace kvl::test
