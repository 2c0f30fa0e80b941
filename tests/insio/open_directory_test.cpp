#include "insio/open_directory.h"

#include <sys/syscall.h>

#include "tests/insio/in_own_directory.h"
#include "tests/insio/odd_paths.h"
#include "tests/support/call_filter.h"
#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;
using enum FileKind;

class OpenDirectoryTest : public InOwnDirectory {
 protected:
  std::string Inside(const std::string& name) const { return inside_ + "/" + name; }

  std::string inside_ = MakeDir("inside");
};

TEST_F(OpenDirectoryTest, TakesEveryNameAsItIs) {
  const OpenDirectory inside(inside_);
  const OpenFile source(Write("source", "copied"));
  for (const std::string& name : kOddNames) {
    const OpenDirectory made = inside.MakeDirectory(name);
    EXPECT_EQ(made.Path(), Inside(name));
    made.WriteFile(name, "written", kPlain);
    made.MakeDirectory("copy").CopyFile(source, name, kPlain);
    EXPECT_EQ(inside.Directory(name).File(name).Path(), Inside(name + "/" + name));
    EXPECT_THAT(made.Names(), testing::UnorderedElementsAre(name, "copy"));
    EXPECT_EQ(ReadFile(Inside(name + "/" + name)), "written");
    EXPECT_EQ(ReadFile(Inside(name + "/copy/" + name)), "copied");
  }
  EXPECT_EQ(inside.Names().size(), kOddNames.size());
  EXPECT_THAT(OpenDirectory(Path()).Names(), ElementsAre("inside", "source"));
}

TEST_F(OpenDirectoryTest, RefusesWhatIsNoNameOfAnEntry) {
  Make({"inside/file", "inside/a/b/"});
  const OpenDirectory inside(inside_);
  const OpenFile source(inside.File("file"));
  const auto before = Tree();
  const std::string nul("file\0x", 6);
  for (const std::string& name :
       std::vector<std::string>{"", ".", "..", nul, "a/b", "/", "file/", "/etc", "../x"}) {
    SCOPED_TRACE(name);
    // The text of an exception ends at its first NUL byte.
    const Failure expected = {"KVLInsException", "OpenDirectory - no name of an entry: " +
                                                     (name == nul ? "file" : name + "\n")};
    ExpectFailures({{[&] { return inside.Look(name); }, expected},
                    {[&] { return inside.Target(name); }, expected},
                    {[&] { return inside.Directory(name); }, expected},
                    {[&] { return inside.File(name); }, expected},
                    {[&] { inside.MakeDirectory(name); }, expected},
                    {[&] { inside.WriteFile(name, "x", kPlain); }, expected},
                    {[&] { inside.CopyFile(source, name, kPlain); }, expected},
                    {[&] { inside.Rename(name, inside, "new"); }, expected},
                    {[&] { inside.Rename("file", inside, name); }, expected},
                    {[&] { inside.Delete(name); }, expected},
                    {[&] { inside.MakeLink(name, "x", 0); }, expected}});
  }
  EXPECT_EQ(Tree(), before);
}

