// Trees that are odd without malice: with names and entries of every sort.

#include "insio/copy.h"
#include "insio/delete.h"
#include "tests/insio/failure.h"
#include "tests/insio/odd_paths.h"
#include "tests/insio/surroundings.h"
#include "tests/insio/tree_test.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

using OddNames = TreeTest;
using OddEntries = TreeTest;

TEST_F(OddNames, OfFilesAndDirectoriesAreCopiedAndDeleted) {
  for (const std::string& name : kOddNames) {
    directory_.Write("from/directories/" + name + "/" + name, name);
    directory_.Write("from/files/" + name, name);
    directory_.MakeDir("from/empty/" + name + "/" + name);
  }
  Copy(Path("from"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("from"));
  EXPECT_EQ(Tree("to").size(), 3 + 5 * kOddNames.size());
  EXPECT_TRUE(DeleteEmptyTree(Path("to/empty")));
  DeleteContents(Path("to/files"));
  EXPECT_THAT(Tree("to/files"), IsEmpty());
  Delete(Path("to"));
  Delete(Path("from"));
  EXPECT_THAT(Tree(), IsEmpty());
}

TEST_F(OddNames, OfTheTreesThemselvesAreTakenAsTheyAre) {
  for (const std::string& name : kOddNames) {
    SCOPED_TRACE(name);
    directory_.Write(name + "/file", "text");
    Copy(Path(name), Path("to"));
    EXPECT_THAT(Tree("to"), ElementsAre("f 644 file = text"));
    Delete(Path(name));
    Delete(Path("to"));
    EXPECT_THAT(Tree(), IsEmpty());
  }
}

/// A tree in which the directory "a\b" lies beside the directory "a" with a "b" in it.
class NameWithBackslashBesideItsDecoy : public TreeTest {
 protected:
  NameWithBackslashBesideItsDecoy() {
    directory_.Write("tree/a/b/file", "decoy");
    Make({"tree/e/f/empty/"});
    decoys_ = Tree("tree");
    Make({"tree/a\\b/file", "tree/e\\f/empty/"});
  }

  std::vector<std::string> decoys_;
};

TEST_F(NameWithBackslashBesideItsDecoy, IsCopiedAsItIsWithItsTreeAndByItself) {
  Copy(Path("tree"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("tree"));
  CopyDir(Path("tree/a\\b"), Path("alone"));
  EXPECT_THAT(Tree("alone"), ElementsAre("f 644 file = text"));
}

TEST_F(NameWithBackslashBesideItsDecoy, IsEmptiedOrDeletedAndTheDecoyStays) {
  DeleteContents(Path("tree/a\\b"));
  EXPECT_TRUE(fs::is_empty(Path("tree/a\\b")));
  Delete(Path("tree/a\\b"));
  Delete(Path("tree/e\\f"));
  EXPECT_EQ(Tree("tree"), decoys_);
}

TEST_F(NameWithBackslashBesideItsDecoy, IsDeletedAsAnEmptyTreeAndTheDecoyStays) {
  EXPECT_FALSE(DeleteEmptyTree(Path("tree/a\\b")));
  EXPECT_EQ(ReadFile(Path("tree/a\\b/file")), "text");
  EXPECT_TRUE(DeleteEmptyTree(Path("tree/e\\f")));
  fs::remove_all(Path("tree/a\\b"));
  EXPECT_EQ(Tree("tree"), decoys_);
}

TEST_F(NameWithBackslashBesideItsDecoy, IsToldFromTheDecoyWithinAnEmptyTree) {
  fs::remove(Path("tree/a\\b/file"));
  EXPECT_FALSE(DeleteEmptyTree(Path("tree")));
  EXPECT_THAT(Tree("tree"), ElementsAre("d 755 a", "d 755 a/b", "f 644 a/b/file = decoy"));
}

TEST_F(OddNames, WithBackslashesAreDeletedBehindALinkAsALink) {
  Make({"tree/a/b/decoy", "outside/file", "tree/a\\b -> ../outside",
        "tree/a\\b\\decoy -> ../outside/file"});
  Delete(Path("tree/a\\b"));
  Delete(Path("tree/a\\b\\decoy"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 outside", "d 755 tree", "d 755 tree/a", "d 755 tree/a/b",
                                  "f 644 outside/file = text", "f 644 tree/a/b/decoy = text"));
}

TEST_F(OddEntries, HardLinksArriveAsFilesOfTheirOwnAndAreNotCopiedOntoEachOther) {
  const std::string file = directory_.Write("from/file", "text");
  directory_.HardLink("from/a/link", file);
  Copy(Path("from"), Path("to"));
  EXPECT_EQ(Tree("to"), Tree("from"));
  EXPECT_EQ(StatusOf(Path("to/file")).st_nlink, 1U);
  EXPECT_EQ(StatusOf(Path("to/a/link")).st_nlink, 1U);
  directory_.HardLink("there/file", file);
  EXPECT_EQ(FailureOf([this] { CopyDir(Path("from"), Path("there")); }),
            Exception("Cannot copy " + Path("from/file") + " to itself."));
  EXPECT_EQ(ReadFile(file), "text");
}

TEST_F(OddEntries, SparseFilesArriveWithAllTheirZeros) {
  directory_.Write("from/end", "text");
  directory_.Write("from/hole", "");
  fs::resize_file(Path("from/end"), 1'000'000);
  fs::resize_file(Path("from/hole"), 3 * 65'536);
  Copy(Path("from"), Path("to"));
  EXPECT_TRUE(ReadFile(Path("to/end")) == "text" + std::string(999'996, '\0'));
  EXPECT_TRUE(ReadFile(Path("to/hole")) == std::string(std::size_t{3} * 65'536, '\0'));
}

TEST_F(OddEntries, StickyAndSetIdBitsAreNotCopied) {
  const ScopedUmask umask(0);
  for (const auto& [name, mode] : std::vector<std::pair<std::string, unsigned>>{
           {"4755", 04755}, {"2755", 02755}, {"1744", 01744}, {"7777", 07777}}) {
    SetMode(directory_.MakeDir("from/d" + name), mode);
    SetMode(directory_.Write("from/f" + name, ""), mode);
  }
  Copy(Path("from"), Path("to"));
  EXPECT_THAT(Tree("to"),
              ElementsAre("d 755 d1744", "d 755 d2755", "d 755 d4755", "d 755 d7777",
                          "f 744 f1744 = ", "f 755 f2755 = ", "f 755 f4755 = ", "f 777 f7777 = "));
}

TEST_F(OddEntries, PipesDevicesAndSocketsAreNotCopied) {
  directory_.Pipe("pipe/entry");
  Make({"to_pipe/entry -> ../pipe/entry", "to_null/entry -> /dev/null",
        "to_zero/entry -> /dev/zero", "socket/"});
  MakeSocket(directory_, "socket/entry");
  for (const std::string tree : {"pipe", "to_pipe", "to_null", "to_zero", "socket"}) {
    SCOPED_TRACE(tree);
    const std::string entry = Path(tree + "/entry");
    const Failure expected =
        Exception("Cannot read " + entry, tree == "socket" ? ENXIO : EOPNOTSUPP);
    EXPECT_EQ(FailureOf([&] { Copy(Path(tree), Path("to")); }), expected);
    EXPECT_EQ(FailureOf([&] { CopyFile(entry, Path("to/copy")); }), expected);
    EXPECT_EQ(FailureOf([&] { Copy(entry, Path("to/copy")); }), expected);
    EXPECT_THAT(Tree("to"), IsEmpty());
  }
}

}  // namespace
}  // namespace kvl::test
