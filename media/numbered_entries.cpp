#include "media/numbered_entries.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>
#include <vector>

#include "insio/finder.h"

namespace kvl {
namespace {

/// For this many numbers, listing the directory is quicker than looking for each.
constexpr VolumeNumber kManyNumbers = 100;

char ToLower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool EqualInAnyCase(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char one, char other) { return ToLower(one) == ToLower(other); });
}

/// Returns the number if `name` consists of a number and the extension. It may be negative.
std::optional<VolumeNumber> NumberIn(std::string_view name, std::string_view extension) {
  VolumeNumber number = 0;
  const char* const end = name.data() + name.size();
  const auto [behind, error] = std::from_chars(name.data(), end, number);
  if (error != std::errc() || name.front() == '0') return std::nullopt;
  const std::string_view rest(behind, static_cast<std::size_t>(end - behind));
  return EqualInAnyCase(rest, extension) ? std::optional(number) : std::nullopt;
}

/// Returns the numbers of the range for which the directory has an entry, in ascending order.
/// Returns nothing if it cannot list the whole directory.
std::optional<std::vector<VolumeNumber>> ListNumbers(const std::string& directory,
                                                     std::string_view extension,
                                                     NumberRange range) {
  std::vector<VolumeNumber> numbers;
  const bool is_whole = KVLInsIO::ForEachName(directory, [&](std::string_view name) {
    const std::optional<VolumeNumber> number = NumberIn(name, extension);
    if (number && *number >= range.first && *number <= range.last) numbers.push_back(*number);
  });
  if (!is_whole) return std::nullopt;
  std::sort(numbers.begin(), numbers.end());
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());  // 2.txt and 2.TXT
  return numbers;
}

}  // namespace

void ForEachNumber(const KVLInsIO::InsPath& directory, std::string_view extension,
                   NumberRange range, const std::function<void(VolumeNumber)>& visit) {
  if (range.last - range.first >= kManyNumbers) {
    const std::string place = KVLInsIO::Join(directory.Str(), "").Str();
    if (const auto numbers = ListNumbers(place, extension, range)) {
      std::for_each(numbers->begin(), numbers->end(), visit);
      return;
    }
  }
  for (VolumeNumber number = range.first; number <= range.last; ++number) visit(number);
}

}  // namespace kvl
