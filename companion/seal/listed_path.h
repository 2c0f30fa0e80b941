// Paths as lists and manifests have them: from a volume's directory on, on one line.
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kvl {

/// A list or a manifest that was not written by LineOf or TextOf: "line <number>: <reason>". The
/// reason holds nothing of the text itself.
class RefusedText : public std::runtime_error {
 public:
  RefusedText(std::size_t line, const std::string& reason)
      : std::runtime_error("line " + std::to_string(line) + ": " + reason) {}
};

/// True for names with a "/" between each two: no way out, none that stands still, no NUL byte.
bool IsListedPath(std::string_view path);

/// The order of lists and manifests: that of a walk through directories whose names are sorted by their
/// bytes. A directory comes before what lies in it, and that before its next neighbour.
///   a, a/b, a-b
struct PathOrder {
  using is_transparent = void;
  bool operator()(std::string_view path, std::string_view other) const;
};

/// True for what a symbolic link on a volume may hold: not empty, no NUL byte, and from the
/// directory of the link, which lies at `path` (see IsListedPath), it leads nowhere out of the
/// volume's directory, not even on its way. Names count as directories, whatever lies there.
///   d/l, ../a/./b  =>  true     d/l, ../../a  =>  false     l, a/../../d/b  =>  false
bool LeadsInside(std::string_view path, std::string_view target);

/// What stands for a byte that would end a line or a field; the backslash is always one of them.
enum class Escapes {
  kOfLines,   ///< "\\", "\n" and "\r"
  kOfFields,  ///< and "\t"
};

///   a\b  =>  a\\b
std::string Escaped(std::string_view path, Escapes escapes);

/// The path of a text that Escaped gives with the same escapes; nothing for any other.
std::optional<std::string> Unescaped(std::string_view text, Escapes escapes);

}  // namespace kvl
