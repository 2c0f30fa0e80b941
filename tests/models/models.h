// Models: what paths and texts are, once more and slowly, written in another way than the product.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// A path: a list of names and whether it begins at the root.
struct PathModel {
  bool is_absolute = false;
  std::vector<std::string> names = {};

  std::string Text() const;
  std::string Root() const { return is_absolute ? "/" : ""; }
  /// Without the first character of the first name, if absolute.
  std::string RelativePart() const;
  std::string FileName() const;
  PathModel Parent() const;
};

/// One pair of enclosing quotes, no more, is dropped; both kinds of slashes separate.
PathModel ModelOfPath(std::string_view typed);

/// Both are paths' texts, so normalised already.
std::string ModelOfMakeRelative(const PathModel& from, const PathModel& to);

/// Every "." and every ".." behind a name resolved, as text.
PathModel Resolved(const PathModel& path);

/// A C string ends at its first NUL byte.
std::string UpToNul(const std::string& text);

/// The number that a text begins with, as strtol reads it.
struct NumberModel {
  bool has_digit = false;
  std::optional<std::int32_t> value = {};  ///< nothing when it does not fit
};
NumberModel ModelOfNumber(std::string_view text);

/// All lines, each without its line end and one carriage return before it.
std::vector<std::string> ModelOfLines(std::string_view contents);

/// The tag in the contents of a marker; empty when there is none.
std::string ModelOfTag(const std::string& contents);

struct ReplacedModel {
  std::string text;
  std::size_t count = 0;
};
ReplacedModel ModelOfReplaceAll(std::string_view text, std::string_view what, std::string_view with,
                                std::size_t start);

/// The contents of a file after the replacement; the count is 0 when it is to stay as it is.
ReplacedModel ModelOfReplaceInLines(std::string_view contents, std::string_view what,
                                    std::string_view with);

}  // namespace kvl::test
