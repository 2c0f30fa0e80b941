// Paths as plain text: the separators, and the conversions that need no path value.
//
// A path is a string of bytes. Nothing here asks the file system, and nothing here fails but for
// lack of memory.
#pragma once

#include <string>
#include <string_view>

namespace KVLInsIO {

inline constexpr std::string_view kPathSeparator = "/";
inline constexpr std::string_view kPathListSeparator = ":";
inline constexpr std::string_view kForeignPathSeparator = "\\";
inline constexpr std::string_view kForeignPathListSeparator = ";";
inline constexpr std::string_view kDoubledSeparator = "//";

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
std::string NormalizeString(std::string text);

/// A copy with every backslash turned into "/", and nothing else changed.   a\\b/  =>  a//b/
std::string ToSlashes(std::string text);

/// A copy with every ";" turned into ":", and nothing else changed.   a;;b  =>  a::b
std::string ToColons(std::string text);

}  // namespace KVLInsIO
