#include "media/installer_search.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::InsPath;

TEST(InstallerIn, JoinsThePartsWithSingleSlashes) {
  struct Row {
    const char *media_dir, *os_name, *executable, *installer;
  };
  const std::vector<Row> rows = {
      {"/m", "linux", "x", "/m/inst/linux/code/bin/x"},
      {"m/1", "linux", "x", "m/1/inst/linux/code/bin/x"},
      {"/", "linux", "x", "/inst/linux/code/bin/x"},
      {"", "", "x", "/inst/code/bin/x"},
      {"/m", "", "x", "/m/inst/code/bin/x"},
      {"/m", "linux", "", "/m/inst/linux/code/bin"},
      {"", "", "", "/inst/code/bin"},
      {"/m", "a//b/", "/sub\\x/", "/m/inst/a/b/code/bin/sub/x"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(InstallerIn(InsPath(row.media_dir), row.os_name, row.executable), row.installer);
  }
}

}  // namespace
}  // namespace kvl::test
