#include "insio/replace_in_lines.h"

#include <sys/mman.h>

#include <ctime>

#include "tests/insio/failure.h"
#include "tests/insio/run_tree_tool.h"
#include "tests/insio/surroundings.h"
#include "tests/support/outcome.h"
#include "tests/support/sanitized.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::ReplaceInLines;

/// A directory that holds the file "file", with one line.
class ReplaceInLinesTest : public testing::Test {
 protected:
  std::vector<std::string> Tree() const { return DescribeTree(directory_.Path()); }
  std::vector<std::string> ExactTree() const { return DescribeTreeExactly(directory_.Path()); }
  std::string Path(const std::string& name) const { return directory_.Path(name); }

  ScopedUmask umask_{022};
  TestDirectory directory_;
  std::string file_ = directory_.Write("file", "old\n");
};

using ReplaceInLinesFailure = ReplaceInLinesTest;

/// A failure of the operation itself: no line feed at the end, unlike everywhere else.
Failure OwnFailure(const std::string& problem, const std::string& old_text = "old",
                   const std::string& new_text = "new") {
  return {typeid(std::runtime_error).name(), "KVLInsIO::ReplaceInLines: " + problem +
                                                 "\nReplaced: " + old_text +
                                                 "\nReplacing: " + new_text};
}

Failure FailureOfReplacing(const std::string& file, const std::string& old_text = "old",
                           const std::string& new_text = "new") {
  return FailureOf([&] { ReplaceInLines(file, old_text, new_text); });
}

struct Row {
  std::string contents, old_text, new_text, expected;
  int count;
};

/// The contents with every NUL byte written as "0".
std::string WithNulBytes(std::string text) {
  for (char& c : text) c = c == '0' ? '\0' : c;
  return text;
}

void ExpectReplaced(const std::vector<Row>& rows) {
  const TestDirectory directory;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.contents + ": " + row.old_text + " by " + row.new_text);
    const std::string file = directory.Write("file", row.contents);
    EXPECT_EQ(ReplaceInLines(file, row.old_text, row.new_text), row.count);
    EXPECT_EQ(ReadFile(file), row.expected);
  }
}

TEST(ReplaceInLines, FollowsTheExampleOfItsHeader) {
  ExpectReplaced({{"a\r\nb\n", "b", "c", "a\nc", 1}});
}

TEST(ReplaceInLines, ReplacesEveryOccurrenceInEveryLine) {
  ExpectReplaced({
      {"old", "old", "new", "new", 1},
      {"old old\nno\nan old one", "old", "new", "new new\nno\nan new one", 3},
      {"oldold", "old", "", "", 2},
      {"a\nold\nb", "old", "", "a\n\nb", 1},
      {"Old old OLD", "old", "new", "Old new OLD", 1},
      {"x old", "old", std::string(300, 'n'), "x " + std::string(300, 'n'), 1},
      {"a.c abc", ".", "\\1$&", "a\\1$&c abc", 1},
      {"old", "old", "two\nlines", "two\nlines", 1},
      {"same", "same", "same", "same", 1},
  });
}

TEST(ReplaceInLines, NeverSearchesWhatItPutInNorOverlaps) {
  ExpectReplaced({
      {"aaa", "a", "aa", "aaaaaa", 3},
      {"aaa", "aa", "b", "ba", 1},
      {"aabb", "ab", "", "ab", 1},
      {"a", "a", "a\na", "a\na", 1},
  });
}

TEST(ReplaceInLines, SeparatesLinesByOneLineFeedAndDropsTheLastOne) {
  ExpectReplaced({
      {"old\nb\nc\n", "old", "new", "new\nb\nc", 1},
      {"old\n", "old", "new", "new", 1},
      {"old\n\n\n", "old", "new", "new\n\n", 1},
      {"\n\nold", "old", "new", "\n\nnew", 1},
      {"\n\nold\n", "old", "", "\n\n", 1},
  });
}

TEST(ReplaceInLines, DropsOneCarriageReturnAtTheEndOfALine) {
  ExpectReplaced({
      {"old\r\nb\r\n", "old", "new", "new\nb", 1},
      {"old\r\r\nb\r", "old", "new", "new\r\nb", 1},
      {"a\rold\r\n\r\nc\nd", "old", "new", "a\rnew\n\nc\nd", 1},
      {"a\rb\r\nold", "a\rb", "c", "c\nold", 1},
      {"\r\n\r\nold", "old", "new", "\n\nnew", 1},
  });
}

