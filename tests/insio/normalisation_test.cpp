// Tests which operations normalise a path and which take it as it stands. The guide and the manual
// page have this as a table.

#include "insio/copy.h"
#include "insio/create_dir.h"
#include "insio/delete.h"
#include "insio/entry.h"
#include "insio/file_attributes.h"
#include "insio/finder.h"
#include "insio/rename.h"
#include "insio/replace_in_lines.h"
#include "tests/insio/in_own_directory.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

/// A file and an empty directory, with names that only a normalised path reaches.
class Normalisation : public InOwnDirectory {
 protected:
  void SetUp() override { Make({"a/file", "a/empty/"}); }

  const std::string file_ = Path("a\\file"), empty_ = Path("a\\empty");
};

TEST_F(Normalisation, DoesNotApplyToQueriesAndSettings) {
  const Unchanged tree(Path());
  EXPECT_FALSE(Exists(file_));
  EXPECT_FALSE(IsRegularFile(file_));
  EXPECT_FALSE(IsPipe(file_));
  EXPECT_FALSE(SetReadOnly(file_, kReadOnly));
  const Failure no_look = Exception("lstat - " + file_, ENOENT);
  ExpectFailures({{[&] { return IsFile(file_); }, no_look},
                  {[&] { return IsDirectory(file_); }, no_look},
                  {[&] { return GetTime(file_); }, ExceptionErrno("GetTime - " + file_, ENOENT)},
                  {[&] { SetTime(file_, 1, 1); }, ExceptionErrno("SetTime - " + file_, ENOENT)},
                  {[&] { Chmod(file_, 600); }, ExceptionErrno("Chmod - " + file_, ENOENT)},
                  {[&] { return GetFileSize(file_); },
                   Exception("GetFileSize - " + file_ + " does not exist.")}});
}

TEST_F(Normalisation, DoesNotApplyToDeletingRenamingOrListing) {
  const Unchanged tree(Path());
  Delete(file_);
  DeleteContents(Path("\\a"));
  EXPECT_TRUE(DeleteEmptyTree(empty_));
  EXPECT_EQ(FailureOf([&] { Rename(file_, Path("b")); }),
            Exception("rename - " + file_ + " to " + Path("b"), ENOENT));
  const std::string given = Path() + "\\a";
  EXPECT_TRUE(FindFirstFile(given, kDirectoryOrFile).AtEnd());
  EXPECT_TRUE(FindFirstFileExactly(given, kDirectoryOrFile).AtEnd());
  EXPECT_TRUE(IsEmptyDir(given));
  EXPECT_FALSE(ForEachName(given, [](std::string_view) {}));
}

TEST_F(Normalisation, AppliesToANewDirectoryUnlessLeftOutOnRequest) {
  CreateDir(empty_);
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/empty", "f 644 a/file = text"));
  CreateDirExactly(empty_);
  EXPECT_THAT(Tree(),
              ElementsAre("d 755 a", "d 755 a/empty", "d 755 a\\empty", "f 644 a/file = text"));
}

TEST_F(Normalisation, AppliesToTheDirectoriesOfACopysDestination) {
  EXPECT_EQ(FailureOf([&] { CopyFile(file_, Path("b")); }),
            ExceptionErrno("Cannot stat " + file_, ENOENT));
  CopyFile(Path("a/file"), Path("b\\copy"));
  CopyDir(Path("a/empty"), Path("c\\copy"));
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/empty", "d 755 b", "d 755 c", "d 755 c/copy",
                                  "f 644 a/file = text", "f 644 b\\copy = text"));
}

TEST_F(Normalisation, OnlyTurnsBackslashesForReplaceInLines) {
  Write("a\\file", "decoy, not text");
  Write("'file'", "text");
  EXPECT_EQ(FailureInside([] {
              ReplaceInLines("a\\file", "text", "new");
              ReplaceInLines("'file'", "text", "new");
            }),
            kNoFailure);
  EXPECT_THAT(Tree(), ElementsAre("d 755 a", "d 755 a/empty", "f 644 'file' = new",
                                  "f 644 a/file = new", "f 644 a\\file = decoy, not text"));
}

}  // namespace
}  // namespace kvl::test
