#include "companion/seal/file_list.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "companion/seal/listed_path.h"

namespace kvl {
namespace {

constexpr std::string_view kBetween = "  ";
constexpr std::size_t kHexLength = 2 * sizeof(Digest::bytes);

/// `line` without its line feed, `number` for the refusal.
ListedFile ParseLine(std::string_view line, std::size_t number) {
  const bool is_escaped = line.starts_with('\\');
  std::string_view rest = line.substr(is_escaped ? 1 : 0);
  const std::optional<Digest> digest = Digest::FromHex(rest.substr(0, kHexLength));
  if (!digest) throw RefusedText(number, "no digest");
  rest.remove_prefix(kHexLength);
  if (!rest.starts_with(kBetween)) throw RefusedText(number, "no two blanks behind the digest");
  rest.remove_prefix(kBetween.size());
  const std::optional<std::string> path =
      is_escaped ? Unescaped(rest, Escapes::kOfLines) : std::string(rest);
  const bool needs_escapes = path && Escaped(*path, Escapes::kOfLines) != *path;
  if (!path || needs_escapes != is_escaped)
    throw RefusedText(number, "not escaped as it has to be");
  if (!IsListedPath(*path)) throw RefusedText(number, "no path on the volume");
  return {*path, *digest};
}

}  // namespace

std::string LineOf(const ListedFile& file) {
  const std::string path = Escaped(file.path, Escapes::kOfLines);
  std::string line = path == file.path ? "" : "\\";
  return line.append(file.digest.Hex()).append(kBetween).append(path).append("\n");
}

std::vector<ListedFile> ParseFileList(std::string_view text) {
  std::vector<ListedFile> files;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) throw RefusedText(number, "no line feed at its end");
    ListedFile file = ParseLine(text.substr(0, end), number);
    if (!files.empty() && !PathOrder()(files.back().path, file.path)) {
      throw RefusedText(number, "a path repeated or out of order");
    }
    files.push_back(std::move(file));
    text.remove_prefix(end + 1);
  }
  return files;
}

}  // namespace kvl