TEST(ReplaceInLines, FindsNothingAcrossTheEndOfALine) {
  ExpectReplaced({
      {"a\nb\r\n", "a\nb", "x", "a\nb\r\n", 0},
      {"a\nb\r\n", "\n", "x", "a\nb\r\n", 0},
      {"a\nb\r\n", "b\r", "x", "a\nb\r\n", 0},
      {"a\nb\r\n", "\r", "x", "a\nb\r\n", 0},
      {"a\r\nb\r\r\n", "\r", "x", "a\nbx", 1},
  });
}

TEST(ReplaceInLines, TakesBytesOfEveryValue) {
  const std::string all = "\x01\x7f\x80\xc3\x28\xfe\xff";
  ExpectReplaced({
      {WithNulBytes("a0b0old\n0"), "old", "new", WithNulBytes("a0b0new\n0"), 1},
      {WithNulBytes("a0b\n00"), WithNulBytes("0"), "-", "a-b\n--", 3},
      {"a-b", "-", WithNulBytes("00"), WithNulBytes("a00b"), 1},
      {WithNulBytes("a0b0c"), WithNulBytes("a0b"), "x", WithNulBytes("x0c"), 1},
      {all + "old" + all, "old", all, all + all + all, 1},
      {"\xef\xbb\xbf"
       "old",
       "old", "n\xc3\xa4u",
       "\xef\xbb\xbf"
       "n\xc3\xa4u",
       1},
  });
}

TEST(ReplaceInLines, FindsNothingInAnEmptyFile) {
  ExpectReplaced({{"", "old", "new", "", 0}});
}

TEST_F(ReplaceInLinesTest, OfAnEmptyTextReplacesNothingWithoutALookAtTheFile) {
  const auto before = ExactTree();
  for (const std::string& path : {file_, Path("missing"), directory_.Path(), Path("file/x")}) {
    EXPECT_EQ(ReplaceInLines(path, "", "new"), 0) << path;
  }
  EXPECT_EQ(ExactTree(), before);
}

TEST_F(ReplaceInLinesTest, WithoutAnOccurrenceLeavesTheFileAsItIs) {
  directory_.Write("file", "a\r\nb\n\n");
  directory_.Write("file_TmpRIL", "of somebody else");
  SetTimes(file_, 1, 2);
  const auto before = ExactTree();
  EXPECT_EQ(ReplaceInLines(file_, "old", "new"), 0);
  EXPECT_EQ(ExactTree(), before);
}

TEST_F(ReplaceInLinesTest, LeavesNothingBesideTheFile) {
  EXPECT_EQ(ReplaceInLines(file_, "old", "new"), 1);
  EXPECT_THAT(Tree(), ElementsAre("f 644 file = new"));
}

TEST_F(ReplaceInLinesTest, RemovesWhatHasTheTemporaryNameAndNeverWritesThroughIt) {
  const std::string other = directory_.Write("other", "of somebody else");
  const auto link = [this](const std::string& target) {
    return [this, target] { directory_.Link("file_TmpRIL", target); };
  };
  const std::vector<std::function<void()>> all = {
      [this] { directory_.Write("file_TmpRIL", std::string(1000, 'x')); },
      [&] { directory_.HardLink("file_TmpRIL", other); },
      [this] { directory_.Pipe("file_TmpRIL"); },
      link("other"),
      link("file"),
      link("new"),
      link("/dev/full"),
  };
  for (const auto& plant : all) {
    directory_.Write("file", "old\n");
    plant();
    EXPECT_EQ(ReplaceInLines(file_, "old", "new"), 1);
    EXPECT_THAT(Tree(), ElementsAre("f 644 file = new", "f 644 other = of somebody else"));
  }
}

TEST_F(ReplaceInLinesTest, GivesTheFileTheTimesOfTheRewriting) {
  SetTimes(file_, 1, 2);
  const std::time_t before = StatusOf(directory_.Write("now", "")).st_mtime;
  EXPECT_EQ(ReplaceInLines(file_, "old", "new"), 1);
  const std::time_t after = StatusOf(directory_.Write("now", "")).st_mtime;
  const struct stat status = StatusOf(file_);
  EXPECT_GE(status.st_mtime, before);
  EXPECT_LE(status.st_mtime, after);
  EXPECT_GE(status.st_atime, before);
  EXPECT_LE(status.st_atime, after);
}

