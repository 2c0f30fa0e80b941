#include "insio/create_dir.h"

#include "insio/create_new_dir.h"
#include "tests/insio/every_kind.h"
#include "tests/insio/in_own_directory.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;
using internal::CreateNewDirExactly;

using CreateDirTest = InOwnDirectory;

/// Returns "step/step/.../step" with so many names.
std::string Steps(const std::string& step, int count) {
  std::string path = step;
  for (int i = 1; i < count; ++i) path += "/" + step;
  return path;
}

Failure FailureOfMaking(const std::string& path) {
  return FailureOf([&] { CreateDir(path); });
}

TEST_F(CreateDirTest, MakesADirectoryAndItsMissingAncestors) {
  CreateDir(Path("a/b/c"));
  CreateDir(Path("a/b/d"));
  CreateDir(Link("link", "a") + "/e");
  EXPECT_EQ(FailureInside([] {
              CreateDir("x");
              CreateDir("y/./z");
              CreateDir("up/../down");
              CreateDir("c/\"d\"/e");  // quotes that do not enclose an ancestor stay
              CreateDir("\"f'/g");
            }),
            kNoFailure);
  EXPECT_THAT(Tree(), ElementsAre("d 755 \"f'", "d 755 \"f'/g", "d 755 a", "d 755 a/b",
                                  "d 755 a/b/c", "d 755 a/b/d", "d 755 a/e", "d 755 c",
                                  "d 755 c/\"d\"", "d 755 c/\"d\"/e", "d 755 down", "d 755 up",
                                  "d 755 x", "d 755 y", "d 755 y/z", "l link -> a"));
}

TEST_F(CreateDirTest, GivesMode755LessTheUmask) {
  for (const mode_t mask : {0U, 027U}) {
    const ScopedUmask umask(mask);
    const std::string name = std::to_string(mask);
    CreateDir(Path(name + "/a"));
    CreateDirExactly(Path(name + "/b/c"));
    for (const std::string made : {"", "/a", "/b", "/b/c"}) {
      EXPECT_EQ(ModeOf(Path(name + made)), 0755 & ~mask) << made;
    }
  }
}

TEST_F(CreateDirTest, LeavesAnExistingDirectoryAsItIs) {
  Write("a/file", "text");
  SetMode(Path("a"), 0700);
  Link("link", "a");
  Link("dangling", "nowhere");  // mkdir takes it for a directory made meanwhile
  const Unchanged tree(Path());
  for (const std::string name : {"a", "a/", "link", "link/", ".", "dangling"}) {
    CreateDir(Path(name));
    CreateDirExactly(Path(name));
  }
  CreateDir("/");
  CreateDirExactly("/");
  EXPECT_EQ(FailureInside([] { CreateDir("."); }), kNoFailure);
}

TEST_F(CreateDirTest, NormalisesItsPathAlsoInItsMessages) {
  Write("file", "");
  CreateDir("\"" + Path("a\\b//c/") + "\"");
  EXPECT_EQ(FailureOfMaking("'" + Path("a\\\\..//file/") + "'"),
            Exception("CreateDir - " + Path("a/../file") + " is not a directory."));
  EXPECT_EQ(FailureOfMaking(Path("file\\x//y/")),
            Exception("mkdir - " + Path("file/x/y"), ENOTDIR));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/b", "d 755 a/b/c", "f 644 file = "));
}

TEST_F(CreateDirTest, OfADotMakesTheParentsAndNothingElse) {
  Write("file", "text");
  CreateDir(Path("a/b/."));
  CreateDir(Path("file/."));
  // FileName() drops the first letter of the only name, and leaves a dot here.
  EXPECT_EQ(FailureAsOrdinaryUser([] { CreateDir("/k."); }), kNoFailure);
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/b", "f 644 file = text"));
}

// CreateDir makes each ancestor as if it was called for it, and so drops quotes around these.
TEST_F(CreateDirTest, DropsTheQuotesAroundAnAncestor) {
  struct Row {
    std::string path;
    std::vector<std::string> made;
  };
  for (const Row& row : std::vector<Row>{
           {"\"a\"/b", {"d 755 a"}},
           {"'a/b'/c/d", {"d 755 a", "d 755 a/b"}},
           {"'a/'/b", {"d 755 a"}},
           {"''/a", {}},
           {"''a'/b'/c", {"d 755 a"}},
           {"'/a", {}},
       }) {
    EXPECT_EQ(FailureInside([&] { CreateDir(row.path); }),
              Exception("mkdir - " + row.path, ENOENT));
    EXPECT_EQ(Tree(), row.made) << row.path;
    fs::remove_all(Path("a"));
  }
}

