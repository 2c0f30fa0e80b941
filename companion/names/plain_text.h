// Names and texts of any bytes, made fit for a terminal and for JSON.
#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

namespace kvl {

/// One line of UTF-8 that says exactly what the bytes are. A backslash becomes two. "\x" and two
/// digits stand for each byte that is no part of a valid UTF-8 character, and for each byte of a
/// character that a terminal obeys instead of showing it: the control characters (U+0000 to U+001F,
/// U+007F to U+009F), the controls of direction (U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to
/// U+2069) and the separators of lines and paragraphs (U+2028, U+2029).
///   a\b  =>  a\\b     (byte 255)  =>  \xFF     a(line feed)b  =>  a\x0Ab
std::string ToOneLine(std::string_view bytes);

/// The bytes as they are, or of more than `longest` the first ones and how many there are.
///   abcdef, 2  =>  ab... (6 bytes)
std::string Shortened(std::string_view bytes, std::size_t longest);

/// What it says, without the line feed that the library ends its messages with.
std::string MessageOf(const std::exception& failure);

}  // namespace kvl
