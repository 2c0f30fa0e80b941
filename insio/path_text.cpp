#include "insio/path_text.h"

#include <algorithm>

namespace KVLInsIO {
namespace {

constexpr char kOwnPathSeparator = '/';

void DropOnePairOfQuotes(std::string& text) {
  if (text.empty() || text.front() != text.back()) return;
  const bool in_double_quotes = text.front() == '"' && text.size() > 1;
  const bool in_single_quotes = text.front() == '\'';
  if (!in_double_quotes && !in_single_quotes) return;
  text.pop_back();
  text.erase(0, 1);  // erases nothing if a lone quote was both first and last
}

void CollapseSlashes(std::string& text) {
  const auto both_slashes = [](char left, char right) {
    return left == kOwnPathSeparator && right == kOwnPathSeparator;
  };
  text.erase(std::unique(text.begin(), text.end(), both_slashes), text.end());
}

}  // namespace

std::string NormalizeString(std::string text) {
  DropOnePairOfQuotes(text);
  std::replace(text.begin(), text.end(), kForeignPathSeparator.front(), kOwnPathSeparator);
  CollapseSlashes(text);
  if (text.size() > 1 && text.back() == kOwnPathSeparator) text.pop_back();
  return text;
}

std::string ToSlashes(std::string text) {
  std::replace(text.begin(), text.end(), kForeignPathSeparator.front(), kPathSeparator.front());
  return text;
}

std::string ToColons(std::string text) {
  std::replace(text.begin(), text.end(), kForeignPathListSeparator.front(),
               kPathListSeparator.front());
  return text;
}

}  // namespace KVLInsIO
