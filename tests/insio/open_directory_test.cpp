#include "insio/open_directory.h"

#include <sys/syscall.h>

#include "tests/insio/failure.h"
#include "tests/insio/odd_paths.h"
#include "tests/insio/surroundings.h"
#include "tests/support/call_filter.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::FileKind;
using KVLInsIO::OpenDirectory;
using KVLInsIO::OpenFile;

class OpenDirectoryTest : public testing::Test {
 protected:
  OpenDirectoryTest() : umask_(022), inside_(directory_.MakeDir("inside")) {}

  std::string Path(const std::string& name) const { return directory_.Path(name); }
  std::vector<std::string> Tree() const { return DescribeTree(directory_.Path()); }

  ScopedUmask umask_;
  TestDirectory directory_;
  std::string inside_;
};

TEST_F(OpenDirectoryTest, TakesEveryNameAsItIs) {
  const OpenDirectory inside(inside_);
  const OpenFile source(directory_.Write("source", "copied"));
  for (const std::string& name : kOddNames) {
    const OpenDirectory made = inside.MakeDirectory(name);
    EXPECT_EQ(made.Path(), inside_ + "/" + name);
    made.WriteFile(name, "written", FileKind::kPlain);
    made.MakeDirectory("copy").CopyFile(source, name, FileKind::kPlain);
    EXPECT_EQ(inside.Directory(name).File(name).Path(), inside_ + "/" + name + "/" + name);
    EXPECT_THAT(made.Names(), testing::UnorderedElementsAre(name, "copy"));
    EXPECT_EQ(ReadFile(inside_ + "/" + name + "/" + name), "written");
    EXPECT_EQ(ReadFile(inside_ + "/" + name + "/copy/" + name), "copied");
  }
  EXPECT_EQ(inside.Names().size(), kOddNames.size());
  EXPECT_EQ(OpenDirectory(directory_.Path()).Names(),
            (std::vector<std::string>{"inside", "source"}));
}

TEST_F(OpenDirectoryTest, RefusesWhatIsNoNameOfAnEntry) {
  directory_.Write("inside/file", "text");
  directory_.MakeDir("inside/a/b");
  const OpenDirectory inside(inside_);
  const OpenFile source(inside.File("file"));
  const auto before = Tree();
  const std::string kNul("file\0x", 6);
  for (const std::string& name :
       {std::string(), std::string("."), std::string(".."), kNul, std::string("a/b"),
        std::string("/"), std::string("file/"), std::string("/etc"), std::string("../x")}) {
    SCOPED_TRACE(name);
    const std::vector<std::function<void()>> operations = {
        [&] { return inside.Look(name); },
        [&] { return inside.Directory(name); },
        [&] { return inside.File(name); },
        [&] { inside.MakeDirectory(name); },
        [&] { inside.WriteFile(name, "x", FileKind::kPlain); },
        [&] { inside.CopyFile(source, name, FileKind::kPlain); },
        [&] { inside.Rename(name, inside, "new"); },
        [&] { inside.Rename("file", inside, name); },
        [&] { inside.Delete(name); },
    };
    for (const auto& operation : operations) {
      // The text of an exception ends at its first NUL byte.
      const std::string shown = name == kNul ? "file" : name + "\n";
      Failure expected = Exception("OpenDirectory - no name of an entry: ");
      expected.text = "OpenDirectory - no name of an entry: " + shown;
      EXPECT_EQ(FailureOf(operation), expected);
    }
  }
  EXPECT_EQ(Tree(), before);
}

