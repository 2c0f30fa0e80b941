// Lines of text and replacements in them. Internal to the program, not part of the library's installed
// interface.
#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>

namespace KVLInsIO::internal {

/// Replaces, in place, every occurrence of `what` at or behind the position `start`, left to right
/// and without overlap; what was put in is not searched again. Returns the number of replacements.
/// An empty `what` replaces nothing. Neither view may lie in `text`. Takes time in proportion to the
/// length of the result.
///   aaa, a by aa  =>  aaaaaa, 3
std::size_t ReplaceAll(std::string& text, std::string_view what, std::string_view with,
                       std::size_t start);

/// Reads up to the next line feed, which is consumed and not stored, and drops one carriage return
/// at the end of the line. A last line without a line feed is read like any other. Returns the
/// stream, which has failed when there was nothing left to read.
std::istream& ReadLine(std::istream& stream, std::string& line);

}  // namespace KVLInsIO::internal