TEST_F(ReplaceInLinesTest, KeepsInodeModeAndHardLinks) {
  SetMode(file_, 0751);
  directory_.HardLink("hard", file_);
  EXPECT_EQ(ReplaceInLines(file_, "old", "new"), 1);
  EXPECT_THAT(Tree(), ElementsAre("f 751 file = new", "f 751 hard = new"));
  EXPECT_EQ(StatusOf(file_).st_ino, StatusOf(Path("hard")).st_ino);
}

TEST_F(ReplaceInLinesTest, FollowsALinkAndLeavesItALink) {
  directory_.MakeDir("elsewhere");
  directory_.Link("elsewhere/link", "../file");
  directory_.Link("to_link", "elsewhere/link");
  EXPECT_EQ(ReplaceInLines(Path("to_link"), "old", "new"), 1);
  EXPECT_THAT(Tree(), ElementsAre("d 755 elsewhere", "f 644 file = new",
                                  "l elsewhere/link -> ../file", "l to_link -> elsewhere/link"));
}

TEST_F(ReplaceInLinesTest, OfAReadOnlyFileLeavesItReadOnly) {
  // A set-id bit goes, with the rewriting of the other nine.
  const std::vector<std::pair<unsigned, unsigned>> rows = {
      {0444, 0444}, {0400, 0400}, {0555, 0555}, {0466, 0466}, {0644, 0644}, {04555, 0555}};
  for (const auto& [mode, expected] : rows) {
    SetMode(directory_.Write("read_only", "old\n"), mode);
    EXPECT_EQ(ReplaceInLines(Path("read_only"), "old", "new"), 1);
    EXPECT_EQ(ModeOf(Path("read_only")), expected) << std::oct << mode;
    EXPECT_EQ(ReadFile(Path("read_only")), "new");
    std::filesystem::remove(Path("read_only"));
  }
}

TEST_F(ReplaceInLinesTest, OfAReadOnlyFileBehindALinkLeavesTheFileReadOnly) {
  SetMode(file_, 0444);
  EXPECT_EQ(ReplaceInLines(directory_.Link("link", "file"), "old", "new"), 1);
  EXPECT_THAT(Tree(), ElementsAre("f 444 file = new", "l link -> file"));
}

TEST_F(ReplaceInLinesTest, TakesBackslashesInTheNameForSlashes) {
  directory_.Write("a/b", "old");
  directory_.Write("a\\b", "old");
  EXPECT_EQ(ReplaceInLines(Path("a\\b"), "old", "new"), 1);
  EXPECT_THAT(Tree(),
              ElementsAre("d 755 a", "f 644 a/b = new", "f 644 a\\b = old", "f 644 file = old\n"));
}

TEST_F(ReplaceInLinesTest, NormalisesTheNameInNoOtherWay) {
  directory_.Write("'file'", "old");
  EXPECT_EQ(IsolatedFailureOf([this] {
              Enter(directory_);
              ReplaceInLines("'file'", "old", "new");
              ReplaceInLines(".//file", "old", "newer");
            }),
            kNoFailure);
  EXPECT_THAT(Tree(), ElementsAre("f 644 'file' = new", "f 644 file = newer"));
}

TEST_F(ReplaceInLinesTest, IsContentWhenItCannotRemoveTheTemporaryFile) {
  const FailingCall broken(FailingCall::kUnlink, EPERM, /*after=*/1);
  EXPECT_EQ(ReplaceInLines(file_, "old", "new"), 1);
  EXPECT_THAT(Tree(), ElementsAre("f 600 file_TmpRIL = new", "f 644 file = new"));
}

TEST_F(ReplaceInLinesTest, TakesAMillionLines) {
  constexpr int kLines = 1'000'000;
  std::string contents, expected;
  for (int line = 0; line < kLines; ++line) {
    contents.append("an old line\r\n");
    expected.append("an new line\n");
  }
  expected.pop_back();
  EXPECT_EQ(ReplaceInLines(directory_.Write("file", contents), "old", "new"), kLines);
  EXPECT_TRUE(ReadFile(file_) == expected);
}

