// Makes names and texts of any bytes fit for a terminal and for JSON.
#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

namespace kvl {

/// Returns one line of UTF-8 from which the exact bytes can be restored. A backslash becomes two.
/// "\x" and two digits replace each byte outside of valid UTF-8 characters, and each byte of a
/// character that a terminal obeys instead of showing: control characters (U+0000 to U+001F, U+007F
/// to U+009F), direction controls (U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069) and
/// separators of lines and paragraphs (U+2028, U+2029).
///   a\b  =>  a\\b     (byte 255)  =>  \xFF     a(line feed)b  =>  a\x0Ab
std::string ToOneLine(std::string_view bytes);

/// Returns the bytes as they are, or of more than `longest` bytes the first ones and their number.
///   abcdef, 2  =>  ab... (6 bytes)
std::string Shortened(std::string_view bytes, std::size_t longest);

/// Returns the text of the failure without the line feeds at its end.
std::string MessageOf(const std::exception& failure);

}  // namespace kvl