TEST_F(OpenDirectoryTest, FollowsNoLink) {
  Make({"outside/file", "inside/directory -> ../outside", "inside/file -> ../outside/file",
        "inside/new -> ../outside/new"});
  const OpenDirectory inside(inside_);
  const OpenFile source(Path("outside/file"));
  const auto before = Tree();
  const Failure no_directory = Exception("opendir - " + Inside("directory"), ENOTDIR);
  ExpectFailures(
      {{[&] { return inside.Directory("directory"); }, no_directory},
       {[&] { inside.MakeDirectory("directory"); }, no_directory},
       {[&] { return inside.File("file"); }, Exception("Cannot read " + Inside("file"), ELOOP)}});
  for (const std::string name : {"file", "new"}) {
    const Failure is_there = Exception("Cannot write into " + Inside(name), EEXIST);
    ExpectFailures({{[&] { inside.WriteFile(name, "x", kPlain); }, is_there},
                    {[&] { inside.CopyFile(source, name, kPlain); }, is_there}});
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
  Make({"outside/below/", "inside -> outside"});
  below.WriteFile("file", "text", kPlain);
  below.MakeDirectory("further").WriteFile("file", "text", kPlain);
  EXPECT_THAT(Tree(),
              ElementsAre("d 755 moved", "d 755 moved/below", "d 755 moved/below/further",
                          "d 755 outside", "d 755 outside/below", "f 644 moved/below/file = text",
                          "f 644 moved/below/further/file = text", "l inside -> outside"));
}

TEST_F(OpenDirectoryTest, TellsWhatALinkHolds) {
  const std::string longest = std::string(4095, '/'), odd = "../a//\xFF\n/.";
  Make({"inside/file"});
  const OpenDirectory inside(inside_);
  for (const std::string& target : {longest, odd, std::string("file")}) {
    fs::create_symlink(target, Inside("link"));
    EXPECT_EQ(inside.Target("link"), target);
    inside.Delete("link");
  }
  ExpectFailures(
      {{[&] { return inside.Target("file"); }, Exception("readlink - " + Inside("file"), EINVAL)},
       {[&] { return inside.Target("no"); }, Exception("readlink - " + Inside("no"), ENOENT)}});
}

TEST_F(OpenDirectoryTest, ReadsFromAnyPlaceOfAFileToItsEnd) {
  const OpenFile file(Write("source", "0123456789"));
  file.ExpectReading();
  const auto read = [&](std::uint64_t at, std::size_t most) {
    std::string bytes(most, ' ');
    bytes.resize(file.Read(at, bytes));
    return bytes;
  };
  EXPECT_EQ(read(0, 4), "0123");
  EXPECT_EQ(read(8, 4), "89");
  EXPECT_EQ(read(0, 100), "0123456789");
  EXPECT_EQ(read(10, 4), "");
  EXPECT_EQ(read(1'000'000'000'000, 4), "");
  const auto read_from_a_bad_disc = [&] {
    FilterCalls({SYS_pread64}, SECCOMP_RET_ERRNO | EIO);
    read(0, 1);
  };
  EXPECT_EQ(FailureInside(read_from_a_bad_disc), ExceptionErrno("Cannot read " + file.Path(), EIO));
}

TEST_F(OpenDirectoryTest, FollowsLinksOnlyWhereItBegins) {
  Make({"inside/file", "link -> inside", "to_file -> inside/file"});
  EXPECT_THAT(OpenDirectory(Path("link")).Names(), ElementsAre("file"));
  EXPECT_EQ(OpenFile(Path("to_file")).State(), OpenDirectory(inside_).Look("file"));
}

TEST_F(OpenDirectoryTest, GivesNewEntriesTheirModesWhateverTheUmask) {
  Make({"source", "inside/there/file"});
  SetMode(Inside("there"), 0700);
  const ScopedUmask umask(077);
  const OpenDirectory inside(inside_);
  const OpenFile source(Path("source"));
  inside.MakeDirectory("directory");
  EXPECT_THAT(inside.MakeDirectory("there").Names(), ElementsAre("file"));
  inside.WriteFile("plain", "", kPlain);
  inside.WriteFile("program", "", kProgram);
  inside.CopyFile(source, "copy", kPlain);
  inside.CopyFile(source, "program copy", kProgram);
  EXPECT_THAT(Tree("inside"), ElementsAre("d 700 there", "d 755 directory", "f 644 copy = text",
                                          "f 644 plain = ", "f 644 there/file = text",
                                          "f 755 program = ", "f 755 program copy = text"));
}

TEST_F(OpenDirectoryTest, CopiesAnySizeWithTimesAndShowsEachByte) {
  const OpenDirectory inside(inside_);
  for (const std::size_t size : {0U, 1U, 65'535U, 65'536U, 65'537U, 200'000U}) {
    constexpr std::size_t kPiece = 65'536;
    std::string contents, seen;
    for (std::size_t i = 0; i < size; ++i) contents.push_back(static_cast<char>(i * 7));
    const OpenFile source(Write("source", contents));
    SetTimes(source.Path(), 0, 1'000'000'000);
    const std::string name = std::to_string(size);
    inside.CopyFile(source, name, kPlain, [&](std::string_view piece) {
      EXPECT_EQ(piece.size(), std::min(kPiece, size - seen.size()));
      EXPECT_FALSE(fs::exists(Inside(name))) << "and it is not whole";
      seen.append(piece);
    });
    inside.CopyFile(source, name + " again", kPlain);
    const struct stat status = StatusOf(Inside(name));
    EXPECT_EQ(Nanoseconds(status.st_atim), 0);
    EXPECT_EQ(Nanoseconds(status.st_mtim), 1'000'000'000 * kSecond);
    EXPECT_EQ(ReadFile(Inside(name)), contents);
    EXPECT_EQ(ReadFile(Inside(name + " again")), contents);
    EXPECT_EQ(seen, contents);
  }
}

TEST_F(OpenDirectoryTest, ShowsToOthersOnlyWhatIsFinished) {
  NewFile file = OpenDirectory(inside_).MakeFile("new");
  EXPECT_EQ(file.Path(), Inside("new"));
  file.Write("one ");
  NewFile moved = std::move(file);
  moved.Write("");
  moved.Write("two");
  EXPECT_THAT(Tree("inside"), ElementsAre("f 600 new = one two"));
  moved.Finish(kProgram, 1, 2);
  const struct stat status = StatusOf(Inside("new"));
  EXPECT_THAT(Tree("inside"), ElementsAre("f 755 new = one two"));
  EXPECT_EQ(Nanoseconds(status.st_atim), 1 * kSecond);
  EXPECT_EQ(Nanoseconds(status.st_mtim), 2 * kSecond);
}

TEST_F(OpenDirectoryTest, GivesTheTimesThatItIsAskedFor) {
  constexpr std::int64_t kTime = 1'000'000'000;
  const OpenDirectory inside(inside_);
  inside.WriteFile("file", "x", kPlain, kTime);
  inside.WriteFile("of before 1970", "x", kProgram, -1);
  inside.MakeDirectory("directory").SetTime(kTime);
  inside.SetTime(kTime);
  for (const auto& [name, time] :
       {std::pair("file", kTime), {"of before 1970", -1}, {"directory", kTime}, {"", kTime}}) {
    const struct stat status = StatusOf(Inside(name));
    EXPECT_EQ(Nanoseconds(status.st_mtim), time * kSecond) << name;
    EXPECT_EQ(Nanoseconds(status.st_atim), time * kSecond) << name;
  }
  EXPECT_THAT(Tree("inside"),
              ElementsAre("d 755 directory", "f 644 file = x", "f 755 of before 1970 = x"));
}

TEST_F(OpenDirectoryTest, MakesALinkWithItsTime) {
  const OpenDirectory inside(inside_);
  Write("inside/file", "text");
  SetTimes(Inside("file"), 1, 1);
  const std::string longest(PATH_MAX - 1, 'x');
  inside.MakeLink("link", "file", 1'000'000'000);
  inside.MakeLink("longest", longest, -1);
  EXPECT_EQ(inside.Target("link"), "file");
  EXPECT_EQ(inside.Target("longest"), longest);
  EXPECT_EQ(inside.Look("link").modified, 1'000'000'000);
  EXPECT_EQ(inside.Look("longest").modified, -1);
  EXPECT_EQ(inside.Look("file").modified, 1);
  ExpectFailures(
      {{[&] { inside.MakeLink("file", "x", 0); }, Exception("symlink - " + Inside("file"), EEXIST)},
       {[&] { inside.MakeLink("link", "x", 0); }, Exception("symlink - " + Inside("link"), EEXIST)},
       {[&] { inside.MakeLink("new", "", 0); }, Exception("symlink - " + Inside("new"), ENOENT)}});
}

TEST_F(OpenDirectoryTest, ReportsTimesThatCannotBeSetAndDataThatCannotBeStored) {
  const OpenDirectory inside(inside_);
  inside.SyncFileSystem();
  const auto without = [](unsigned call, const std::function<void()>& action) {
    return IsolatedFailureOf([&] {
      FilterCalls({call}, SECCOMP_RET_ERRNO | EIO);
      action();
    });
  };
  EXPECT_EQ(without(SYS_utimensat, [&] { inside.SetTime(0); }),
            ExceptionErrno("SetTime - " + inside_, EIO));
  EXPECT_EQ(without(SYS_utimensat, [&] { inside.WriteFile("file", "x", kProgram, 0); }),
            ExceptionErrno("SetTime - " + Inside("file"), EIO));
  EXPECT_EQ(without(SYS_utimensat, [&] { inside.MakeLink("link", "x", 0); }),
            ExceptionErrno("SetTime - " + Inside("link"), EIO));
  EXPECT_EQ(without(SYS_syncfs, [&] { inside.SyncFileSystem(); }),
            ExceptionErrno("syncfs - " + inside_, EIO));
  EXPECT_THAT(Tree("inside"), ElementsAre("f 600 file = x", "l link -> x"));
}

TEST_F(OpenDirectoryTest, EndsACopyWithTheExceptionOfItsObserver) {
  const OpenFile source(Write("source", std::string(100'000, 'x')));
  const auto refuse = [](std::string_view) { throw std::range_error("enough"); };
  EXPECT_THROW(OpenDirectory(inside_).CopyFile(source, "copy", kProgram, refuse), std::range_error);
  EXPECT_THAT(Tree("inside"), IsEmpty());
}

/// The facts that can stay the same although somebody has changed the file.
EntryState WithoutChangeTime(EntryState state) {
  state.changed = state.changed_nanoseconds = 0;
  return state;
}

TEST_F(OpenDirectoryTest, TellsAChangedFileFromTheSameOne) {
  EXPECT_EQ(EntryState(), (EntryState{0, 0, 0, 0, 0, 0, 0, 0}));
  const std::string path = Inside("file");
  const OpenDirectory inside(inside_);
  const auto make = [&] {
    SetMode(Write("inside/file", "text"), 0644);
    SetTimes(path, 1, 1'000'000'000);
  };
  make();
  const OpenFile file = inside.File("file");
  const EntryState state = inside.Look("file");
  EXPECT_TRUE(S_ISREG(state.mode));
  EXPECT_EQ(state.size, 4U);
  EXPECT_EQ(state.modified, 1'000'000'000);
  inside.CopyFile(file, "copy", kPlain);
  EXPECT_EQ(file.State(), state);
  const std::map<std::string, std::function<void()>> changes = {
      {"time", [&] { SetTimes(path, 1, 1'000'000'001); }},
      {"mode", [&] { SetMode(path, 0600); }},
      {"size", [&] { Write("inside/file", "texts"); }}};
  for (const auto& [what, change] : changes) {
    change();
    EXPECT_NE(WithoutChangeTime(file.State()), WithoutChangeTime(state)) << what;
    make();
    EXPECT_EQ(WithoutChangeTime(file.State()), WithoutChangeTime(state)) << what;
  }
  const EntryState put_back = file.State();
  RewriteUnnoticed(path, "test");
  EXPECT_EQ(WithoutChangeTime(file.State()), WithoutChangeTime(state));
  EXPECT_NE(file.State(), put_back);
  fs::rename(path, Path("kept"));
  make();
  EXPECT_NE(WithoutChangeTime(inside.Look("file")), WithoutChangeTime(state));
  EXPECT_EQ(WithoutChangeTime(file.State()), WithoutChangeTime(state));
}

TEST_F(OpenDirectoryTest, RenamesOnlyToWhereNothingIs) {
  for (const int refusal : {0, ENOSYS, EINVAL, EPERM}) {
    SCOPED_TRACE(refusal);
    Make({"from/file", "from/link -> file", "to/link -> nowhere"});
    Write("to/file", "other");
    const auto expect = [&](const std::string& name, const std::string& new_name, int error) {
      const Failure failure = FailureInside([&] {
        if (refusal != 0) {
          FilterCalls({SYS_renameat2}, SECCOMP_RET_ERRNO | static_cast<unsigned>(refusal));
        }
        OpenDirectory(Path("from")).Rename(name, OpenDirectory(Path("to")), new_name);
      });
      const std::string text = "rename - " + Path("from/" + name) + " to " + Path("to/" + new_name);
      EXPECT_EQ(failure, error == 0 ? kNoFailure : Exception(text, error));
    };
    const auto before = Tree();
    expect("file", "file", EEXIST);
    expect("file", "link", EEXIST);
    expect("missing", "new", ENOENT);
    EXPECT_EQ(Tree(), before);
    expect("file", "new", 0);
    expect("link", "new link", 0);
    EXPECT_THAT(Tree(), ElementsAre("d 755 from", "d 755 inside", "d 755 to",
                                    "f 644 to/file = other", "f 644 to/new = text",
                                    "l to/link -> nowhere", "l to/new link -> file"));
    fs::remove_all(Path("to"));
  }
}

TEST_F(OpenDirectoryTest, GoesDeeperThanAPathCanBeLong) {
  const std::string name(200, 'd');
  std::optional<OpenDirectory> place(OpenDirectory{inside_});
  for (int i = 0; i < 40; ++i) place = place->MakeDirectory(name);
  place->WriteFile("file", "text", kPlain);
  EXPECT_GT(place->Path().size(), 8000U);
  EXPECT_EQ(place->Look("file").size, 4U);
}

TEST_F(OpenDirectoryTest, SaysWhatHasFailedAndWaitsForNobody) {
  Make({"inside/file", "inside/directory/"});
  Pipe("inside/pipe");
  MakeSocket(*this, "inside/socket");
  const OpenDirectory inside(inside_);
  const std::string missing = Inside("missing"), too_long = TooLongName();
  ExpectFailures({
      {[&] { OpenDirectory{missing}; }, Exception("opendir - " + missing, ENOENT)},
      {[&] { OpenDirectory{""}; }, Exception("opendir - ", ENOENT)},
      {[&] { OpenDirectory{Inside("file")}; }, Exception("opendir - " + Inside("file"), ENOTDIR)},
      {[&] { OpenFile{missing}; }, Exception("Cannot read " + missing, ENOENT)},
      {[&] { OpenFile{""}; }, Exception("Cannot read ", ENOENT)},
      {[&] { OpenFile{"/dev/null"}; }, Exception("Cannot read /dev/null", EOPNOTSUPP)},
      {[&] { return inside.Look("missing"); }, Exception("lstat - " + missing, ENOENT)},
      {[&] { return OpenDirectory("/").Look(too_long); },
       Exception("lstat - /" + too_long, ENAMETOOLONG)},
      {[&] { return inside.Directory("missing"); }, Exception("opendir - " + missing, ENOENT)},
      {[&] { return inside.File("missing"); }, Exception("Cannot read " + missing, ENOENT)},
      {[&] { return inside.File("pipe"); }, Exception("Cannot read " + Inside("pipe"), EOPNOTSUPP)},
      {[&] { return inside.File("directory"); },
       Exception("Cannot read " + Inside("directory"), EOPNOTSUPP)},
      {[&] { return inside.File("socket"); }, Exception("Cannot read " + Inside("socket"), ENXIO)},
      {[&] { inside.MakeDirectory("file"); }, Exception("opendir - " + Inside("file"), ENOTDIR)},
      {[&] { inside.MakeDirectory(too_long); },
       Exception("mkdir - " + Inside(too_long), ENAMETOOLONG)},
      {[&] { inside.Delete("directory"); }, Exception("unlink - " + Inside("directory"), EISDIR)},
  });
}

TEST_F(OpenDirectoryTest, SaysSoWhenItsListBreaksOffOrTheDiskIsFull) {
  Make({"inside/file"});
  const OpenDirectory inside(inside_);
  const OpenFile source(Write("source", std::string(300'000, 'x')));
  const auto list_in_part = [&] {
    const FailingCall readdir(FailingCall::kReadDir, EIO, 1);
    return inside.Names();
  };
  const auto write_late = [&] {
    const FailingCall close(FailingCall::kClose, EDQUOT);
    inside.WriteFile("late", "text", kPlain);
  };
  ExpectFailures({{list_in_part, Exception("readdir - " + inside_, EIO)},
                  {write_late, ExceptionErrno("Cannot write into " + Inside("late"), EDQUOT)}});
  const auto copy_onto_a_full_disk = [&] {
    LimitFileSize(200'000);
    inside.CopyFile(source, "new", kProgram);
  };
  EXPECT_EQ(FailureInside(copy_onto_a_full_disk),
            ExceptionErrno("Cannot write into " + Inside("new"), ENOSPC));
  EXPECT_THAT(inside.Names(), ElementsAre("file", "late"));
  const auto write_without_mode = [&] {
    FilterCalls({SYS_fchmod}, SECCOMP_RET_ERRNO | EPERM);
    inside.WriteFile("unfinished", "text", kPlain);
  };
  EXPECT_EQ(FailureInside(write_without_mode),
            ExceptionErrno("Chmod - " + Inside("unfinished"), EPERM));
  const auto list_without_descriptors = [&] {
    LimitDescriptors(static_cast<unsigned>(::dup(STDERR_FILENO)));
    return inside.Names();
  };
  EXPECT_EQ(FailureInside(list_without_descriptors), Exception("opendir - " + inside_, EMFILE));
}

TEST_F(OpenDirectoryTest, ClosesAListThatCannotBeRead) {
  Make({"inside/"});
  const auto list = [&] {
    const OpenDirectory inside(inside_);
    const int free = ::dup(STDERR_FILENO);
    ::close(free);
    FilterCalls({SYS_fcntl}, SECCOMP_RET_ERRNO | EINVAL);
    try {
      return static_cast<int>(inside.Names().size());
    } catch (const std::exception&) {
      return ::dup(STDERR_FILENO) == free ? 100 : 101;
    }
  };
  EXPECT_EQ(RunIsolated(list).status, 100);
}

TEST_F(OpenDirectoryTest, NeedsNoRightToListWhatItOnlyWritesInto) {
  Make({"box/"});
  SetMode(Path("box"), 0333);
  GiveToOrdinaryUser(Path("box"));
  const auto write_and_list = [] {
    const OpenDirectory box("box");
    box.WriteFile("file", "text", kPlain);
    return box.Names();
  };
  EXPECT_EQ(FailureAsOrdinaryUser(write_and_list), Exception("opendir - box", EACCES));
  SetMode(Path("box"), 0755);
  EXPECT_EQ(ReadFile(Path("box/file")), "text");
}

TEST_F(OpenDirectoryTest, ClosesADirectoryOrFileThatIsReplaced) {
  Make({"inside/file"});
  OpenDirectory one(inside_);
  OpenDirectory other = one.MakeDirectory("other");
  one = std::move(other);
  OpenFile file(Inside("file"));
  file = OpenFile(Inside("file"));
  one.CopyFile(file, "copy", kPlain);
  EXPECT_THAT(one.Names(), ElementsAre("copy"));
  EXPECT_EQ(OpenDescriptors().size(), descriptors_.size() + 2);
}

}  // namespace
}  // namespace kvl::test