TEST_F(OpenDirectoryTest, FollowsNoLink) {
  directory_.Write("outside/file", "text");
  directory_.Link("inside/directory", "../outside");
  directory_.Link("inside/file", "../outside/file");
  directory_.Link("inside/new", "../outside/new");
  const OpenDirectory inside(inside_);
  const OpenFile source(Path("outside/file"));
  const auto before = Tree();
  EXPECT_EQ(FailureOf([&] { return inside.Directory("directory"); }),
            Exception("opendir - " + inside_ + "/directory", ENOTDIR));
  EXPECT_EQ(FailureOf([&] { inside.MakeDirectory("directory"); }),
            Exception("opendir - " + inside_ + "/directory", ENOTDIR));
  EXPECT_EQ(FailureOf([&] { return inside.File("file"); }),
            Exception("Cannot read " + inside_ + "/file", ELOOP));
  for (const char* name : {"file", "new"}) {
    EXPECT_EQ(FailureOf([&] { inside.WriteFile(name, "x", FileKind::kPlain); }),
              Exception("Cannot write into " + inside_ + "/" + name, EEXIST));
    EXPECT_EQ(FailureOf([&] { inside.CopyFile(source, name, FileKind::kPlain); }),
              Exception("Cannot write into " + inside_ + "/" + name, EEXIST));
  }
  EXPECT_TRUE(S_ISLNK(inside.Look("file").mode));
  EXPECT_EQ(Tree(), before);
  inside.Delete("directory");
  inside.Delete("new");
  inside.Rename("file", inside, "new");
  EXPECT_THAT(Tree(), ElementsAre("d 755 inside", "d 755 outside", "f 644 outside/file = text",
                                  "l inside/new -> ../outside/file"));
}

TEST_F(OpenDirectoryTest, StaysWhereItIsWhenTheWayThereIsExchanged) {
  const OpenDirectory below = OpenDirectory(inside_).MakeDirectory("below");
  fs::rename(inside_, Path("moved"));
  directory_.MakeDir("outside/below");
  directory_.Link("inside", "outside");
  below.WriteFile("file", "text", FileKind::kPlain);
  below.MakeDirectory("further").WriteFile("file", "text", FileKind::kPlain);
  EXPECT_THAT(Tree(),
              ElementsAre("d 755 moved", "d 755 moved/below", "d 755 moved/below/further",
                          "d 755 outside", "d 755 outside/below", "f 644 moved/below/file = text",
                          "f 644 moved/below/further/file = text", "l inside -> outside"));
}

TEST_F(OpenDirectoryTest, FollowsLinksOnlyWhereItBegins) {
  directory_.Write("inside/file", "text");
  directory_.Link("link", "inside");
  directory_.Link("to_file", "inside/file");
  EXPECT_THAT(OpenDirectory(Path("link")).Names(), ElementsAre("file"));
  EXPECT_EQ(OpenFile(Path("to_file")).State(), OpenDirectory(inside_).Look("file"));
}

TEST_F(OpenDirectoryTest, GivesModesOfTheirOwnWhateverTheUmask) {
  const ScopedUmask umask(077);
  const OpenDirectory inside(inside_);
  const OpenFile source(directory_.Write("source", ""));
  inside.MakeDirectory("directory");
  inside.WriteFile("plain", "", FileKind::kPlain);
  inside.WriteFile("program", "", FileKind::kProgram);
  inside.CopyFile(source, "copy", FileKind::kPlain);
  inside.CopyFile(source, "program copy", FileKind::kProgram);
  EXPECT_THAT(DescribeTree(inside_),
              ElementsAre("d 755 directory", "f 644 copy = ", "f 644 plain = ", "f 755 program = ",
                          "f 755 program copy = "));
}

TEST_F(OpenDirectoryTest, LeavesADirectoryThatIsThereAsItIs) {
  directory_.Write("inside/there/file", "text");
  SetMode(Path("inside/there"), 0700);
  EXPECT_THAT(OpenDirectory(inside_).MakeDirectory("there").Names(), ElementsAre("file"));
  EXPECT_EQ(ModeOf(Path("inside/there")), 0700U);
}

