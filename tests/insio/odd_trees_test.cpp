// Trees that are odd without malice: with names and entries of every sort.

#include "insio/copy.h"
#include "insio/delete.h"
#include "tests/insio/every_kind.h"
#include "tests/insio/failure.h"
#include "tests/insio/odd_paths.h"
#include "tests/insio/surroundings.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::Copy;
using KVLInsIO::CopyDir;
using KVLInsIO::CopyFile;
using KVLInsIO::Delete;
using KVLInsIO::DeleteContents;
using KVLInsIO::DeleteEmptyTree;
using testing::SizeIs;

class OddTree : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return directory_.Path(name); }
  std::vector<std::string> Tree(const std::string& name = ".") const {
    return DescribeTree(Path(name));
  }

  ScopedUmask umask_{022};
  TestDirectory directory_;
};

using OddNames = OddTree;
using OddEntries = OddTree;
using NamesWithBackslashes = OddTree;

TEST_F(OddNames, OfFilesAndDirectoriesAreCopied) {
  for (const std::string& name : kOddNames) {
    directory_.Write("from/directories/" + name + "/" + name, name);
    directory_.Write("from/files/" + name, name);
    directory_.MakeDir("from/empty/" + name + "/" + name);
  }
  Copy(Path("from"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("from"));
  EXPECT_EQ(Tree("to").size(), 3 + 5 * kOddNames.size());
}

TEST_F(OddNames, OfTheTreesThemselvesAreTakenAsTheyAre) {
  for (const std::string& name : kOddNames) {
    SCOPED_TRACE(name);
    directory_.Write(name + "/file", name);
    Copy(Path(name), Path("to"));
    EXPECT_THAT(Tree("to"), SizeIs(1));
    EXPECT_EQ(ReadFile(Path("to/file")), name);
    Delete(Path(name));
    Delete(Path("to"));
    EXPECT_THAT(Tree(), IsEmpty());
  }
}

TEST_F(OddNames, OfFilesAndDirectoriesAreDeleted) {
  for (const std::string& name : kOddNames) {
    directory_.Write("tree/directories/" + name + "/" + name, "");
    directory_.Write("tree/files/" + name, "");
  }
  DeleteContents(Path("tree/files"));
  EXPECT_THAT(Tree("tree/files"), IsEmpty());
  Delete(Path("tree"));
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST_F(OddNames, OfDirectoriesDoNotKeepAnEmptyTree) {
  for (const std::string& name : kOddNames) directory_.MakeDir("tree/" + name + "/" + name);
  EXPECT_TRUE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree(), IsEmpty());
}

/// A tree in which the directory "a\b" lies beside the directory "a" with a "b" in it.
class NameWithBackslashBesideItsDecoy : public OddTree {
 protected:
  NameWithBackslashBesideItsDecoy() {
    directory_.Write("tree/a\\b/file", "meant");
    directory_.Write("tree/a/b/file", "decoy");
    directory_.MakeDir("tree/e\\f/empty");
    directory_.MakeDir("tree/e/f/empty");
  }

  const std::vector<std::string> decoys_ = {
      "d 755 a", "d 755 a/b", "d 755 e", "d 755 e/f", "d 755 e/f/empty", "f 644 a/b/file = decoy"};
};

TEST_F(NameWithBackslashBesideItsDecoy, IsCopiedWithItsTreeAsItIs) {
  Copy(Path("tree"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("tree"));
}

TEST_F(NameWithBackslashBesideItsDecoy, IsCopiedWithoutATouchOnADecoyAtTheDestination) {
  fs::rename(Path("tree/a"), Path("to_a"));
  fs::create_directory(Path("to"));
  fs::rename(Path("to_a"), Path("to/a"));
  Copy(Path("tree"), Path("to"));
  EXPECT_EQ(ReadFile(Path("to/a/b/file")), "decoy");
  EXPECT_EQ(ReadFile(Path("to/a\\b/file")), "meant");
}

TEST_F(NameWithBackslashBesideItsDecoy, IsCopiedByItself) {
  CopyDir(Path("tree/a\\b"), Path("to"));
  EXPECT_THAT(Tree("to"), ElementsAre("f 644 file = meant"));
}

TEST_F(NameWithBackslashBesideItsDecoy, IsDeletedAndTheDecoyStays) {
  Delete(Path("tree/a\\b"));
  Delete(Path("tree/e\\f"));
  EXPECT_EQ(Tree("tree"), decoys_);
}

TEST_F(NameWithBackslashBesideItsDecoy, IsEmptiedAndTheDecoyStays) {
  DeleteContents(Path("tree/a\\b"));
  DeleteContents(Path("tree/e\\f"));
  EXPECT_THAT(Tree("tree/a\\b"), IsEmpty());
  EXPECT_THAT(Tree("tree/e\\f"), IsEmpty());
  fs::remove(Path("tree/a\\b"));
  fs::remove(Path("tree/e\\f"));
  EXPECT_EQ(Tree("tree"), decoys_);
}

TEST_F(NameWithBackslashBesideItsDecoy, IsDeletedAsAnEmptyTreeAndTheDecoyStays) {
  EXPECT_FALSE(DeleteEmptyTree(Path("tree/a\\b")));
  EXPECT_EQ(ReadFile(Path("tree/a\\b/file")), "meant");
  EXPECT_TRUE(DeleteEmptyTree(Path("tree/e\\f")));
  fs::remove_all(Path("tree/a\\b"));
  EXPECT_EQ(Tree("tree"), decoys_);
}

TEST_F(NameWithBackslashBesideItsDecoy, IsToldFromTheDecoyWithinAnEmptyTree) {
  fs::remove(Path("tree/a\\b/file"));
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree("tree"), ElementsAre("d 755 a", "d 755 a/b", "f 644 a/b/file = decoy"));
}

TEST_F(NamesWithBackslashes, AreDeletedBehindALinkAsALink) {
  directory_.Write("tree/a/b/file", "decoy");
  directory_.Write("outside/file", "text");
  directory_.Link("tree/a\\b", "../outside");
  directory_.Link("tree/a\\b\\file", "../outside/file");
  Delete(Path("tree/a\\b"));
  Delete(Path("tree/a\\b\\file"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 outside", "d 755 tree", "d 755 tree/a", "d 755 tree/a/b",
                                  "f 644 outside/file = text", "f 644 tree/a/b/file = decoy"));
}

TEST_F(OddEntries, EmptyDirectoriesAreCopied) {
  for (const std::string name : {"a", "b/c", "b/d/e/f", "g"}) directory_.MakeDir("from/" + name);
  Copy(Path("from"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("from"));
  EXPECT_EQ(Tree("to").size(), 7U);
}

TEST_F(OddEntries, HardLinksArriveAsFilesOfTheirOwn) {
  const std::string file = directory_.Write("from/file", "text");
  directory_.HardLink("from/a/link", file);
  directory_.HardLink("outside", file);
  Copy(Path("from"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("from"));
  EXPECT_EQ(StatusOf(Path("to/file")).st_nlink, 1U);
  EXPECT_EQ(StatusOf(Path("to/a/link")).st_nlink, 1U);
}

TEST_F(OddEntries, HardLinksToWhatIsAtTheDestinationAreRefused) {
  directory_.HardLink("to/file", directory_.Write("from/file", "text"));
  EXPECT_EQ(FailureOf([this] { Copy(Path("from"), Path("to")); }),
            Exception("Cannot copy " + Path("from/file") + " to itself."));
  EXPECT_EQ(ReadFile(Path("from/file")), "text");
}

TEST_F(OddEntries, SparseFilesArriveWithAllTheirZeros) {
  directory_.Write("from/end", "text");
  directory_.Write("from/hole", "");
  fs::resize_file(Path("from/end"), 1'000'000);
  fs::resize_file(Path("from/hole"), 3 * 65'536);
  Copy(Path("from"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("from"));
  EXPECT_TRUE(ReadFile(Path("to/end")) == "text" + std::string(999'996, '\0'));
  EXPECT_TRUE(ReadFile(Path("to/hole")) == std::string(std::size_t{3} * 65'536, '\0'));
}

TEST_F(OddEntries, StickyAndSetIdBitsAreNotCopied) {
  const ScopedUmask umask(0);
  for (const unsigned mode : {04755U, 02755U, 01744U, 07777U}) {
    std::ostringstream name;
    name << std::oct << mode;
    SetMode(directory_.MakeDir("from/d" + name.str()), mode);
    SetMode(directory_.Write("from/f" + name.str(), ""), mode);
  }
  Copy(Path("from"), Path("to"));
  EXPECT_THAT(Tree("to"),
              ElementsAre("d 755 d1744", "d 755 d2755", "d 755 d4755", "d 755 d7777",
                          "f 744 f1744 = ", "f 755 f2755 = ", "f 755 f4755 = ", "f 777 f7777 = "));
}

TEST_F(OddEntries, PipesAndDevicesAreRefusedBeforeTheDestinationIsMade) {
  const std::vector<std::string> sources = {
      directory_.Pipe("pipe"),
      directory_.Link("to_pipe", "pipe"),
      directory_.Link("to_null", "/dev/null"),
      directory_.Link("to_zero", "/dev/zero"),
      "/dev/full",
  };
  for (const std::string& source : sources) {
    const Failure expected = Exception("Cannot read " + source, EOPNOTSUPP);
    EXPECT_EQ(FailureOf([&] { CopyFile(source, Path("copy")); }), expected);
    EXPECT_EQ(FailureOf([&] { Copy(source, Path("copy")); }), expected);
    EXPECT_FALSE(fs::exists(Path("copy"))) << source;
  }
}

TEST_F(OddEntries, PipesDevicesAndSocketsEndTheCopyOfTheirTree) {
  const std::vector<std::pair<std::string, int>> rows = {
      {directory_.Pipe("pipe/entry"), EOPNOTSUPP},
      {directory_.Link("to_pipe/entry", "../pipe/entry"), EOPNOTSUPP},
      {directory_.Link("to_zero/entry", "/dev/zero"), EOPNOTSUPP},
      {(directory_.MakeDir("socket"), MakeSocket(directory_, "socket/entry")), ENXIO},
  };
  for (const auto& [entry, error] : rows) {
    const std::string tree = fs::path(entry).parent_path();
    EXPECT_EQ(FailureOf([&] { Copy(tree, Path("to")); }), Exception("Cannot read " + entry, error));
    EXPECT_THAT(Tree("to"), IsEmpty());
  }
}

TEST(EveryKindOfEntry, IsDeletedWithoutALookBehindIt) {
  const EveryKind world;
  DeleteContents(world.Path());
  EXPECT_THAT(DescribeTree(world.Path()), IsEmpty());
}

}  // namespace
}  // namespace kvl::test
