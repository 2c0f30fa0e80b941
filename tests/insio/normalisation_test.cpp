// Which operation takes a path as a user may have typed it, and which takes it as it stands. The guide
// and the manual page have this as a table.

#include "insio/copy.h"
#include "insio/create_dir.h"
#include "insio/delete.h"
#include "insio/entry.h"
#include "insio/file_attributes.h"
#include "insio/finder.h"
#include "insio/rename.h"
#include "insio/replace_in_lines.h"
#include "tests/insio/failure.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// A file and an empty directory, in names that only a normalised path leads to.
class Normalisation : public testing::Test {
 protected:
  void SetUp() override {
    directory_.Write("a/file", "text");
    directory_.MakeDir("a/empty");
    before_ = DescribeTree(directory_.Path());
  }

  std::vector<std::string> Tree() const { return DescribeTree(directory_.Path()); }

  TestDirectory directory_;
  const std::string file_ = directory_.Path("a\\file"), empty_ = directory_.Path("a\\empty");
  std::vector<std::string> before_;
};

TEST_F(Normalisation, IsNotForWhatIsAskedOrSet) {
  EXPECT_FALSE(KVLInsIO::Exists(file_));
  EXPECT_FALSE(KVLInsIO::IsRegularFile(file_));
  EXPECT_FALSE(KVLInsIO::IsPipe(file_));
  for (const auto& ask : {KVLInsIO::IsFile, KVLInsIO::IsDirectory}) {
    EXPECT_EQ(FailureOf([&] { return ask(file_); }), Exception("lstat - " + file_, ENOENT));
  }
  EXPECT_EQ(FailureOf([&] { return KVLInsIO::GetTime(file_); }),
            ExceptionErrno("GetTime - " + file_, ENOENT));
  EXPECT_EQ(FailureOf([&] { KVLInsIO::SetTime(file_, 1, 1); }),
            ExceptionErrno("SetTime - " + file_, ENOENT));
  EXPECT_EQ(FailureOf([&] { KVLInsIO::Chmod(file_, 600); }),
            ExceptionErrno("Chmod - " + file_, ENOENT));
  EXPECT_FALSE(KVLInsIO::SetReadOnly(file_, KVLInsIO::kReadOnly));
  EXPECT_EQ(FailureOf([&] { return KVLInsIO::GetFileSize(file_); }),
            Exception("GetFileSize - " + file_ + " does not exist."));
  EXPECT_EQ(Tree(), before_);
}

TEST_F(Normalisation, IsNotForWhatIsDeletedOrRenamedOrListedAsItStands) {
  KVLInsIO::Delete(file_);
  KVLInsIO::DeleteContents(directory_.Path("\\a"));
  EXPECT_TRUE(KVLInsIO::DeleteEmptyTree(empty_));
  const std::string other = directory_.Path("b");
  EXPECT_EQ(FailureOf([&] { KVLInsIO::Rename(file_, other); }),
            Exception("rename - " + file_ + " to " + other, ENOENT));
  const std::string given = directory_.Path() + "\\a";
  EXPECT_TRUE(KVLInsIO::FindFirstFile(given, KVLInsIO::kDirectoryOrFile).AtEnd());
  EXPECT_TRUE(KVLInsIO::FindFirstFileExactly(given, KVLInsIO::kDirectoryOrFile).AtEnd());
  EXPECT_TRUE(KVLInsIO::IsEmptyDir(given));
  EXPECT_FALSE(KVLInsIO::ForEachName(given, [](std::string_view) {}));
  EXPECT_EQ(Tree(), before_);
}

TEST_F(Normalisation, OfADirectoryToBeMadeIsLeftOutOnRequest) {
  KVLInsIO::CreateDir(empty_);
  EXPECT_EQ(Tree(), before_);
  KVLInsIO::CreateDirExactly(empty_);
  EXPECT_TRUE(KVLInsIO::IsEmptyDir(directory_.Path("a\\empty")));
  EXPECT_NE(Tree(), before_);
}

TEST_F(Normalisation, OfACopyIsForTheDirectoriesOfItsDestination) {
  EXPECT_EQ(FailureOf([&] { KVLInsIO::CopyFile(file_, directory_.Path("b")); }),
            ExceptionErrno("Cannot stat " + file_, ENOENT));
  KVLInsIO::CopyFile(directory_.Path("a/file"), directory_.Path("b\\copy"));
  EXPECT_THAT(DescribeTree(directory_.Path("b")), ElementsAre());
  EXPECT_TRUE(KVLInsIO::IsRegularFile(directory_.Path("b\\copy")));
  KVLInsIO::CopyDir(directory_.Path("a/empty"), directory_.Path("c\\copy"));
  EXPECT_TRUE(KVLInsIO::IsDirectory(directory_.Path("c/copy")));
}

TEST_F(Normalisation, OfAFileToReplaceInTurnsBackslashesOnly) {
  EXPECT_EQ(KVLInsIO::ReplaceInLines(file_, "t", "T"), 2);
  const std::string quoted = "'" + directory_.Path("a/file") + "'";
  EXPECT_EQ(FailureOf([&] { KVLInsIO::ReplaceInLines(quoted, "x", "X"); }).text,
            "KVLInsIO::ReplaceInLines: Failed to open " + quoted + "\nReplaced: x\nReplacing: X");
}

}  // namespace
}  // namespace kvl::test