TEST_F(CreateDirTest, RefusesAnEmptyPath) {
  for (const std::string path : {"", "''", "\"\"", "'"}) {
    EXPECT_EQ(FailureOfMaking(path), Exception("CreateDir - empty path")) << path;
  }
  EXPECT_EQ(FailureOf([] { CreateDirExactly(""); }), Exception("CreateDir - empty path"));
}

TEST(CreateDir, RefusesWhatExistsAndIsNoDirectory) {
  const EveryKind world;
  const Unchanged tree(world.Path());
  for (const std::string name : {"file", "link_to_file", "pipe", "link_to_pipe", "socket"}) {
    const std::string path = world.Path(name);
    const Failure expected = Exception("CreateDir - " + path + " is not a directory.");
    EXPECT_EQ(FailureOfMaking(path), expected);
    EXPECT_EQ(FailureOf([&] { CreateDirExactly(path); }), expected);
  }
}

TEST(CreateDir, ReportsTheWholePathWhenAnAncestorCannotBeMade) {
  const EveryKind world;
  const Unchanged tree(world.Path());
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
    EXPECT_EQ(FailureOfMaking(path), Exception("mkdir - " + path, error));
    EXPECT_EQ(FailureOf([&] { CreateDirExactly(path); }), Exception("mkdir - " + path, error));
  }
}

TEST_F(CreateDirTest, ReportsAParentThatIsClosedToTheUser) {
  SetMode(Path(), 0555);
  EXPECT_EQ(FailureAsOrdinaryUser([] { CreateDir("a/b"); }), Exception("mkdir - a/b", ENOENT));
  EXPECT_EQ(FailureAsOrdinaryUser([] { CreateDir("a"); }), Exception("mkdir - a", EACCES));
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST_F(CreateDirTest, EndsOnATooLongPathAndKeepsHundredsOfAncestors) {
  Write("file", "");
  Write("'", "");
  for (const std::string& path :
       {"file/" + Steps("d", 50'000), "'/" + Steps("d", 50'000), Path("a/" + Steps("name", 20'000)),
        Path("b/" + std::string(100'000, 'n'))}) {
    EXPECT_EQ(FailureInside([&] { CreateDir(path); }), Exception("mkdir - " + path, ENAMETOOLONG));
  }
  EXPECT_TRUE(fs::is_directory(Path("a/" + Steps("name", 700))));
  EXPECT_TRUE(fs::is_empty(Path("b")));
}

TEST_F(CreateDirTest, ExactlyTakesThePathAsItStands) {
  EXPECT_EQ(
      FailureInside([] {
        for (const std::string name : {"'quoted'", "\"q\"/sub", "'", "a\\b//c/", "a\\b/d/e"}) {
          CreateDirExactly(name);
        }
      }),
      kNoFailure);
  EXPECT_THAT(Tree(), ElementsAre("d 755 \"q\"", "d 755 \"q\"/sub", "d 755 '", "d 755 'quoted'",
                                  "d 755 a\\b", "d 755 a\\b/c", "d 755 a\\b/d", "d 755 a\\b/d/e"));
  const std::string file = Write("file", "");
  EXPECT_EQ(FailureOf([&] { CreateDirExactly(file + "//x"); }),
            Exception("mkdir - " + file + "//x", ENOTDIR));
}

TEST_F(CreateDirTest, TellsInCreateNewDirExactlyWhetherThisCallMadeIt) {
  EXPECT_TRUE(CreateNewDirExactly(Path("a\\b")));
  for (const std::string& other : {Path("a\\b"), Path("missing/x"), Link("dangling", "nowhere"),
                                   Path("a\\b/."), std::string()}) {
    EXPECT_FALSE(CreateNewDirExactly(other)) << other;
  }
  EXPECT_THAT(Tree(), ElementsAre("d 755 a\\b", "l dangling -> nowhere"));
}

}  // namespace
}  // namespace kvl::test
