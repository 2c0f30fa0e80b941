#include "insio/rename.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/in_own_directory.h"

namespace kvl::test {
namespace {

using KVLInsIO::Rename;

using RenameTest = InOwnDirectory;

TEST_F(RenameTest, GivesAFileAnotherNameAsItStandsAndReplacesOne) {
  MakeDir("a");
  Write("new", "replaced");
  Rename(Write("x\\y", "text"), Path("new"));
  Rename(Path("new"), Path("a\\b"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "f 644 a\\b = text"));
}

TEST_F(RenameTest, MovesADirectoryWithItsContentsAndALinkItself) {
  Write("old/file", "text");
  MakeDir("other");
  Rename(Path("old"), Path("other/new"));
  Rename(Link("link", "other"), Path("moved"));
  Rename(Link("dangling", "nowhere"), Path("still_dangling"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 other", "d 755 other/new", "f 644 other/new/file = text",
                                  "l moved -> other", "l still_dangling -> nowhere"));
}

TEST(Rename, FailsWithItsMessageAndChangesNothing) {
  const EveryKind world;
  const std::string file = world.Path("file"), directory = world.Path("directory");
  const auto no_renaming = [](const std::string& source, const std::string& destination,
                              int error) {
    EXPECT_EQ(FailureOf([&] { Rename(source, destination); }),
              Exception("rename - " + source + " to " + destination, error));
  };
  const auto before = DescribeTreeExactly(world.Path());
  no_renaming(world.Path("missing"), world.Path("new"), ENOENT);
  no_renaming(file, world.Path("missing/new"), ENOENT);
  no_renaming(file + "//", world.Path("new"), ENOTDIR);
  no_renaming(file, directory, EISDIR);
  no_renaming(directory, file, ENOTDIR);
  no_renaming(directory, directory + "/inside_itself", EINVAL);
  no_renaming(file, world.Path(TooLongName()), ENAMETOOLONG);
  EXPECT_EQ(FailureOf([&] { Rename("", file); }), Exception("Rename - empty source path"));
  EXPECT_EQ(FailureOf([&] { Rename("", ""); }), Exception("Rename - empty source path"));
  EXPECT_EQ(FailureOf([&] { Rename(file, ""); }), Exception("Rename - empty destination path"));
  EXPECT_EQ(DescribeTreeExactly(world.Path()), before);
}

}  // namespace
}  // namespace kvl::test
