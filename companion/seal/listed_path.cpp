#include "companion/seal/listed_path.h"

#include <algorithm>

namespace kvl {
namespace {

/// The bytes that are escaped, and the letters that stand for them.
constexpr std::string_view kBytes = "\\\n\r\t";
constexpr std::string_view kLetters = "\\nrt";

constexpr std::size_t CountOf(Escapes escapes) {
  return escapes == Escapes::kOfFields ? kBytes.size() : kBytes.size() - 1;
}

}  // namespace

bool IsListedPath(std::string_view path) {
  if (path.find('\0') != std::string_view::npos) return false;
  for (std::size_t begin = 0;;) {
    const std::size_t end = path.find('/', begin);
    const std::string_view name = path.substr(begin, end - begin);
    if (name.empty() || name == "." || name == "..") return false;
    if (end == std::string_view::npos) return true;
    begin = end + 1;
  }
}

/// Compares each "/" as if it was a NUL byte, which no name holds. So a name comes before longer
/// names that begin with it.
bool PathOrder::operator()(std::string_view path, std::string_view other) const {
  const auto place = [](char byte) { return byte == '/' ? 0U : static_cast<unsigned char>(byte); };
  const auto [here, there] = std::ranges::mismatch(path, other);
  if (here == path.end() || there == other.end()) return there != other.end();
  return place(*here) < place(*there);
}

bool LeadsInside(std::string_view path, std::string_view target) {
  if (target.empty() || target.front() == '/' || target.find('\0') != std::string_view::npos) {
    return false;
  }
  auto depth = std::count(path.begin(), path.end(), '/');
  for (std::size_t begin = 0; begin <= target.size();) {
    const std::size_t end = std::min(target.find('/', begin), target.size());
    const std::string_view name = target.substr(begin, end - begin);
    if (name == "..") {
      --depth;
    } else if (!name.empty() && name != ".") {
      ++depth;
    }
    if (depth < 0) return false;
    begin = end + 1;
  }
  return true;
}

std::string Escaped(std::string_view path, Escapes escapes) {
  const std::string_view bytes = kBytes.substr(0, CountOf(escapes));
  std::string text;
  for (const char byte : path) {
    const std::size_t at = bytes.find(byte);
    if (at != std::string_view::npos) text += '\\';
    text += at != std::string_view::npos ? kLetters[at] : byte;
  }
  return text;
}

std::optional<std::string> Unescaped(std::string_view text, Escapes escapes) {
  const std::string_view letters = kLetters.substr(0, CountOf(escapes));
  std::string path;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      path += text[i];
      continue;
    }
    const std::size_t at = ++i < text.size() ? letters.find(text[i]) : std::string_view::npos;
    if (at == std::string_view::npos) return {};
    path += kBytes[at];
  }
  // Refuses a text with a byte that should have been escaped.
  if (Escaped(path, escapes) != text) return {};
  return path;
}

}  // namespace kvl
