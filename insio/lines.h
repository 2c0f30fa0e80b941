// Lines of text and replacements in them. Internal: the library does not install this header.
#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>

namespace KVLInsIO::internal {

/// Replaces every occurrence of `what` from the position `start` on, left to right and without
/// overlap. Does not search what it put in. Returns the number of replacements. An empty `what`
/// replaces nothing. Neither view may point into `text`. Takes time in proportion to the length of
/// the result.
///   aaa, a by aa  =>  aaaaaa, 3
std::size_t ReplaceAll(std::string& text, std::string_view what, std::string_view with,
                       std::size_t start);

/// Reads up to the next line feed, consumes that without storing it, and drops one carriage return
/// at the end of the line. Reads a last line without a line feed like any other. Returns the
/// stream, which is in a failed state if nothing was left to read.
std::istream& ReadLine(std::istream& stream, std::string& line);

}  // namespace KVLInsIO::internal
