#include "companion/make/volume_size.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>
#include <system_error>

#include "companion/make/payload_list.h"

namespace kvl {
namespace {

struct Named {
  std::string_view name;
  std::uint64_t bytes;
};

constexpr Named kDiscs[] = {{"cd", kCd}, {"dvd", kDvd}, {"dvd-dl", kDvdOfTwoLayers}};
constexpr Named kUnits[] = {
    {"", 1},       {"K", 1U << 10U},  {"M", 1U << 20U},     {"G", 1U << 30U},
    {"KB", 1'000}, {"MB", 1'000'000}, {"GB", 1'000'000'000}};

/// Returns 0 for an unknown name.
template <std::size_t kCount>
std::uint64_t BytesOf(std::string_view name, const Named (&all)[kCount]) {
  const auto* const found = std::ranges::find(all, name, &Named::name);
  return found == std::end(all) ? 0 : found->bytes;
}

}  // namespace

std::uint64_t ParseVolumeSize(const std::string& text) {
  if (const std::uint64_t disc = BytesOf(text, kDiscs); disc != 0) return disc;
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [letters, error] = std::from_chars(text.data(), end, number);
  const std::uint64_t unit = BytesOf({letters, end}, kUnits);
  if (error != std::errc() || unit == 0 || number == 0 || number > UINT64_MAX / unit) {
    throw CannotMake("--volume-size is not a size: " + text +
                     "; give a whole number, also with K, M, G, KB, MB or GB, or one of cd, dvd "
                     "and dvd-dl");
  }
  return number * unit;
}

}  // namespace kvl
