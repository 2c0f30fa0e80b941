#include "insio/entry.h"

#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/surroundings.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::Exists;
using KVLInsIO::GetType;
using KVLInsIO::IsDirectory;
using KVLInsIO::IsFile;

TEST(EntryType, IsASetOfThreeBits) {
  EXPECT_EQ(KVLInsIO::kNoEntry, 0);
  EXPECT_EQ(KVLInsIO::kDirectory, 1);
  EXPECT_EQ(KVLInsIO::kFile, 2);
  EXPECT_EQ(KVLInsIO::kLink, 4);
  EXPECT_EQ(KVLInsIO::kDirectoryOrFile, 3);
  EXPECT_EQ(KVLInsIO::kLinkToDirectory, 5);
  EXPECT_EQ(KVLInsIO::kLinkToFile, 6);
}

TEST(GetType, TellsEveryKindOfEntry) {
  const EveryKind world;
  for (const Kind& kind : kEveryKind) {
    EXPECT_EQ(GetType(world.Path(kind.name)), kind.type) << kind.name;
  }
  EXPECT_EQ(GetType("/dev/null"), 2);
}

TEST(IsFileAndIsDirectory, AreTheBitsOfTheType) {
  const EveryKind world;
  for (const Kind& kind : kEveryKind) {
    EXPECT_EQ(IsFile(world.Path(kind.name)), (kind.type & 2) != 0) << kind.name;
    EXPECT_EQ(IsDirectory(world.Path(kind.name)), (kind.type & 1) != 0) << kind.name;
  }
}

/// The kinds for which the question is answered with yes.
std::vector<std::string> KindsThatAre(const std::function<bool(const std::string&)>& question) {
  const EveryKind world;
  std::vector<std::string> names;
  for (const Kind& kind : kEveryKind) {
    if (question(world.Path(kind.name))) names.push_back(kind.name);
  }
  return names;
}

TEST(IsRegularFile, IsTrueForAFileAndALinkToOneAndNothingElse) {
  EXPECT_THAT(KindsThatAre(KVLInsIO::IsRegularFile), ElementsAre("file", "link_to_file"));
  for (const std::string path : {"", "/dev/null", "/missing"}) {
    EXPECT_FALSE(KVLInsIO::IsRegularFile(path)) << path;
  }
}

TEST(IsPipe, IsTrueForAPipeAndALinkToOneAndNothingElse) {
  EXPECT_THAT(KindsThatAre(KVLInsIO::IsPipe), ElementsAre("link_to_pipe", "pipe"));
  for (const std::string path : {"", "/dev/null", "/missing"}) {
    EXPECT_FALSE(KVLInsIO::IsPipe(path)) << path;
  }
}

TEST(GetType, OfALinkWithASlashBehindItIsThatOfItsTarget) {
  const EveryKind world;
  EXPECT_EQ(GetType(world.Path("link_to_directory/")), 1);
}

TEST(GetType, FailsWithLstatsMessage) {
  const EveryKind world;
  const std::vector<std::pair<std::string, int>> rows = {
      {world.Path("missing"), ENOENT},           {world.Path("dangling_link/x"), ENOENT},
      {world.Path("file/x"), ENOTDIR},           {world.Path("link_to_self/x"), ELOOP},
      {world.Path(TooLongName()), ENAMETOOLONG}, {std::string(100'000, 'x'), ENAMETOOLONG},
      {world.Path("missing//"), ENOENT},
  };
  for (const auto& row : rows) {
    const std::string& path = row.first;
    const Failure expected = Exception("lstat - " + path, row.second);
    EXPECT_EQ(FailureOf([&] { return GetType(path); }), expected);
    EXPECT_EQ(FailureOf([&] { return IsFile(path); }), expected);
    EXPECT_EQ(FailureOf([&] { return IsDirectory(path); }), expected);
  }
}

TEST(GetType, RefusesAnEmptyPath) {
  EXPECT_EQ(FailureOf([] { return GetType(""); }), Exception("GetType - empty path"));
  EXPECT_EQ(FailureOf([] { return IsFile(""); }), Exception("GetType - empty path"));
  EXPECT_EQ(FailureOf([] { return IsDirectory(""); }), Exception("GetType - empty path"));
}

TEST(GetType, TakesThePathAsGiven) {
  const TestDirectory directory;
  directory.Write("a\\b", "");
  directory.MakeDir("a/b");
  EXPECT_EQ(GetType(directory.Path("a\\b")), 2);
  EXPECT_EQ(GetType(directory.Path("a/b")), 1);
}

TEST(Exists, FollowsLinks) {
  const EveryKind world;
  for (const Kind& kind : kEveryKind) {
    const bool leads_nowhere = kind.name == "dangling_link" || kind.name == "link_to_self";
    EXPECT_EQ(Exists(world.Path(kind.name)), !leads_nowhere) << kind.name;
  }
}

TEST(Exists, IsFalseWhereNothingCanBeReached) {
  const EveryKind world;
  for (const std::string name : {"missing", "file/x", "missing/x", "file/"}) {
    EXPECT_FALSE(Exists(world.Path(name))) << name;
  }
  EXPECT_FALSE(Exists(world.Path(TooLongName())));
  EXPECT_FALSE(Exists(std::string(100'000, '/') + "x/" + std::string(100'000, 'y')));
}

TEST(Exists, OfAnEmptyPathIsFalseWithoutAskingTheSystem) {
  errno = 0;
  const bool exists = Exists("");
  const int error = errno;
  EXPECT_FALSE(exists);
  EXPECT_EQ(error, 0);
}

TEST(Exists, NeedsNoPermissionOnTheEntryItself) {
  const TestDirectory directory;
  SetMode(directory.Write("closed", ""), 0);
  EXPECT_EQ(RunIsolated([&directory] {
              EnterAsOrdinaryUser(directory);
              return Exists("closed") ? 0 : 1;
            }).status,
            0);
}

TEST(Exists, IsFalseWhenTheWayIsClosedToTheUser) {
  const TestDirectory directory;
  directory.Write("closed/file", "");
  SetMode(directory.Path("closed"), 0);
  EXPECT_EQ(RunIsolated([&directory] {
              EnterAsOrdinaryUser(directory);
              return Exists("closed/file") ? 1 : 0;
            }).status,
            0);
}

TEST(GetType, FailsWhenTheWayIsClosedToTheUser) {
  const TestDirectory directory;
  directory.Write("closed/file", "");
  SetMode(directory.Path("closed"), 0);
  EXPECT_EQ(IsolatedFailureOf([&directory] {
              EnterAsOrdinaryUser(directory);
              return GetType("closed/file");
            }),
            Exception("lstat - closed/file", EACCES));
}

}  // namespace
}  // namespace kvl::test
