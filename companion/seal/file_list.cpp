#include "companion/seal/file_list.h"

#include <string_view>

#include "companion/names/bounded_text.h"
#include "companion/seal/listed_path.h"

namespace kvl {
namespace {

constexpr std::string_view kBetween = "  ";
constexpr std::size_t kHexLength = 2 * sizeof(Digest::bytes);

/// Parses a line, which comes without its line feed. `number` is for the exception.
ListedFile ParseLine(std::string_view line, std::size_t number) {
  const bool is_escaped = line.starts_with('\\');
  std::string_view rest = line.substr(is_escaped ? 1 : 0);
  const std::optional<Digest> digest = Digest::FromHex(rest.substr(0, kHexLength));
  if (!digest) throw RefusedText(number, "it does not begin with a digest");
  rest.remove_prefix(kHexLength);
  if (!rest.starts_with(kBetween)) {
    throw RefusedText(number, "two blanks behind the digest are missing");
  }
  rest.remove_prefix(kBetween.size());
  const std::optional<std::string> path =
      is_escaped ? Unescaped(rest, Escapes::kOfLines) : std::string(rest);
  const bool needs_escapes = path && Escaped(*path, Escapes::kOfLines) != *path;
  if (!path || needs_escapes != is_escaped) {
    throw RefusedText(number, "a backslash or line break is not escaped correctly");
  }
  if (!IsListedPath(*path)) throw RefusedText(number, "the path is not one inside the volume");
  return {*path, *digest};
}

}  // namespace

std::string LineOf(const ListedFile& file) {
  const std::string path = Escaped(file.path, Escapes::kOfLines);
  std::string line = path == file.path ? "" : "\\";
  return line.append(file.digest.Hex()).append(kBetween).append(path).append("\n");
}

std::optional<ListedFile> FileListReader::Next() try {
  ++number_;
  std::string_view line = lines_.Next();
  if (line.empty()) return {};
  if (!line.ends_with('\n')) throw RefusedText(number_, "the line feed at its end is missing");
  line.remove_suffix(1);
  ListedFile file = ParseLine(line, number_);
  if (!last_.empty() && !PathOrder()(last_, file.path)) {
    throw RefusedText(number_, "the path is repeated or out of order");
  }
  last_ = file.path;
  return file;
} catch (const TooLong& reason) {
  throw RefusedText(number_, reason.what());
}

}  // namespace kvl
