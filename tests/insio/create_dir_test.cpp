#include "insio/create_dir.h"

#include "insio/create_new_dir.h"
#include "insio/entry.h"
#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::CreateDir;
using KVLInsIO::CreateDirExactly;

/// An empty directory to create things in.
class CreateDirTest : public testing::Test {
 protected:
  std::vector<std::string> Tree() const { return DescribeTree(directory_.Path()); }

  ScopedUmask umask_{022};
  TestDirectory directory_;
};

/// "step/step/.../step", so many times.
std::string Steps(const std::string& step, int count) {
  std::string path = step;
  for (int i = 1; i < count; ++i) path += "/" + step;
  return path;
}

TEST_F(CreateDirTest, MakesADirectoryAndItsMissingAncestors) {
  CreateDir(directory_.Path("a/b/c"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/b", "d 755 a/b/c"));
}

TEST_F(CreateDirTest, GivesMode755LessTheUmask) {
  const std::vector<std::pair<mode_t, unsigned>> rows = {{0, 0755}, {027, 0750}, {077, 0700}};
  for (const auto& [mask, mode] : rows) {
    const ScopedUmask umask(mask);
    const std::string ancestor = directory_.Path(std::to_string(mask));
    CreateDir(ancestor + "/a");
    EXPECT_EQ(ModeOf(ancestor), mode);
    EXPECT_EQ(ModeOf(ancestor + "/a"), mode);
  }
}

TEST_F(CreateDirTest, LeavesAnExistingDirectoryAsItIs) {
  directory_.Write("a/file", "text");
  SetMode(directory_.Path("a"), 0700);
  const auto before = DescribeTreeExactly(directory_.Path());
  CreateDir(directory_.Path("a"));
  CreateDir(directory_.Path("."));
  CreateDir("/");
  EXPECT_EQ(DescribeTreeExactly(directory_.Path()), before);
}

TEST_F(CreateDirTest, TwiceIsTheSameAsOnce) {
  CreateDir(directory_.Path("a/b"));
  const auto once = DescribeTreeExactly(directory_.Path());
  CreateDir(directory_.Path("a/b"));
  EXPECT_EQ(DescribeTreeExactly(directory_.Path()), once);
}

TEST_F(CreateDirTest, FollowsLinksToDirectories) {
  directory_.MakeDir("a");
  directory_.Link("link", "a");
  CreateDir(directory_.Path("link"));
  CreateDir(directory_.Path("link/b"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/b", "l link -> a"));
}

TEST_F(CreateDirTest, NormalisesItsPath) {
  CreateDir("\"" + directory_.Path("a\\b//c/") + "\"");
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/b", "d 755 a/b/c"));
}

TEST_F(CreateDirTest, TakesRelativePaths) {
  const Failure failure = IsolatedFailureOf([this] {
    Enter(directory_);
    CreateDir("a");
    CreateDir("b/c");
    CreateDir(".");
  });
  EXPECT_EQ(failure, kNoFailure);
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 b", "d 755 b/c"));
}

TEST_F(CreateDirTest, OfADotMakesTheParentsAndNothingElse) {
  CreateDir(directory_.Path("a/b/."));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/b"));
}

TEST_F(CreateDirTest, OfADotBelowAFileDoesNothing) {
  directory_.Write("file", "text");
  CreateDir(directory_.Path("file/."));
  EXPECT_THAT(Tree(), ElementsAre("f 644 file = text"));
}

TEST_F(CreateDirTest, GoesThroughDotsOnTheWay) {
  CreateDir(directory_.Path("a/./b"));
  CreateDir(directory_.Path("c/../d"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/b", "d 755 c", "d 755 d"));
}

// The name of a first component is taken without its first letter, and a dot is what remains here.
TEST_F(CreateDirTest, TakesAFirstComponentOfALetterAndADotForADot) {
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              CreateDir("/k.");
            }),
            kNoFailure);
}

// Each ancestor is made as if it had been asked for: of these, the quotes go.
TEST_F(CreateDirTest, DropsTheQuotesAroundAnAncestor) {
  struct Row {
    std::string path, fails_as;
    std::vector<std::string> made;
  };
  for (const Row& row : {Row{"\"a\"/b", "\"a\"/b", {"d 755 a"}},
                         Row{"'a/b'/c/d", "'a/b'/c/d", {"d 755 a", "d 755 a/b"}},
                         Row{"'a/'/b", "'a/'/b", {"d 755 a"}}, Row{"''/a", "''/a", {}},
                         Row{"''a'/b'/c", "''a'/b'/c", {"d 755 a"}}, Row{"'/a", "'/a", {}}}) {
    SCOPED_TRACE(row.path);
    EXPECT_EQ(IsolatedFailureOf([&] {
                Enter(directory_);
                CreateDir(row.path);
              }),
              Exception("mkdir - " + row.fails_as, ENOENT));
    EXPECT_EQ(Tree(), row.made);
    std::filesystem::remove_all(directory_.Path("a"));
  }
}

TEST_F(CreateDirTest, LeavesOtherQuotesOfAnAncestor) {
  EXPECT_EQ(IsolatedFailureOf([this] {
              Enter(directory_);
              CreateDir("\"a'/b");
              CreateDir("c/\"d\"/e");
            }),
            kNoFailure);
  EXPECT_THAT(Tree(), ElementsAre("d 755 \"a'", "d 755 \"a'/b", "d 755 c", "d 755 c/\"d\"",
                                  "d 755 c/\"d\"/e"));
}

TEST_F(CreateDirTest, RefusesAnEmptyPath) {
  for (const std::string path : {"", "''", "\"\"", "'"}) {
    EXPECT_EQ(FailureOf([&] { CreateDir(path); }), Exception("CreateDir - empty path")) << path;
  }
}

TEST(CreateDir, RefusesWhatExistsAndIsNoDirectory) {
  const EveryKind world;
  const auto before = DescribeTreeExactly(world.Path());
  for (const std::string name : {"file", "link_to_file", "pipe", "link_to_pipe", "socket"}) {
    const std::string path = world.Path(name);
    EXPECT_EQ(FailureOf([&] { CreateDir(path); }),
              Exception("CreateDir - " + path + " is not a directory."));
  }
  EXPECT_EQ(DescribeTreeExactly(world.Path()), before);
}

TEST(CreateDir, NamesTheNormalisedPathInItsMessages) {
  const EveryKind world;
  EXPECT_EQ(FailureOf([&] { CreateDir("'" + world.Path("directory\\\\..//file/") + "'"); }),
            Exception("CreateDir - " + world.Path("directory/../file") + " is not a directory."));
  EXPECT_EQ(FailureOf([&] { CreateDir(world.Path("file\\x//y/")); }),
            Exception("mkdir - " + world.Path("file/x/y"), ENOTDIR));
}

TEST(CreateDir, TakesADanglingLinkForADirectoryMadeMeanwhile) {
  const EveryKind world;
  const auto before = DescribeTreeExactly(world.Path());
  CreateDir(world.Path("dangling_link"));
  EXPECT_EQ(DescribeTreeExactly(world.Path()), before);
}

TEST(CreateDir, ReportsTheWholePathWhenAnAncestorCannotBeMade) {
  const EveryKind world;
  const auto before = DescribeTreeExactly(world.Path());
  const std::vector<std::pair<std::string, int>> rows = {
      {"file/x", ENOTDIR},
      {"file/x/y/z", ENOTDIR},
      {"dangling_link/x", ENOENT},
      {"link_to_self/x", ELOOP},
      {"file/../x", ENOTDIR},
      {TooLongName(), ENAMETOOLONG},
      {TooLongName() + "/x", ENAMETOOLONG},
  };
  for (const auto& [name, error] : rows) {
    const std::string path = world.Path(name);
    EXPECT_EQ(FailureOf([&] { CreateDir(path); }), Exception("mkdir - " + path, error));
  }
  EXPECT_EQ(DescribeTreeExactly(world.Path()), before);
}

TEST_F(CreateDirTest, LeavesTheAncestorsThatItMadeBeforeAFailure) {
  const std::string path = directory_.Path("a/b/" + TooLongName());
  EXPECT_EQ(FailureOf([&] { CreateDir(path); }), Exception("mkdir - " + path, ENAMETOOLONG));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/b"));
}

TEST_F(CreateDirTest, ReportsAParentThatIsClosedToTheUser) {
  SetMode(directory_.Path(), 0555);
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              CreateDir("a/b");
            }),
            Exception("mkdir - a/b", ENOENT));
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              CreateDir("a");
            }),
            Exception("mkdir - a", EACCES));
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST_F(CreateDirTest, MakesSeveralHundredLevels) {
  CreateDir(directory_.Path(Steps("d", 700)));
  const std::filesystem::recursive_directory_iterator all(directory_.Path());
  EXPECT_EQ(std::distance(begin(all), end(all)), 700);
  EXPECT_TRUE(std::filesystem::is_directory(directory_.Path(Steps("d", 700))));
}

