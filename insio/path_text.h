// Paths as plain text: the separators, and conversions that need no InsPath.
//
// A path is a string of bytes. Nothing here asks the file system, and only a lack of memory can
// cause a failure.
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace KVLInsIO {

/// A constant text that exists before any code of the program runs. It converts to a
/// std::string_view and can be added to a std::string.
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

/// Returns the text as every InsPath has it. In this order: drops one pair of enclosing quotes,
/// turns backslashes into "/", replaces runs of "/" by one, and drops a "/" at the end of a longer
/// text. Takes time in proportion to the length.
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

/// Returns a copy with every backslash turned into "/", and nothing else changed.
///   a\\b/  =>  a//b/
[[nodiscard]] std::string ToSlashes(std::string text);

/// Returns a copy with every ";" turned into ":", and nothing else changed.
///   a;;b  =>  a::b
[[nodiscard]] std::string ToColons(std::string text);

}  // namespace KVLInsIO
