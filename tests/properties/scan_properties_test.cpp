#include "tests/models/scan_laws.h"
#include "tests/properties/property.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// More than most tables take.
constexpr std::size_t kBytesOfATable = 120;

TEST(ScanProperties, OfAnyMediaAgreeWithTheModel) {
  const TestDirectory directory;
  const auto any_byte = rc::gen::resize(rc::kNominalSize, rc::gen::arbitrary<std::uint8_t>());
  CheckProperty(0.7, [&] {
    const auto bytes = *rc::gen::container<std::vector<std::uint8_t>>(kBytesOfATable, any_byte);
    ByteSource source(bytes.data(), bytes.size());
    CheckScanLaws(DecodeScanTable(source), directory.Path());
  });
}

}  // namespace
}  // namespace kvl::test