TEST_F(ReplaceInLinesTest, TakesOneLineOfAHundredMegabytesInThreeTimesTheMemory) {
  const std::size_t half = 50'000'000;
  const std::size_t size = 2 * half + 3;
  directory_.Write("file", std::string(half, 'x') + "old" + std::string(half, 'y') + "\n");
  const ToolSeen seen = RunTreeTool({"replace", file_, "old", "newer"});
  EXPECT_EQ(seen.status, 0) << seen.err;
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(std::filesystem::file_size(file_), size + 2);
  EXPECT_TRUE(ReadFile(file_) == std::string(half, 'x') + "newer" + std::string(half, 'y'));
  if (kSanitized) GTEST_SKIP() << "the sanitizers' own memory is not told apart";
  EXPECT_LT(seen.memory, static_cast<long>(3 * size / 1024));
}

TEST_F(ReplaceInLinesFailure, EmptyNameIsLookedAtFirst) {
  EXPECT_EQ(FailureOfReplacing(""), OwnFailure("Filename is empty"));
  EXPECT_EQ(FailureOfReplacing("", "", ""), OwnFailure("Filename is empty", "", ""));
  EXPECT_EQ(FailureOfReplacing("", "a\nb", "\xff"),
            OwnFailure("Filename is empty", "a\nb", "\xff"));
}

TEST_F(ReplaceInLinesFailure, FileThatCannotBeOpened) {
  directory_.Link("dangling", "nowhere");
  directory_.Link("loop", "loop");
  MakeSocket(directory_, "socket");
  for (const std::string& name :
       {std::string("missing"), std::string("file/x"), std::string("dangling"), std::string("loop"),
        std::string("socket"), TooLongName()}) {
    EXPECT_EQ(FailureOfReplacing(Path(name)), OwnFailure("Failed to open " + Path(name)));
  }
}

TEST_F(ReplaceInLinesFailure, FileThatMayNeverComeToAnEndIsNotOpened) {
  directory_.Pipe("pipe");
  directory_.Link("link", "pipe");
  const auto before = ExactTree();
  for (const std::string& path : {Path("pipe"), Path("link"), std::string("/dev/zero")}) {
    EXPECT_EQ(FailureOfReplacing(path), OwnFailure("Failed to open " + path));
  }
  EXPECT_EQ(ExactTree(), before);
}

TEST_F(ReplaceInLinesFailure, TemporaryNameWhosePlaceCannotBeEmptied) {
  for (const std::string name : {"closed/file", "closed/file_TmpRIL"}) {
    GiveToOrdinaryUser(directory_.Write(name, "old"));
  }
  SetMode(Path("closed"), 0555);
  const auto before = Tree();
  EXPECT_EQ(IsolatedFailureOf([this] {
              EnterAsOrdinaryUser(directory_);
              ReplaceInLines("closed/file", "old", "new");
            }),
            OwnFailure("Failed to open closed/file_TmpRIL"));
  EXPECT_EQ(Tree(), before);
}

TEST_F(ReplaceInLinesFailure, FileThatIsExchangedForAPipeIsNeverWaitedFor) {
  directory_.Write("file", std::string(10, 'x'));
  directory_.Pipe("pipe");
  EXPECT_EQ(WhileExchanged(file_, Path("pipe"),
                           [this] {
                             const Failure failure = FailureOfReplacing(file_);
                             return failure == kNoFailure ||
                                    failure == OwnFailure("Failed to open " + file_);
                           }),
            "");
}

TEST_F(ReplaceInLinesFailure, NamesTheFileWithItsBackslashesTurned) {
  EXPECT_EQ(FailureOfReplacing(Path("a\\\\b\\")), OwnFailure("Failed to open " + Path("a//b/")));
}

TEST_F(ReplaceInLinesFailure, TemporaryFileThatCannotBeMade) {
  const std::string long_name = Path(std::string(255, 'n'));
  directory_.Write(std::string(255, 'n'), "old");
  directory_.MakeDir("file_TmpRIL");
  const auto before = ExactTree();
  for (const std::string& path : {file_, long_name}) {
    EXPECT_EQ(FailureOfReplacing(path), OwnFailure("Failed to open " + path + "_TmpRIL"));
  }
  EXPECT_EQ(ExactTree(), before);
}

