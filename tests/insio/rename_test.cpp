#include "insio/rename.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::Rename;

TEST(Rename, GivesAFileAnotherName) {
  const ScopedUmask umask(022);
  const TestDirectory directory;
  Rename(directory.Write("old", "text"), directory.Path("new"));
  EXPECT_THAT(DescribeTree(directory.Path()), ElementsAre("f 644 new = text"));
}

TEST(Rename, ReplacesAnExistingFile) {
  const ScopedUmask umask(022);
  const TestDirectory directory;
  directory.Write("new", "replaced");
  Rename(directory.Write("old", "text"), directory.Path("new"));
  EXPECT_THAT(DescribeTree(directory.Path()), ElementsAre("f 644 new = text"));
}

TEST(Rename, MovesADirectoryWithItsContents) {
  const ScopedUmask umask(022);
  const TestDirectory directory;
  directory.Write("old/file", "text");
  directory.MakeDir("other");
  Rename(directory.Path("old"), directory.Path("other/new"));
  EXPECT_THAT(DescribeTree(directory.Path()),
              ElementsAre("d 755 other", "d 755 other/new", "f 644 other/new/file = text"));
}

TEST(Rename, MovesALinkItself) {
  const ScopedUmask umask(022);
  const TestDirectory directory;
  directory.Write("target", "text");
  Rename(directory.Link("link", "target"), directory.Path("moved"));
  Rename(directory.Link("dangling", "nowhere"), directory.Path("still_dangling"));
  EXPECT_THAT(
      DescribeTree(directory.Path()),
      ElementsAre("f 644 target = text", "l moved -> target", "l still_dangling -> nowhere"));
}

TEST(Rename, TakesItsPathsAsGiven) {
  const ScopedUmask umask(022);
  const TestDirectory directory;
  directory.MakeDir("a");
  Rename(directory.Write("x\\y", "text"), directory.Path("a\\b"));
  EXPECT_THAT(DescribeTree(directory.Path()), ElementsAre("d 755 a", "f 644 a\\b = text"));
}

TEST(Rename, RefusesEmptyPathsTheSourceFirst) {
  const TestDirectory directory;
  const std::string file = directory.Write("file", "");
  EXPECT_EQ(FailureOf([&] { Rename("", file); }), Exception("Rename - empty source path"));
  EXPECT_EQ(FailureOf([&] { Rename("", ""); }), Exception("Rename - empty source path"));
  EXPECT_EQ(FailureOf([&] { Rename(file, ""); }), Exception("Rename - empty destination path"));
}

TEST(Rename, FailsWithItsMessageAndChangesNothing) {
  struct Row {
    std::string source, destination;
    int error;
  };
  const std::vector<Row> rows = {
      {"missing", "new", ENOENT},
      {"file", "missing/new", ENOENT},
      {"file//", "new", ENOTDIR},
      {"file", "directory", EISDIR},
      {"directory", "file", ENOTDIR},
      {"directory", "directory/inside_itself", EINVAL},
      {"file", TooLongName(), ENAMETOOLONG},
  };
  const EveryKind world;
  const auto before = DescribeTreeExactly(world.Path());
  for (const Row& row : rows) {
    const std::string source = world.Path(row.source), destination = world.Path(row.destination);
    EXPECT_EQ(FailureOf([&] { Rename(source, destination); }),
              Exception("rename - " + source + " to " + destination, row.error));
  }
  EXPECT_EQ(DescribeTreeExactly(world.Path()), before);
}

}  // namespace
}  // namespace kvl::test