TEST_F(CreateDirTest, EndsWithItsMessageOnAPathOfFiftyThousandNames) {
  const std::string path = directory_.Write("file", "text") + "/" + Steps("d", 50'000);
  EXPECT_EQ(FailureOf([&] { CreateDir(path); }), Exception("mkdir - " + path, ENAMETOOLONG));
  EXPECT_THAT(Tree(), ElementsAre("f 644 file = text"));
}

TEST_F(CreateDirTest, EndsWithItsMessageOnAPathOfFiftyThousandNamesThatBeginsWithAQuote) {
  directory_.Write("'", "");
  const std::string path = "'/" + Steps("d", 50'000);
  EXPECT_EQ(IsolatedFailureOf([&] {
              Enter(directory_);
              CreateDir(path);
            }),
            Exception("mkdir - " + path, ENAMETOOLONG));
}

TEST_F(CreateDirTest, EndsWithItsMessageOnAPathOfAHundredThousandBytes) {
  const std::string name(199, 'n');
  const std::string path = directory_.Path(Steps(name, 500));
  EXPECT_EQ(FailureOf([&] { CreateDir(path); }), Exception("mkdir - " + path, ENAMETOOLONG));
  EXPECT_TRUE(std::filesystem::is_directory(directory_.Path(Steps(name, 15))));
}

TEST_F(CreateDirTest, EndsWithItsMessageOnANameOfAHundredThousandBytes) {
  const std::string path = directory_.Path("a/" + std::string(100'000, 'n'));
  EXPECT_EQ(FailureOf([&] { CreateDir(path); }), Exception("mkdir - " + path, ENAMETOOLONG));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a"));
}

using CreateDirExactlyTest = CreateDirTest;

TEST_F(CreateDirExactlyTest, MakesADirectoryWithMode755LessTheUmask) {
  CreateDirExactly(directory_.Path("a"));
  const ScopedUmask umask(027);
  CreateDirExactly(directory_.Path("a/b"));
  EXPECT_THAT(Tree(), ElementsAre("d 750 a/b", "d 755 a"));
}

TEST_F(CreateDirExactlyTest, LeavesAnExistingDirectoryAsItIs) {
  directory_.Write("a/file", "text");
  SetMode(directory_.Path("a"), 0700);
  directory_.Link("link", "a");
  const auto before = DescribeTreeExactly(directory_.Path());
  for (const std::string name : {"a", "a/", "link", "link/", "."}) {
    CreateDirExactly(directory_.Path(name));
  }
  CreateDirExactly("/");
  EXPECT_EQ(DescribeTreeExactly(directory_.Path()), before);
}

TEST_F(CreateDirExactlyTest, TakesThePathAsItStands) {
  const Failure failure = IsolatedFailureOf([this] {
    Enter(directory_);
    for (const std::string name : {"a\\b", "'quoted'", "\"q\"", "'", "a\\b//c/"})
      CreateDirExactly(name);
  });
  EXPECT_EQ(failure, kNoFailure);
  EXPECT_THAT(Tree(), ElementsAre("d 755 \"q\"", "d 755 '", "d 755 'quoted'", "d 755 a\\b",
                                  "d 755 a\\b/c"));
}

TEST(CreateDirExactly, RefusesWhatExistsAndIsNoDirectory) {
  const EveryKind world;
  const auto before = DescribeTreeExactly(world.Path());
  for (const Kind& kind : kEveryKind) {
    // A dangling link is taken for something that exists, as by CreateDir.
    if ((kind.type & 1) != 0 || !KVLInsIO::Exists(world.Path(kind.name))) continue;
    const std::string path = world.Path(kind.name);
    EXPECT_EQ(FailureOf([&] { CreateDirExactly(path); }),
              Exception("CreateDir - " + path + " is not a directory."));
  }
  EXPECT_EQ(DescribeTreeExactly(world.Path()), before);
}

TEST(CreateDirExactly, ReportsWhatCannotBeMadeWithThePathAsGiven) {
  const EveryKind world;
  const auto before = DescribeTreeExactly(world.Path());
  const std::vector<std::pair<std::string, int>> rows = {
      {world.Path("file//x"), ENOTDIR},
      {world.Path("dangling_link/x"), ENOENT},
      {world.Path("link_to_self/x"), ELOOP},
      {world.Path(TooLongName()), ENAMETOOLONG},
  };
  for (const auto& [path, error] : rows) {
    EXPECT_EQ(FailureOf([&, &path = path] { CreateDirExactly(path); }),
              Exception("mkdir - " + path, error));
  }
  EXPECT_EQ(DescribeTreeExactly(world.Path()), before);
}

TEST_F(CreateDirExactlyTest, MakesMissingAncestorsToo) {
  CreateDirExactly(directory_.Path("a\\b/c/d"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a\\b", "d 755 a\\b/c", "d 755 a\\b/c/d"));
}

TEST(CreateDirExactly, RefusesAnEmptyPath) {
  EXPECT_EQ(FailureOf([] { CreateDirExactly(""); }), Exception("CreateDir - empty path"));
}

TEST_F(CreateDirExactlyTest, OfANewOneTellsWhetherThisCallHasMadeIt) {
  const std::string path = directory_.Path("a\\b");
  EXPECT_TRUE(KVLInsIO::internal::CreateNewDirExactly(path));
  EXPECT_FALSE(KVLInsIO::internal::CreateNewDirExactly(path));
  directory_.Link("dangling", "nowhere");
  for (const std::string& other : {directory_.Path("missing/x"), directory_.Path("dangling"),
                                   directory_.Path("a\\b/."), std::string()}) {
    EXPECT_FALSE(KVLInsIO::internal::CreateNewDirExactly(other)) << other;
  }
  EXPECT_THAT(Tree(), ElementsAre("d 755 a\\b", "l dangling -> nowhere"));
}

}  // namespace
}  // namespace kvl::test
