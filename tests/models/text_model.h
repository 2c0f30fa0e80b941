// Numbers, lines and replacements in texts, once more and slowly.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// The number that a text begins with, as strtol reads it.
struct NumberModel {
  bool has_digit = false;
  std::optional<std::int32_t> value = {};  ///< nothing when it does not fit
};
NumberModel ModelOfNumber(std::string_view text);

/// All lines, each without its line end and one carriage return before it.
std::vector<std::string> ModelOfLines(std::string_view contents);

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
