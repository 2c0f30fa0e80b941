#include "insio/path.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "insio/path_text.h"

namespace KVLInsIO {
namespace {

constexpr char kSlash = '/';

/// Returns the components of an absolute path, the first one without its first character.
std::vector<std::string_view> ShortenedComponents(const InsPath& path) {
  std::vector<std::string_view> components;
  std::string_view rest = path.Str();
  while (!rest.empty()) {
    rest.remove_prefix(1);
    if (rest.empty()) break;  // the path is the root alone
    const std::size_t end = std::min(rest.find(kSlash), rest.size());
    components.push_back(rest.substr(0, end));
    rest.remove_prefix(end);
  }
  if (!components.empty()) components.front().remove_prefix(1);
  return components;
}

InsPath RelativeBetweenAbsolute(const InsPath& from, const InsPath& to) {
  const std::vector<std::string_view> from_parts = ShortenedComponents(from);
  const std::vector<std::string_view> to_parts = ShortenedComponents(to);
  auto [from_rest, to_rest] =
      std::mismatch(from_parts.begin(), from_parts.end(), to_parts.begin(), to_parts.end());

  std::string text;
  for (; from_rest != from_parts.end(); ++from_rest) text.append("../");
  // A "/" follows an empty first component and would make the result absolute.
  if (to_rest != to_parts.end() && to_rest->empty()) ++to_rest;
  if (to_rest != to_parts.end()) text.append(to_rest->data(), to_parts.back().end());
  return InsPath(std::move(text));
}

InsPath RelativeBetweenRelative(const InsPath& from, const InsPath& to) {
  std::string steps = "..";
  const auto slashes = std::count(from.Str().begin(), from.Str().end(), kSlash);
  for (auto i = slashes; i > 0; --i) steps.append("/..");
  InsPath result(std::move(steps));
  result /= to.Str();
  return result;
}

}  // namespace

InsPath::InsPath(std::string text) : text_(NormalizeString(std::move(text))) {
  if (!text_.empty() && text_.front() == kSlash) root_ = 0;
}

InsPath::InsPath(InsPath&& other) noexcept
    : text_(std::move(other.text_)), root_(std::exchange(other.root_, kMovedFrom)) {}

InsPath& InsPath::operator=(InsPath&& other) noexcept {
  if (this != &other) {
    text_ = std::move(other.text_);
    root_ = std::exchange(other.root_, kMovedFrom);
  }
  return *this;
}

void InsPath::Clear() {
  text_.clear();
  root_ = kNoRoot;
}

std::string InsPath::Root() const {
  return IsAbsolute() ? text_.substr(0, static_cast<std::size_t>(root_) + 1) : std::string();
}

std::string InsPath::RelativePart() const {
  if (!IsAbsolute()) return text_;
  const std::size_t behind_root = static_cast<std::size_t>(root_) + 1;
  return behind_root >= text_.size() ? std::string() : text_.substr(behind_root + 1);
}

std::string InsPath::FileName() const {
  const std::string relative = RelativePart();
  const std::size_t last_slash = relative.rfind(kSlash);
  return last_slash == std::string::npos ? relative : relative.substr(last_slash + 1);
}

InsPath InsPath::Parent() const {
  const std::size_t last_slash = text_.rfind(kSlash);
  if (last_slash == std::string::npos || text_.size() == 1) return {};
  // Not constructed from a string: normalising again could take quotes of a name for enclosing
  // ones.
  InsPath parent;
  parent.text_ = last_slash == 0 ? Root() : text_.substr(0, last_slash);
  parent.root_ = root_;
  return parent;
}

InsPath& InsPath::operator/=(std::string_view text) {
  return *this = Join(text_, text);
}

InsPath Join(std::string_view a, std::string_view b) {
  std::string text;
  text.reserve(a.size() + kPathSeparator.size() + b.size());
  text.append(a).append(kPathSeparator).append(b);
  return InsPath(std::move(text));
}

InsPath Combine(const InsPath& base, const InsPath& path) {
  if (path.IsAbsolute()) return path;
  return path.IsEmpty() ? base : Join(base.Str(), path.Str());
}

InsPath MakeRelative(const InsPath& from, const InsPath& to) {
  if (to.IsEmpty() || from.IsAbsolute() != to.IsAbsolute()) return InsPath();
  return from.IsAbsolute() ? RelativeBetweenAbsolute(from, to) : RelativeBetweenRelative(from, to);
}

}  // namespace KVLInsIO