TEST_F(ReplaceInLinesFailure, WriteOfTheTemporaryFileOnAFullDiskLeavesTheFileAsItWas) {
  SetMode(directory_.Write("file", "old\r\n"), 0444);
  const auto before = ExactTree();
  {
    // As late as on closing, behind that of the file.
    const FailingCall late(FailingCall::kClose, ENOSPC, /*after=*/1, /*times=*/1);
    EXPECT_EQ(FailureOfReplacing(file_), OwnFailure("Failed to write " + file_ + "_TmpRIL"));
  }
  EXPECT_EQ(ExactTree(), before);
}

TEST_F(ReplaceInLinesFailure, WriteOfTheTemporaryFileThatIsCutShortLeavesTheFileAsItWas) {
  directory_.Write("file", "old" + std::string(100'000, 'x') + "\n");
  const auto before = ExactTree();
  EXPECT_EQ(IsolatedFailureOf([this] {
              LimitFileSize(70'000);
              Enter(directory_);
              ReplaceInLines("file", "old", "new");
            }),
            OwnFailure("Failed to write file_TmpRIL"));
  EXPECT_EQ(ExactTree(), before);
}

TEST_F(ReplaceInLinesFailure, FileThatCannotBeRead) {
  for (const std::string& path : {directory_.MakeDir("directory"), directory_.Path(),
                                  directory_.Link("memory", "/proc/self/mem")}) {
    const auto before = ExactTree();
    EXPECT_EQ(FailureOfReplacing(path), OwnFailure("Failed to read " + path));
    EXPECT_EQ(ExactTree(), before);
  }
}

/// Makes the memory of this process, as a file, begin with text that can be read and end there.
bool PutTextAtTheBeginningOfMemory(const std::string& text) {
  constexpr std::size_t kSize = 4 * 65'536;
  if (::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1,
             0) == MAP_FAILED) {
    return false;
  }
  const int memory = ::open("/proc/self/mem", O_RDWR | O_CLOEXEC);
  const ssize_t written = ::pwrite(memory, text.data(), text.size(), 0);
  ::close(memory);
  return written == static_cast<ssize_t>(text.size());
}

TEST_F(ReplaceInLinesFailure, ReadErrorInTheMiddleLeavesTheFileAsItWas) {
  const std::string link = directory_.Link("memory", "/proc/self/mem");
  constexpr int kNotAllowed = 77;
  const Outcome outcome = RunIsolated([&] {
    if (!PutTextAtTheBeginningOfMemory("old\nold\n")) return kNotAllowed;
    std::cout << FailureOfReplacing(link).text;
    return 0;
  });
  EXPECT_THAT(Tree(), ElementsAre("f 644 file = old\n", "l memory -> /proc/self/mem"));
  if (outcome.status == kNotAllowed) GTEST_SKIP() << "only root may have memory at address 0";
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, OwnFailure("Failed to read " + link).text);
}

TEST_F(ReplaceInLinesFailure, OfTheChangeOfModePassesThroughAndLeavesTheTemporaryFile) {
  // Read-only for its owner, and nobody can change that.
  const std::string link = directory_.Link("link", "/proc/self/status");
  EXPECT_EQ(FailureOfReplacing(link, "Name:", "Called:"), ExceptionErrno("Chmod - " + link, EPERM));
  EXPECT_THAT(ReadFile(link + "_TmpRIL"), testing::StartsWith("Called:"));
}

TEST_F(ReplaceInLinesFailure, OfTheCopyPassesThroughAndLeavesTheTemporaryFileAndTheMode) {
  SetMode(file_, 0444);
  Failure failure;
  {
    const FailingCall late(FailingCall::kClose, EDQUOT, /*after=*/2);  // file and temporary file
    failure = FailureOfReplacing(file_);
  }
  EXPECT_EQ(failure, ExceptionErrno("Cannot write into " + file_, EDQUOT));
  EXPECT_THAT(Tree(), ElementsAre("f 600 file_TmpRIL = new", "f 644 file = new"));
}

TEST_F(ReplaceInLinesTest, LeavesNoDescriptorBehind) {
  const auto before = OpenDescriptors();
  ReplaceInLines(file_, "old", "new");
  EXPECT_NE(FailureOfReplacing(directory_.Path()), kNoFailure);
  EXPECT_NE(FailureOfReplacing(Path("missing")), kNoFailure);
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
}  // namespace kvl::test
