// Names and texts of any bytes, made fit for a terminal and for JSON.
#pragma once

#include <string>
#include <string_view>

namespace kvl {

/// UTF-8 that says exactly what the bytes are: each byte that is no part of a valid UTF-8 character
/// becomes "\x" and two digits, and a backslash becomes two.
///   a\b  =>  a\\b     (byte 255)  =>  \xFF
std::string ToUtf8(std::string_view bytes);

/// The same on one line: control characters are written as such bytes, too.
///   a(line feed)b  =>  a\x0Ab
std::string ToOneLine(std::string_view bytes);

}  // namespace kvl
