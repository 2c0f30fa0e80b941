// Paths as plain text: the separators, and the conversions that need no path value.
//
// A path is a string of bytes. Nothing here asks the file system, and nothing here fails but for
// lack of memory.
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace KVLInsIO {

/// A text that exists before any code of the program runs. It goes where a std::string_view goes, and
/// can be added to a std::string.
struct Separator : std::string_view {
  using std::string_view::string_view;

  friend std::string operator+(std::string left, Separator right) {
    return std::move(left.append(right));
  }
  friend std::string operator+(Separator left, const std::string& right) {
    return std::string(left).append(right);
  }
};

inline constexpr Separator kPathSeparator = "/";
inline constexpr Separator kPathListSeparator = ":";
inline constexpr Separator kForeignPathSeparator = "\\";
inline constexpr Separator kForeignPathListSeparator = ";";
inline constexpr Separator kDoubledSeparator = "//";

/// The text as every InsPath holds it. In this order: one pair of enclosing quotes, no more, is
/// dropped; backslashes become "/"; runs of "/" become one; a "/" at the end goes, unless it is all
/// there is. Takes time in proportion to the length.
///   (empty)               =>  (empty)
///   a//b///               =>  a/b
///   ///                   =>  /
///   "X:\dir\\sub\"        =>  X:/dir/sub
///   'a b'                 =>  a b
///   "a'                   =>  "a'          the quotes are no pair
///   ""a""                 =>  "a"          only one pair is dropped
///   "                     =>  "            on purpose: double quotes have a length test,
///   '                     =>  (empty)      single quotes have none
[[nodiscard]] std::string NormalizeString(std::string text);

/// A copy with every backslash turned into "/", and nothing else changed.   a\\b/  =>  a//b/
[[nodiscard]] std::string ToSlashes(std::string text);

/// A copy with every ";" turned into ":", and nothing else changed.   a;;b  =>  a::b
[[nodiscard]] std::string ToColons(std::string text);

}  // namespace KVLInsIO