TEST_F(OpenDirectoryTest, KeepsTheTimesOfACopiedFile) {
  const std::string source = directory_.Write("source", "text");
  SetTimes(source, 0, 1'000'000'000);
  OpenDirectory(inside_).CopyFile(OpenFile(source), "copy", FileKind::kPlain);
  const struct stat status = StatusOf(Path("inside/copy"));
  EXPECT_EQ(Nanoseconds(status.st_atim), 0);
  EXPECT_EQ(Nanoseconds(status.st_mtim), 1'000'000'000 * kSecond);
}

TEST_F(OpenDirectoryTest, CopiesEverySizeAndShowsEachByteBefore) {
  const OpenDirectory inside(inside_);
  for (const std::size_t size : {0U, 1U, 65'535U, 65'536U, 65'537U, 200'000U}) {
    std::string contents;
    for (std::size_t i = 0; i < size; ++i) contents.push_back(static_cast<char>(i * 7));
    const OpenFile source(directory_.Write("source", contents));
    std::string seen;
    inside.CopyFile(source, std::to_string(size), FileKind::kPlain,
                    [&](std::string_view piece) { seen.append(piece); });
    EXPECT_EQ(ReadFile(inside_ + "/" + std::to_string(size)), contents);
    EXPECT_EQ(seen, contents);
    inside.CopyFile(source, std::to_string(size) + " again", FileKind::kPlain);
    EXPECT_EQ(ReadFile(inside_ + "/" + std::to_string(size) + " again"), contents);
  }
}

TEST_F(OpenDirectoryTest, EndsACopyWithWhatItsOnlookerThrows) {
  const OpenFile source(directory_.Write("source", std::string(100'000, 'x')));
  EXPECT_THROW(
      OpenDirectory(inside_).CopyFile(source, "copy", FileKind::kProgram,
                                      [](std::string_view) { throw std::range_error("enough"); }),
      std::range_error);
  EXPECT_THAT(DescribeTree(inside_), ElementsAre("f 600 copy = "));
}

/// What can be the same although somebody was at the file.
KVLInsIO::EntryState WithoutChangeTime(KVLInsIO::EntryState state) {
  state.changed = state.changed_nanoseconds = 0;
  return state;
}

TEST_F(OpenDirectoryTest, TellsAChangedFileFromTheSameOne) {
  const std::string path = directory_.Write("inside/file", "text");
  const OpenDirectory inside(inside_);
  SetTimes(path, 1, 1'000'000'000);
  const OpenFile file = inside.File("file");
  const KVLInsIO::EntryState state = inside.Look("file");
  EXPECT_TRUE(S_ISREG(state.mode));
  EXPECT_EQ(state.size, 4U);
  EXPECT_EQ(state.modified, 1'000'000'000);
  EXPECT_EQ(file.State(), state);
  inside.CopyFile(file, "copy", FileKind::kPlain);
  EXPECT_EQ(file.State(), state);
  for (const auto& [what, change] : std::vector<std::pair<std::string, std::function<void()>>>{
           {"time", [&] { SetTimes(path, 1, 1'000'000'001); }},
           {"mode", [&] { SetMode(path, 0600); }},
           {"size", [&] { directory_.Write("inside/file", "texts"); }}}) {
    SCOPED_TRACE(what);
    change();
    EXPECT_NE(WithoutChangeTime(file.State()), WithoutChangeTime(state));
    SetMode(directory_.Write("inside/file", "text"), 0644);
    SetTimes(path, 1, 1'000'000'000);
    EXPECT_EQ(WithoutChangeTime(file.State()), WithoutChangeTime(state));
  }
  fs::rename(path, Path("kept"));
  directory_.Write("inside/file", "test");
  SetTimes(path, 1, 1'000'000'000);
  EXPECT_NE(WithoutChangeTime(inside.Look("file")), WithoutChangeTime(state));
  EXPECT_EQ(WithoutChangeTime(file.State()), WithoutChangeTime(state));
}

TEST_F(OpenDirectoryTest, TellsAFileThatWasRewrittenThoughItsTimeIsPutBack) {
  const std::string path = directory_.Write("inside/file", "text");
  SetTimes(path, 1, 1'000'000'000);
  const OpenFile file(path);
  const KVLInsIO::EntryState state = file.State();
  RewriteUnnoticed(path, "test");
  EXPECT_EQ(WithoutChangeTime(file.State()), WithoutChangeTime(state));
  EXPECT_NE(file.State(), state);
}

TEST_F(OpenDirectoryTest, RenamesOnlyToWhereNothingIs) {
  for (const int refusal : {0, ENOSYS, EINVAL, EPERM}) {
    SCOPED_TRACE(refusal);
    const TestDirectory directory;
    directory.Write("from/file", "text");
    directory.Link("from/link", "file");
    directory.Write("to/file", "other");
    directory.Link("to/link", "nowhere");
    const auto failure_of = [&](const std::string& name, const std::string& new_name) {
      return IsolatedFailureOf([&] {
        if (refusal != 0) {
          FilterCalls({SYS_renameat2}, SECCOMP_RET_ERRNO | static_cast<unsigned>(refusal));
        }
        OpenDirectory(directory.Path("from"))
            .Rename(name, OpenDirectory(directory.Path("to")), new_name);
      });
    };
    const auto text = [&](const std::string& name, const std::string& new_name) {
      return "rename - " + directory.Path("from/" + name) + " to " +
             directory.Path("to/" + new_name);
    };
    const auto before = DescribeTree(directory.Path());
    for (const char* there : {"file", "link"}) {
      EXPECT_EQ(failure_of("file", there), Exception(text("file", there), EEXIST));
    }
    EXPECT_EQ(failure_of("missing", "new"), Exception(text("missing", "new"), ENOENT));
    EXPECT_EQ(DescribeTree(directory.Path()), before);
    EXPECT_EQ(failure_of("file", "new"), kNoFailure);
    EXPECT_EQ(failure_of("link", "new link"), kNoFailure);
    EXPECT_THAT(
        DescribeTree(directory.Path()),
        ElementsAre("d 755 from", "d 755 to", "f 644 to/file = other", "f 644 to/new = text",
                    "l to/link -> nowhere", "l to/new link -> file"));
  }
}

TEST_F(OpenDirectoryTest, GoesDeeperThanAPathCanBeLong) {
  const std::string name(200, 'd');
  std::optional<OpenDirectory> place(OpenDirectory{inside_});
  for (int i = 0; i < 40; ++i) place = place->MakeDirectory(name);
  place->WriteFile("file", "text", FileKind::kPlain);
  EXPECT_GT(place->Path().size(), 8000U);
  EXPECT_EQ(place->Look("file").size, 4U);
}

TEST_F(OpenDirectoryTest, OpensNoPipeAndWaitsForNobody) {
  directory_.Pipe("inside/pipe");
  MakeSocket(directory_, "inside/socket");
  const OpenDirectory inside(inside_);
  inside.MakeDirectory("directory");
  EXPECT_EQ(FailureOf([&] { return inside.File("pipe"); }),
            Exception("Cannot read " + inside_ + "/pipe", EOPNOTSUPP));
  EXPECT_EQ(FailureOf([&] { return inside.File("directory"); }),
            Exception("Cannot read " + inside_ + "/directory", EOPNOTSUPP));
  EXPECT_EQ(FailureOf([&] { return inside.File("socket"); }),
            Exception("Cannot read " + inside_ + "/socket", ENXIO));
  EXPECT_EQ(FailureOf([&] { OpenFile("/dev/null"); }),
            Exception("Cannot read /dev/null", EOPNOTSUPP));
}

TEST_F(OpenDirectoryTest, SaysWhatHasFailed) {
  directory_.Write("inside/file", "text");
  directory_.MakeDir("inside/directory");
  const OpenDirectory inside(inside_);
  const std::string missing = inside_ + "/missing";
  EXPECT_EQ(FailureOf([&] { OpenDirectory{missing}; }), Exception("opendir - " + missing, ENOENT));
  EXPECT_EQ(FailureOf([&] { OpenDirectory{""}; }), Exception("opendir - ", ENOENT));
  EXPECT_EQ(FailureOf([&] { OpenDirectory{inside_ + "/file"}; }),
            Exception("opendir - " + inside_ + "/file", ENOTDIR));
  EXPECT_EQ(FailureOf([&] { OpenFile{missing}; }), Exception("Cannot read " + missing, ENOENT));
  EXPECT_EQ(FailureOf([&] { OpenFile{""}; }), Exception("Cannot read ", ENOENT));
  EXPECT_EQ(FailureOf([&] { return inside.Look("missing"); }),
            Exception("lstat - " + missing, ENOENT));
  EXPECT_EQ(FailureOf([&] { return inside.Directory("missing"); }),
            Exception("opendir - " + missing, ENOENT));
  EXPECT_EQ(FailureOf([&] { return inside.File("missing"); }),
            Exception("Cannot read " + missing, ENOENT));
  EXPECT_EQ(FailureOf([&] { inside.MakeDirectory("file"); }),
            Exception("opendir - " + inside_ + "/file", ENOTDIR));
  EXPECT_EQ(FailureOf([&] { inside.MakeDirectory(TooLongName()); }),
            Exception("mkdir - " + inside_ + "/" + TooLongName(), ENAMETOOLONG));
  EXPECT_EQ(FailureOf([&] { inside.WriteFile("directory", "", FileKind::kPlain); }),
            Exception("Cannot write into " + inside_ + "/directory", EEXIST));
  EXPECT_EQ(FailureOf([&] { inside.Rename("missing", inside, "new"); }),
            Exception("rename - " + missing + " to " + inside_ + "/new", ENOENT));
  EXPECT_EQ(FailureOf([&] { inside.Delete("directory"); }),
            Exception("unlink - " + inside_ + "/directory", EISDIR));
  EXPECT_EQ(FailureOf([&] { return OpenDirectory("/").Look(TooLongName()); }),
            Exception("lstat - /" + TooLongName(), ENAMETOOLONG));
}

TEST_F(OpenDirectoryTest, SaysSoWhenItsListBreaksOffOrTheDiskIsFull) {
  directory_.Write("inside/file", "text");
  const OpenDirectory inside(inside_);
  const OpenFile source(directory_.Write("source", std::string(3000, 'x')));
  {
    const FailingCall readdir(FailingCall::kReadDir, EIO, 1);
    EXPECT_EQ(FailureOf([&] { return inside.Names(); }), Exception("readdir - " + inside_, EIO));
  }
  {
    const FailingCall close(FailingCall::kClose, EDQUOT);
    EXPECT_EQ(FailureOf([&] { inside.WriteFile("late", "text", FileKind::kPlain); }),
              ExceptionErrno("Cannot write into " + inside_ + "/late", EDQUOT));
  }
  const std::string kNew = inside_ + "/new";
  EXPECT_EQ(IsolatedFailureOf([&] {
              LimitFileSize(2000);
              inside.CopyFile(source, "new", FileKind::kProgram);
            }),
            ExceptionErrno("Cannot write into " + kNew, ENOSPC));
  EXPECT_EQ(ModeOf(kNew), 0600U);
  EXPECT_EQ(IsolatedFailureOf([&] {
              LimitFurtherDescriptors(0);
              return inside.Names();
            }),
            Exception("opendir - " + inside_, EMFILE));
}

TEST_F(OpenDirectoryTest, NeedsNoRightToListWhatItOnlyWritesInto) {
  directory_.MakeDir("box");
  SetMode(Path("box"), 0333);
  GiveToOrdinaryUser(Path("box"));
  EXPECT_EQ(IsolatedFailureOf([&] {
              EnterAsOrdinaryUser(directory_);
              const OpenDirectory box("box");
              box.WriteFile("file", "text", FileKind::kPlain);
              return box.Names();
            }),
            Exception("opendir - box", EACCES));
  SetMode(Path("box"), 0755);
  EXPECT_EQ(ReadFile(Path("box/file")), "text");
}

TEST_F(OpenDirectoryTest, LeavesNoDescriptorOpen) {
  directory_.Write("inside/file", "text");
  const auto before = OpenDescriptors();
  {
    OpenDirectory one(inside_);
    OpenDirectory other = one.MakeDirectory("other");
    one = std::move(other);
    OpenFile file(inside_ + "/file");
    file = OpenFile(inside_ + "/file");
    one.CopyFile(file, "copy", FileKind::kPlain);
    EXPECT_THAT(one.Names(), ElementsAre("copy"));
    EXPECT_EQ(FailureOf([&] { return one.File("other"); }).type, "KVLInsException");
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
}  // namespace kvl::test
