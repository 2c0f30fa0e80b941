// The targets that need files.
#include "tests/fuzz/targets.h"
#include "tests/models/byte_source.h"
#include "tests/models/laws.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// A single directory for all inputs, because there are millions.
const std::string& WorkPlace() {
  static const TestDirectory directory;
  return directory.Path();
}

}  // namespace

void FuzzReplaceInLines(const std::uint8_t* data, std::size_t size) {
  ByteSource bytes(data, size);
  const std::string what = bytes.Text(), with = bytes.Text(), contents = bytes.Text();
  CheckReplaceInLinesLaws(WorkPlace(), contents, what, with);
}

void FuzzMarker(const std::uint8_t* data, std::size_t size) {
  CheckMarkerLaws(WorkPlace(), std::string(data, data + size));
}

void FuzzScan(const std::uint8_t* data, std::size_t size) {
  ByteSource bytes(data, size);
  CheckScanLaws(DecodeScanTable(bytes), WorkPlace());
}

}  // namespace kvl::test
