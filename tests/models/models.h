// Models: paths and texts once more, slow and written in another way than the product.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// A path: a list of names and whether it begins at the root.
struct PathModel {
  bool is_absolute = false;
  std::vector<std::string> names = {};

  std::string Text() const;
  std::string Root() const { return is_absolute ? "/" : ""; }
  /// Returns the text without the first character of the first name, if absolute.
  std::string RelativePart() const;
  std::string FileName() const;
  PathModel Parent() const;
};

/// Drops one pair of enclosing quotes and splits at both kinds of slashes.
PathModel ModelOfPath(std::string_view typed);

/// Takes texts of paths, which are normalised already.
std::string ModelOfMakeRelative(const PathModel& from, const PathModel& to);

/// Resolves every "." and every ".." behind a name, in the text alone.
PathModel Resolved(const PathModel& path);

/// Returns the text as a C string has it, up to its first NUL byte.
std::string UpToNul(const std::string& text);

/// The number that a text begins with, as strtol reads it.
struct NumberModel {
  bool has_digit = false;
  std::optional<std::int32_t> value = {};  ///< nothing if it does not fit
};
NumberModel ModelOfNumber(std::string_view text);

/// Returns all lines, each without its line end and one carriage return before it.
std::vector<std::string> ModelOfLines(std::string_view contents);

/// Returns the tag in the contents of a marker; the empty text without one.
std::string ModelOfTag(const std::string& contents);

struct ReplacedModel {
  std::string text;
  std::size_t count = 0;
};
ReplacedModel ModelOfReplaceAll(std::string_view text, std::string_view what, std::string_view with,
                                std::size_t start);

/// Returns the contents of a file after the replacement. The count is 0 if the file stays as it is.
ReplacedModel ModelOfReplaceInLines(std::string_view contents, std::string_view what,
                                    std::string_view with);

}  // namespace kvl::test
