#include "insio/entry.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/in_own_directory.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

using EntryTest = InOwnDirectory;

TEST(EntryType, IsASetOfThreeBits) {
  const std::vector<int> types = {kNoEntry,         kDirectory,       kFile,      kLink,
                                  kDirectoryOrFile, kLinkToDirectory, kLinkToFile};
  EXPECT_THAT(types, ElementsAre(0, 1, 2, 4, 3, 5, 6));
}

TEST(GetType, TellsEveryKindOfEntry) {
  const EveryKind world;
  for (const Kind& kind : kEveryKind) {
    SCOPED_TRACE(kind.name);
    EXPECT_EQ(GetType(world.Path(kind.name)), kind.type);
    EXPECT_EQ(IsFile(world.Path(kind.name)), (kind.type & 2) != 0);
    EXPECT_EQ(IsDirectory(world.Path(kind.name)), (kind.type & 1) != 0);
  }
  EXPECT_EQ(GetType("/dev/null"), 2);
  EXPECT_EQ(GetType(world.Path("link_to_directory/")), 1) << "with a slash it is the target";
}

TEST(GetType, FailsWithLstatsMessageAndRefusesAnEmptyPath) {
  const EveryKind world;
  const std::vector<std::pair<std::string, int>> rows = {
      {world.Path("missing"), ENOENT},           {world.Path("dangling_link/x"), ENOENT},
      {world.Path("file/x"), ENOTDIR},           {world.Path("link_to_self/x"), ELOOP},
      {world.Path(TooLongName()), ENAMETOOLONG}, {std::string(100'000, 'x'), ENAMETOOLONG},
      {world.Path("missing//"), ENOENT},         {"", 0}};
  for (const auto& row : rows) {
    const std::string& path = row.first;
    const Failure expected =
        path.empty() ? Exception("GetType - empty path") : Exception("lstat - " + path, row.second);
    ExpectFailures({{[&] { return GetType(path); }, expected},
                    {[&] { return IsFile(path); }, expected},
                    {[&] { return IsDirectory(path); }, expected}});
  }
}

/// Returns the kinds of entries for which the function returns true.
std::vector<std::string> KindsThatAre(const std::function<bool(const std::string&)>& question) {
  const EveryKind world;
  std::vector<std::string> names;
  for (const Kind& kind : kEveryKind) {
    if (question(world.Path(kind.name))) names.push_back(kind.name);
  }
  for (const std::string& path :
       {std::string(), world.Path("missing"), world.Path("missing/x"), world.Path("file/x"),
        world.Path("file/"), world.Path(TooLongName()), std::string(100'000, '/') + "x"}) {
    EXPECT_FALSE(question(path)) << path;
  }
  return names;
}

TEST(IsRegularFile, IsTrueForAFileAndALinkToOneAndNothingElse) {
  EXPECT_THAT(KindsThatAre(IsRegularFile), ElementsAre("file", "link_to_file"));
  EXPECT_FALSE(IsRegularFile("/dev/null"));
}

TEST(IsPipe, IsTrueForAPipeAndALinkToOneAndNothingElse) {
  EXPECT_THAT(KindsThatAre(IsPipe), ElementsAre("link_to_pipe", "pipe"));
  EXPECT_FALSE(IsPipe("/dev/null"));
}

TEST(Exists, FollowsLinks) {
  EXPECT_THAT(KindsThatAre(Exists),
              ElementsAre("directory", "file", "link_to_directory", "link_to_file", "link_to_link",
                          "link_to_pipe", "pipe", "socket"));
}

TEST(Exists, OfAnEmptyPathIsFalseWithoutAskingTheSystem) {
  errno = 0;
  const bool exists = Exists("");
  const int error = errno;
  EXPECT_FALSE(exists);
  EXPECT_EQ(error, 0);
}

TEST_F(EntryTest, ThatIsClosedToTheUserExistsAndNothingBehindItDoes) {
  Make({"closed/file"});
  SetMode(Path("closed"), 0);
  const auto look = [] {
    if (!Exists("closed") || Exists("closed/file")) throw std::runtime_error("wrong");
    return GetType("closed/file");
  };
  EXPECT_EQ(FailureAsOrdinaryUser(look), Exception("lstat - closed/file", EACCES));
}

}  // namespace
}  // namespace kvl::test
