// Paths in lists and manifests: they begin at a volume's directory, and each stands on one line.
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kvl {

/// Thrown for a list or a manifest that LineOf or TextOf has not written: "line <number>:
/// <reason>". The reason quotes nothing of the text.
class RefusedText : public std::runtime_error {
 public:
  RefusedText(std::size_t line, const std::string& reason)
      : std::runtime_error("line " + std::to_string(line) + ": " + reason) {}
};

/// Returns true for names with one "/" between each two of them. None of the names may be empty,
/// ".", or "..", or hold a NUL byte.
bool IsListedPath(std::string_view path);

/// The order of paths in lists and manifests: that of a walk through a tree that takes names in the
/// order of their bytes, and a directory before its contents.
///   a, a/b, a-b
struct PathOrder {
  using is_transparent = void;
  bool operator()(std::string_view path, std::string_view other) const;
};

/// Returns whether a symbolic link at `path` (see IsListedPath) may have this target: it is not
/// empty, has no NUL byte, is relative, and does not leave the volume's directory, not even on its
/// way. Treats each name as a directory, whatever it is.
///   d/l, ../a/./b  =>  true     d/l, ../../a  =>  false     l, a/../../d/b  =>  false
bool LeadsInside(std::string_view path, std::string_view target);

/// The bytes that are escaped because they would end a line or a field, and the backslash.
enum class Escapes {
  kOfLines,   ///< backslash, line feed and carriage return: "\\", "\n" and "\r"
  kOfFields,  ///< these and the tab: "\t"
};

/// Returns the path with these bytes escaped.
///   a\b  =>  a\\b
std::string Escaped(std::string_view path, Escapes escapes);

/// Returns the path for which Escaped returns this text, and nothing if there is no such path.
std::optional<std::string> Unescaped(std::string_view text, Escapes escapes);

}  // namespace kvl
