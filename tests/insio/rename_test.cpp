#include "insio/rename.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/in_own_directory.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

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
  const Unchanged tree(world.Path());
  const std::vector<std::tuple<std::string, std::string, int>> rows = {
      {world.Path("missing"), world.Path("new"), ENOENT},
      {file, world.Path("missing/new"), ENOENT},
      {file + "//", world.Path("new"), ENOTDIR},
      {file, directory, EISDIR},
      {directory, file, ENOTDIR},
      {directory, directory + "/inside_itself", EINVAL},
      {file, world.Path(TooLongName()), ENAMETOOLONG}};
  for (const auto& [from, to, error] : rows) {
    EXPECT_EQ(FailureOf([&from = from, &to = to] { Rename(from, to); }),
              Exception("rename - " + from + " to " + to, error));
  }
  ExpectFailures({{[&] { Rename("", file); }, Exception("Rename - empty source path")},
                  {[&] { Rename("", ""); }, Exception("Rename - empty source path")},
                  {[&] { Rename(file, ""); }, Exception("Rename - empty destination path")}});
}

}  // namespace
}  // namespace kvl::test
