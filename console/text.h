// Small operations on text that several folders share. They keep no state.
#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <string_view>

namespace kvl {

/// The number at the start of `text`, in base 10 as strtol reads it: leading white space, one sign,
/// digits; what follows is ignored. `fallback` when there is no digit or the number does not fit.
/// Never throws; errno is left as it was unless strtol reported a range error.
///   7  =>  7     " 7"  =>  7     12abc  =>  12     (empty), abc, 99999999999  =>  fallback
std::int32_t ToIntOr(const std::string& text, std::int32_t fallback);

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

}  // namespace kvl
