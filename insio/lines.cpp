#include "insio/lines.h"

#include <utility>

namespace KVLInsIO::internal {

std::size_t ReplaceAll(std::string& text, std::string_view what, std::string_view with,
                       std::size_t start) {
  std::size_t match = what.empty() ? std::string::npos : text.find(what, start);
  if (match == std::string::npos) return 0;

  std::size_t count = 0;
  std::string result;
  std::size_t copied = 0;
  for (; match != std::string::npos; match = text.find(what, copied)) {
    result.append(text, copied, match - copied).append(with);
    copied = match + what.size();
    ++count;
  }
  result.append(text, copied);
  text = std::move(result);
  return count;
}

std::istream& ReadLine(std::istream& stream, std::string& line) {
  if (!std::getline(stream, line)) return stream;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return stream;
}

}  // namespace KVLInsIO::internal
