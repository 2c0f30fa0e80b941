#include "insio/replace_in_lines.h"

#include "tests/insio/in_own_directory.h"
#include "tests/insio/run_tree_tool.h"
#include "tests/support/sanitized.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

/// A directory that contains the file "file", with one line.
class Replacing : public InOwnDirectory {
 protected:
  const std::string file_ = Write("file", "old\n");
};

using ReplacingFailure = Replacing;

/// A failure of ReplaceInLines itself: its message ends without a line feed, unlike all others.
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

TEST_F(Replacing, ReplacesLineByLine) {
  struct Row {
    std::string name, contents, old_text, new_text, expected;
    int count;
  };
  using namespace std::string_literals;
  const std::string all = "\x01\x7f\x80\xc3\x28\xfe\xff", many(300, 'n');
  for (const Row& row : std::vector<Row>{
           {"nothing to search in", "", "old", "new", "", 0},
           {"every occurrence in every line", "old old\nno\nan old one", "old", "new",
            "new new\nno\nan new one", 3},
           {"by nothing", "oldold\nb", "old", "", "\nb", 2},
           {"by more", "x old", "old", many, "x " + many, 1},
           {"by lines", "old", "old", "two\nlines", "two\nlines", 1},
           {"no patterns", "a.c abc", ".", "\\1$&", "a\\1$&c abc", 1},
           {"what was put in is not searched", "aaa", "a", "aa", "aaaaaa", 3},
           {"no overlap", "aaa", "aa", "b", "ba", 1},
           {"no line feed at the end", "old\nb\nc\n", "old", "new", "new\nb\nc", 1},
           {"one line feed less of empty lines", "old\n\n\n", "old", "new", "new\n\n", 1},
           {"one carriage return less at the end of a line", "a\r\nb\n", "b", "c", "a\nc", 1},
           {"one of several, and of the last line", "old\r\r\nb\r", "old", "new", "new\r\nb", 1},
           {"nothing across the end of a line", "a\nb\r\n", "a\nb", "x", "a\nb\r\n", 0},
           {"no line feed", "a\nb\r\n", "\n", "x", "a\nb\r\n", 0},
           {"no carriage return that goes", "a\nb\r\n", "b\r", "x", "a\nb\r\n", 0},
           {"one that stays", "a\r\nb\r\r\n", "\r", "x", "a\nbx", 1},
           {"bytes of every value", all + "old" + all, "old", all, all + all + all, 1},
           {"hundreds of thousands of lines", "old" + std::string(300'000, '\n'), "old", "new",
            "new" + std::string(299'999, '\n'), 1},
           {"NUL bytes", "a\0b\n\0\0"s, "\0"s, "-", "a-b\n--", 3},
           {"by NUL bytes", "a-\0"s, "-", "\0\0"s, "a\0\0\0"s, 1},
       }) {
    SCOPED_TRACE(row.name);
    Write("file", row.contents);
    EXPECT_EQ(ReplaceInLines(file_, row.old_text, row.new_text), row.count);
    EXPECT_EQ(ReadFile(file_), row.expected);
  }
}

TEST_F(Replacing, OfAnEmptyTextReplacesNothingWithoutALookAtTheFile) {
  const Unchanged tree(Path());
  for (const std::string& path : {file_, Path("missing"), Path(), Path("file/x")}) {
    EXPECT_EQ(ReplaceInLines(path, "", "new"), 0) << path;
  }
}

TEST_F(Replacing, WithoutAnOccurrenceLeavesTheFileAsItIs) {
  Write("file", "a\r\nb\n\n");
  Write("file_TmpRIL", "of somebody else");
  SetTimes(file_, 1, 2);
  const Unchanged tree(Path());
  EXPECT_EQ(ReplaceInLines(file_, "old", "new"), 0);
}

TEST_F(Replacing, NeverWritesThroughWhatHasTheTemporaryName) {
  const std::string other = Write("other", "of somebody else"), temporary = "file_TmpRIL";
  const std::vector<std::function<void()>> all = {
      [] {},
      [&] { Write(temporary, std::string(1000, 'x')); },
      [&] { HardLink(temporary, other); },
      [&] { Pipe(temporary); },
      [&] { Link(temporary, "other"); },
      [&] { Link(temporary, "file"); },
      [&] { Link(temporary, "new"); },
      [&] { Link(temporary, "/dev/full"); },
  };
  for (const auto& plant : all) {
    Write("file", "old\n");
    plant();
    EXPECT_EQ(ReplaceInLines(file_, "old", "new"), 1);
    EXPECT_THAT(Tree(), ElementsAre("f 644 file = new", "f 644 other = of somebody else"));
  }
}

TEST_F(Replacing, GivesTheFileTheTimesOfTheRewriting) {
  SetTimes(file_, 1, 2);
  const std::time_t before = StatusOf(Write("now", "")).st_mtime;
  EXPECT_EQ(ReplaceInLines(file_, "old", "new"), 1);
  const std::time_t after = StatusOf(Write("now", "")).st_mtime;
  const struct stat status = StatusOf(file_);
  for (const std::time_t time : {status.st_mtime, status.st_atime}) {
    EXPECT_THAT(time, testing::AllOf(testing::Ge(before), testing::Le(after)));
  }
}

TEST_F(Replacing, KeepsInodeModeAndLinks) {
  SetMode(file_, 0751);
  HardLink("hard", file_);
  MakeDir("elsewhere");
  Link("elsewhere/link", "../file");
  EXPECT_EQ(ReplaceInLines(Link("to_link", "elsewhere/link"), "old", "new"), 1);
  EXPECT_THAT(Tree(), ElementsAre("d 755 elsewhere", "f 751 file = new", "f 751 hard = new",
                                  "l elsewhere/link -> ../file", "l to_link -> elsewhere/link"));
}

TEST_F(Replacing, OfAReadOnlyFileLeavesItReadOnlyAlsoBehindALink) {
  Link("link", "read_only");
  // Rewriting the other nine bits clears a set-id bit.
  const std::vector<std::pair<unsigned, unsigned>> rows = {
      {0444, 0444}, {0400, 0400}, {0555, 0555}, {0466, 0466}, {0644, 0644}, {04555, 0555}};
  for (const auto& [mode, expected] : rows) {
    for (const std::string name : {"read_only", "link"}) {
      SetMode(Write("read_only", "old\n"), mode);
      EXPECT_EQ(ReplaceInLines(Path(name), "old", "new"), 1);
      EXPECT_EQ(ModeOf(Path("read_only")), expected) << std::oct << mode;
      EXPECT_EQ(ReadFile(Path("read_only")), "new");
      fs::remove(Path("read_only"));
    }
  }
}

TEST_F(Replacing, SucceedsEvenIfItCannotRemoveTheTemporaryFile) {
  const FailingCall broken(FailingCall::kUnlink, EPERM, /*after=*/1);
  EXPECT_EQ(ReplaceInLines(file_, "old", "new"), 1);
  EXPECT_THAT(Tree(), ElementsAre("f 600 file_TmpRIL = new", "f 644 file = new"));
}

TEST_F(Replacing, TakesOneLineOfManyMegabytesInThreeTimesTheMemory) {
  const std::string half(18'000'000, 'x');
  Write("file", half + "old" + half + "\n");
  const ToolSeen seen = RunTreeTool({"replace", file_, "old", "newer"});
  EXPECT_EQ(seen.status, 0) << seen.err;
  EXPECT_EQ(seen.result, 1);
  EXPECT_TRUE(ReadFile(file_) == half + "newer" + half);
  if (kSanitized) GTEST_SKIP() << "the sanitizers' own memory is not told apart";
  EXPECT_LT(seen.memory, static_cast<long>(3 * 2 * half.size() / 1024));
}

TEST_F(ReplacingFailure, ComesFirstFromAnEmptyName) {
  EXPECT_EQ(FailureOfReplacing("", "", "new"), OwnFailure("Filename is empty", "", "new"));
  EXPECT_THAT(
      [] { ReplaceInLines("", "a\nb", "\xff"); },
      testing::ThrowsMessage<std::exception>(OwnFailure("Filename is empty", "a\nb", "\xff").text));
}

TEST_F(ReplacingFailure, LeavesAFileThatCannotBeOpenedOrReadAsItIs) {
  Link("dangling", "nowhere");
  Link("loop", "loop");
  MakeSocket(*this, "socket");
  Link("to_pipe", Pipe("pipe"));
  Link("endless", "/dev/zero");
  MakeDir("directory");
  Link("memory", "/proc/self/mem");
  const Unchanged tree(Path());
  // The last two are a pipe, which would have to be waited for, and a device, which never ends.
  for (const std::string& name :
       {std::string("missing"), std::string("file/x"), std::string("dangling"), std::string("loop"),
        std::string("socket"), TooLongName(), std::string("to_pipe"), std::string("endless")}) {
    EXPECT_EQ(FailureOfReplacing(Path(name)), OwnFailure("Failed to open " + Path(name)));
  }
  for (const std::string name : {"directory", ".", "memory"}) {
    EXPECT_EQ(FailureOfReplacing(Path(name)), OwnFailure("Failed to read " + Path(name)));
  }
  EXPECT_EQ(FailureOfReplacing(Path("a\\\\b\\")), OwnFailure("Failed to open " + Path("a//b/")));
}

TEST_F(ReplacingFailure, NeverWaitsForAFileExchangedForAPipe) {
  Write("file", std::string(10, 'x'));
  const auto is_allowed = [this] {
    const Failure failure = FailureOfReplacing(file_);
    return failure == kNoFailure || failure == OwnFailure("Failed to open " + file_);
  };
  EXPECT_EQ(WhileExchanged(file_, Pipe("pipe"), is_allowed), "");
}

TEST_F(ReplacingFailure, ComesFromATemporaryFileThatCannotBeMade) {
  const std::string long_name = Path(std::string(255, 'n'));
  Write(std::string(255, 'n'), "old");
  MakeDir("file_TmpRIL");
  for (const std::string name : {"closed/file", "closed/file_TmpRIL"}) {
    GiveToOrdinaryUser(Write(name, "old"));
  }
  SetMode(Path("closed"), 0555);
  const Unchanged tree(Path());
  for (const std::string& path : {file_, long_name}) {
    EXPECT_EQ(FailureOfReplacing(path), OwnFailure("Failed to open " + path + "_TmpRIL"));
  }
  EXPECT_EQ(FailureAsOrdinaryUser([] { ReplaceInLines("closed/file", "old", "new"); }),
            OwnFailure("Failed to open closed/file_TmpRIL"));
}

TEST_F(ReplacingFailure, ComesFromATemporaryFileThatCannotBeWritten) {
  SetMode(Write("file", "old" + std::string(100'000, 'x') + "\r\n"), 0444);
  const Unchanged tree(Path());
  const Failure expected = OwnFailure("Failed to write file_TmpRIL");
  EXPECT_EQ(FailureInside([] {
              LimitFileSize(70'000);
              ReplaceInLines("file", "old", "new");
            }),
            expected);
  EXPECT_EQ(FailureInside([] {
              // The disk is full, which shows when the temporary file is closed, after the file
              // itself.
              const FailingCall late(FailingCall::kClose, ENOSPC, /*after=*/1, /*times=*/1);
              ReplaceInLines("file", "old", "new");
            }),
            expected);
}

TEST_F(ReplacingFailure, OfReadingHalfWayLeavesTheFileAsItWas) {
  Write("file", "old\n" + std::string(100'000, 'x'));
  const Unchanged tree(Path());
  {
    const FailingCall broken(FailingCall::kRead, EIO, /*after=*/1);
    EXPECT_EQ(FailureOfReplacing(file_), OwnFailure("Failed to read " + file_));
  }
}

TEST_F(ReplacingFailure, OfTheModeLeavesTheTemporaryFile) {
  // The file is read-only for its owner, and nobody can change that.
  const std::string link = Link("link", "/proc/self/status");
  EXPECT_EQ(FailureOfReplacing(link, "Name:", "Called:"), ExceptionErrno("Chmod - " + link, EPERM));
  EXPECT_THAT(ReadFile(link + "_TmpRIL"), testing::StartsWith("Called:"));
}

TEST_F(ReplacingFailure, OfTheCopyLeavesTheTemporaryFileAndTheMode) {
  SetMode(file_, 0444);
  const auto replace = [this] {
    const FailingCall late(FailingCall::kClose, EDQUOT,
                           /*after=*/2);  // closes of the file and of the temporary file
    ReplaceInLines(file_, "old", "new");
  };
  EXPECT_EQ(FailureOf(replace), ExceptionErrno("Cannot write into " + file_, EDQUOT));
  EXPECT_THAT(Tree(), ElementsAre("f 600 file_TmpRIL = new", "f 644 file = new"));
}

}  // namespace
}  // namespace kvl::test
