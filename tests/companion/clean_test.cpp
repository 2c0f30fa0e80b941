// kvl-media clean: what it removes of the directories that staged runs have left, and what it
// leaves alone.
#include <sys/mman.h>
#include <sys/prctl.h>

#include <linux/capability.h>

#include "companion/clean/left_overs.h"
#include "console/identifier.h"
#include "tests/companion/check_world.h"
#include "tests/conditions/own_mounts.h"
#include "tests/support/sanitized.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

/// Makes the names of staging directories differ between processes. A process that has a file below
/// such a name open counts as a user of every directory of this name, so tests that run at the same
/// time would disturb each other.
const std::string kEndOfNames = Hex4(static_cast<std::uint32_t>(::getpid()) >> 16U, kUpperCase) +
                                Hex4(static_cast<std::uint32_t>(::getpid()) & 0xFFFFU, kUpperCase);
const std::string kOne = "01234567-89AB-4DEF-8123-4567" + kEndOfNames;
const std::string kOther = "F1234567-89AB-4DEF-B123-4567" + kEndOfNames;

/// Makes a temporary directory with the staging directories of two runs.
class CleanTest : public testing::Test, protected CheckWorld {
 protected:
  CleanTest() {
    for (const std::string& name : {kOne, kOther}) {
      Change("file tmp/" + name + "/inst/sub/file; file tmp/" + name + "/media.xml");
      WriteScript(name, "{tmp/" + name + "}/");
    }
  }

  /// Writes the script that the launcher writes for the staging directory `directory`, which ends
  /// in "/".
  void WriteScript(const std::string& name, const std::string& directory) const {
    Directory().Write(
        "tmp/" + name + "/remove.bat",
        Text(":begin\nrmdir /Q /S \"" + directory + "inst\" 1>nul 2>nul\nif exist \"" + directory +
             "inst\" goto begin\nrmdir /Q /S \"" + directory + "\" 1>nul 2>nul\n"));
  }

  Outcome Clean(const Lines& further = {}, const std::function<void()>& before = {}) const {
    Lines arguments = {"clean"};
    arguments.insert(arguments.end(), further.begin(), further.end());
    return Companion(arguments, {{"TMPDIR", "{tmp}"}}, before);
  }

  /// Expects that clean removes kOther, and leaves kOne unchanged for this reason.
  void ExpectLeftAlone(const std::string& reason, const std::function<void()>& before = {}) const {
    ExpectKept("left alone   ", reason, before);
  }
  void ExpectKept(const std::string& label, const std::string& reason,
                  const std::function<void()>& before) const {
    const Lines kept = DescribeTree(Path("tmp/" + kOne));
    const Outcome seen = Clean({"--yes"}, before);
    if (seen.status == kImpossibleHere) GTEST_SKIP() << "this cannot be set up here";
    EXPECT_EQ(seen, (Outcome{1, Text(label + "{tmp}/" + kOne + ": " + reason +
                                     "\nremoved      {tmp}/" + kOther + "\n")}));
    EXPECT_EQ(DescribeTree(Path("tmp/" + kOne)), kept);
    EXPECT_FALSE(fs::exists(Path("tmp/" + kOther)));
  }

  const std::string one_ = "{tmp}/" + kOne;
};

TEST_F(CleanTest, SaysThatNothingIsLeft) {
  fs::remove_all(Path("tmp"));
  // None of these is the name of a staging directory.
  for (const std::string name :
       {"01234567-89ab-4def-8123-456789abcdef", "01234567-89AB-3DEF-8123-456789ABCDEF",
        "01234567-89AB-4DEF-C123-456789ABCDEF", "0123456789AB-4DEF-8123-456789ABCDEF-",
        "01234567-89AB-4DEF-8123-456789ABCDE", "01234567-89AB-4DEF-8123-456789ABCDEG",
        "01234567-89AB-4DEF-8123-456789ABCDEF0", "other"}) {
    Change("dir tmp/" + name);
  }
  const Lines before = DescribeTreeExactly(Path("."));
  for (const Lines& further : std::vector<Lines>{{}, {"{tmp}"}, {"--yes"}, {"--yes", "tmp"}}) {
    const std::string directory = further.empty() || further.back()[0] != 't' ? "{tmp}" : "tmp";
    EXPECT_EQ(Clean(further), (Outcome{0, Text("Nothing is left in " + directory + "\n")}));
  }
  EXPECT_EQ(DescribeTreeExactly(Path(".")), before);
}

TEST_F(CleanTest, ListsWhatALaunchHasLeftAndRemovesItOnDemand) {
  fs::remove_all(Path("tmp"));
  Change("two volumes; 2: 2=SET-B; dir tmp");
  ASSERT_EQ(Launch("1").status, 0);
  const Lines before = DescribeTreeExactly(Path("."));
  for (const Lines& further : {Lines{}, Lines{"{tmp}/"}}) {
    EXPECT_EQ(Clean(further), (Outcome{1, Text("left over    {staging}\n")}));
  }
  EXPECT_EQ(DescribeTreeExactly(Path(".")), before);
  EXPECT_EQ(Clean({"--yes"}), (Outcome{0, Text("removed      {staging}\n")}));
  EXPECT_TRUE(fs::is_empty(Path("tmp")));
}

TEST_F(CleanTest, RemovesEveryKindOfEntryButFollowsNoLink) {
  const std::string in_one = " tmp/" + kOne;
  Change("file outside/file kept; link" + in_one + "/inst/out {outside}; link" + in_one +
         "/inst/to_file {outside/file}; pipe" + in_one + "/pipe; socket" + in_one + "/s; file" +
         in_one + "/\\x1B\\n[2J; dir" + in_one + "/empty; file" + in_one +
         "/inst/remove.bat; link way tmp");
  EXPECT_EQ(Clean({"way", "--yes"}),
            (Outcome{0, "removed      way/" + kOne + "\nremoved      way/" + kOther + "\n"}));
  EXPECT_TRUE(fs::is_empty(Path("tmp")));
  EXPECT_THAT(DescribeTree(Path("outside")), ElementsAre("f 644 file = kept"));
}

TEST_F(CleanTest, LeavesAloneWhatIsNotAStagingDirectory) {
  const std::string script = one_ + "/remove.bat", tmp = "tmp/" + kOne;
  const std::string no_script = "its remove.bat is not what a launcher writes there";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"move " + tmp + " elsewhere; link " + tmp + " {elsewhere}", "it is not a directory"},
      {"remove " + tmp + "; file " + tmp, "it is not a directory"},
      {"remove " + tmp + "/remove.bat", "Cannot read " + script + " - No such file or directory"},
      {"move " + tmp + "/remove.bat text; link " + tmp + "/remove.bat {text}",
       "Cannot read " + script + " - Too many levels of symbolic links"},
      {"link " + tmp + "/remove.bat /dev/zero",
       "Cannot read " + script + " - Too many levels of symbolic links"},
      {"pipe " + tmp + "/remove.bat", no_script},
      {"dir " + tmp + "/remove.bat", no_script},
      {"file " + tmp + "/remove.bat", no_script},
      {"file " + tmp + "/remove.bat \"/" + kOne + "/", no_script},
      {"file " + tmp + "/remove.bat " + std::string(100'000, 'x'), no_script},
  };
  for (const auto& [change, reason] : rows) {
    SCOPED_TRACE(change.substr(0, 200));
    fs::remove_all(Path("tmp"));
    CleanTest::WriteScript(kOne, one_ + "/");
    CleanTest::WriteScript(kOther, "{tmp}/" + kOther + "/");
    Change(change);
    ExpectLeftAlone(reason);
  }
}

TEST_F(CleanTest, LeavesAloneADirectoryWithTheScriptOfAnother) {
  WriteScript(kOne, "{tmp}/" + kOther + "/");
  ExpectLeftAlone("its remove.bat is not what a launcher writes there");
  WriteScript(kOne, one_ + "/inst/");
  EXPECT_EQ(Clean().out, Text("left alone   " + one_ +
                              ": its remove.bat is not what a launcher writes there\n"));
}

TEST_F(CleanTest, LeavesAloneATreeThatItCannotRead) {
  const std::string closed = "tmp/" + kOne + "/inst/a\x1B\n";
  SetMode(Directory().MakeDir(closed), 0);
  const Outcome seen = Clean({"--yes"}, GiveUpPermissions);
  SetMode(Path(closed), 0755);
  EXPECT_EQ(seen, (Outcome{1, Text("left alone   " + one_ + ": opendir - " + one_ +
                                   "/inst/a\\x1B\\x0A - Permission denied\nremoved      {tmp}/" +
                                   kOther + "\n")}));
  EXPECT_EQ(DescribeTree(Path("tmp/" + kOne)).size(), 6U);
}

TEST_F(CleanTest, LeavesAloneWhatBelongsToAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives something away";
  GiveToOrdinaryUser(Path("tmp/" + kOne + "/inst/sub"));
  ExpectLeftAlone("another user owns a part of it: " + one_ + "/inst/sub");
  GiveToOrdinaryUser(Path("tmp/" + kOne));
  EXPECT_EQ(Clean(), (Outcome{1, Text("left alone   " + one_ + ": another user owns it\n")}));
}

TEST_F(CleanTest, GoesOnAfterARemovalThatFails) {
  const std::string sub = Path("tmp/" + kOne + "/inst/sub");
  SetMode(sub, 0555);
  ExpectKept("not removed  ", "unlink - " + one_ + "/inst/sub/file - Permission denied",
             GiveUpPermissions);
  SetMode(sub, 0755);
}

/// A process that calls `action` and then waits until this object is destroyed.
class Waiting {
 public:
  explicit Waiting(const std::function<void()>& action) {
    int ready[2];
    if (::pipe2(ready, O_CLOEXEC) != 0 || ::pipe2(waits_, O_CLOEXEC) != 0) ::abort();
    process_ = ::fork();
    if (process_ == 0) {
      ::dup2(waits_[0], STDIN_FILENO);
      ::close(waits_[1]);
      action();
      ::close(ready[1]);
      char byte;
      ::_exit(static_cast<int>(::read(STDIN_FILENO, &byte, 1)));
    }
    ::close(ready[1]);
    char byte;
    EXPECT_EQ(::read(ready[0], &byte, 1), 0);
    ::close(ready[0]);
  }
  ~Waiting() {
    ::close(waits_[1]);
    ::close(waits_[0]);
    ::waitpid(process_, nullptr, 0);
  }
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;

  std::string Name() const { return "process " + std::to_string(process_); }

 private:
  int waits_[2];
  pid_t process_;
};

TEST_F(CleanTest, LeavesAloneWhatAProcessUses) {
  const std::string inst = Path("tmp/" + kOne + "/inst");
  const std::string outside = Directory().MakeDir("outside"), gone = inst + "/gone";
  fs::copy_file("/bin/cat", inst + "/program");
  fs::create_hard_link(inst + "/program", outside + "/program");
  const auto open = [](const std::string& path) { return ::open(path.c_str(), O_RDONLY); };
  const auto run = [](const std::string& path) {
    ::execl(path.c_str(), "program", static_cast<char*>(nullptr));
  };
  std::vector<std::pair<std::string, std::function<void()>>> rows = {
      {"works in it", [&] { fs::current_path(inst); }},
      {"has a file open", [&] { open(inst + "/sub/file"); }},
      {"has a file open by another name", [&] { open(outside + "/program"); }},
      {"has a removed file open",
       [&] {
         WriteFile(gone, "");
         open(gone);
         fs::remove(gone);
       }},
      {"has a directory open", [&] { open(inst); }},
      {"runs a program", [&] { run(inst + "/program"); }},
      {"runs a program by another name", [&] { run(outside + "/program"); }},
      {"has a file in memory", [&] {
         const int file = open(inst + "/program");
         ::mmap(nullptr, 1, PROT_READ, MAP_PRIVATE, file, 0);
         ::close(file);
       }}};
  if (::geteuid() == 0) {
    rows.emplace_back("has it as its root directory",
                      [&] { EXPECT_EQ(::chroot(inst.c_str()), 0); });
  }
  for (const auto& [what, action] : rows) {
    SCOPED_TRACE(what);
    WriteScript(kOther, "{tmp}/" + kOther + "/");
    const Waiting process(action);
    ExpectLeftAlone(process.Name() + " uses it");
  }
}

/// Takes from this process the right to look into processes that hide themselves. Call it in a
/// child.
void GiveUpLookingIntoProcesses() {
  ::prctl(PR_CAPBSET_DROP, CAP_SYS_PTRACE, 0, 0, 0);
  GiveUpPermissions();
}

void HideAndOpen(const std::string& file) {
  ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
  ::open(file.c_str(), O_RDONLY);
}

TEST_F(CleanTest, LeavesAloneWhatAHiddenProcessMayUse) {
  const std::string file = "tmp/" + kOne + "/inst/sub/file";
  {
    const Waiting process([&] { HideAndOpen(Path(file)); });
    ExpectLeftAlone("a process uses a file in it: {" + file + "}", GiveUpLookingIntoProcesses);
  }
  const Waiting process([&] { HideAndOpen("/"); });
  SetMode(Path(file), 0);  // so clean cannot open it to ask whether a process uses it
  WriteScript(kOther, "{tmp}/" + kOther + "/");
  EXPECT_EQ(Clean({"--yes"}, GiveUpLookingIntoProcesses),
            (Outcome{1, Text("left alone   " + one_ +
                             ": the system does not say whether a process uses a file in it: {" +
                             file + "}\nremoved      {tmp}/" + kOther + "\n")}));
  EXPECT_TRUE(fs::exists(Path(file)));
}

/// Mounts for this process only. Call it in a child.
void Mount(const std::string& what, const std::string& where, const char* kind,
           unsigned long how = 0, const char* options = nullptr) {
  const bool is_done = ::unshare(CLONE_NEWNS) == 0 &&
                       ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                       ::mount(what.c_str(), where.c_str(), kind, how, options) == 0;
  if (!is_done) ::_exit(kImpossibleHere);
}

TEST_F(CleanTest, LeavesAloneATreeWithAMount) {
  Change("file outside/file kept");
  const std::string sub = Path("tmp/" + kOne + "/inst/sub");
  ExpectLeftAlone("something is mounted in it, or a part of it is mounted elsewhere",
                  [&] { Mount(Path("outside"), sub, nullptr, MS_BIND); });
  EXPECT_THAT(DescribeTree(Path("outside")), ElementsAre("f 644 file = kept"));
}

TEST_F(CleanTest, LeavesEverythingAloneWithoutProc) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer needs /proc";
  const Lines before = DescribeTreeExactly(Path("."));
  const Outcome seen = Clean({"--yes"}, [] { Mount("none", "/proc", "tmpfs"); });
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "this cannot be set up here";
  const std::string reason = ": the list of mounts cannot be read: /proc/self/mountinfo\n";
  EXPECT_EQ(seen, (Outcome{1, Text("left alone   " + one_ + reason + "left alone   {tmp}/" +
                                   kOther + reason)}));
  EXPECT_EQ(DescribeTreeExactly(Path(".")), before);
}

TEST_F(CleanTest, LeavesAloneWhatAProcessUsesThatProcDoesNotShow) {
  const std::string file = "tmp/" + kOne + "/inst/sub/file";
  const Waiting process([&] { HideAndOpen(Path(file)); });
  ExpectLeftAlone("a process uses a file in it: {" + file + "}", [] {
    Mount("none", "/proc", "proc", 0, "hidepid=2,gid=65534");
    GiveUpLookingIntoProcesses();
  });
}

TEST_F(CleanTest, RemovesNothingThatAppearsMeanwhile) {
  const std::string sub = Path("tmp/" + kOne + "/inst/sub");
  int times = 0;
  const BeforeOpen arrival(sub, [&] {
    if (++times > 1) WriteFile(sub + "/a", "new");
  });
  const std::vector<LeftOver> left = RemoveLeftOvers(Path("tmp"));
  ASSERT_EQ(left.size(), 2U);
  EXPECT_EQ(left[0].fate, Fate::kNotRemoved);
  EXPECT_EQ(left[0].reason, "this appeared while clean was at work: " + sub + "/a");
  EXPECT_EQ(left[1].fate, Fate::kRemoved);
  EXPECT_THAT(DescribeTree(sub), ElementsAre("f 644 a = new", "f 644 file = "));
}

TEST_F(CleanTest, RemovesNoDirectoryThatTookThePlaceOfAnother) {
  const std::string one = Path("tmp/" + kOne);
  int times = 0;
  const BeforeOpen exchange(one, [&] {
    if (++times != 2) return;
    fs::rename(one, Path("moved"));
    fs::copy(Path("moved"), one, fs::copy_options::recursive);
  });
  const LeftOver left = RemoveLeftOvers(Path("tmp"))[0];
  EXPECT_EQ(left.fate, Fate::kNotRemoved);
  EXPECT_EQ(left.reason, "this appeared while clean was at work: " + one);
  EXPECT_EQ(DescribeTree(one), DescribeTree(Path("moved")));
}

TEST_F(CleanTest, FollowsNoLinkThatTakesThePlaceOfADirectory) {
  Change("file outside/file kept");
  const std::string sub = Path("tmp/" + kOne + "/inst/sub");
  const BeforeOpen exchange(sub, [&] {
    fs::remove_all(sub);
    fs::create_symlink(Path("outside"), sub);
  });
  const LeftOver left = RemoveLeftOvers(Path("tmp"))[0];
  EXPECT_EQ(left.fate, Fate::kLeftAlone);
  EXPECT_EQ(left.reason, "opendir - " + sub + " - Not a directory");
  EXPECT_THAT(DescribeTree(Path("outside")), ElementsAre("f 644 file = kept"));
}

TEST_F(CleanTest, LeavesAloneATreeWithAMountThatAppearsMeanwhile) {
  const std::string inst = Path("tmp/" + kOne + "/inst");
  if (const std::string why = WhyNoOwnMounts(); !why.empty()) GTEST_SKIP() << why;
  RunWithOwnMounts([&] {
    std::optional<MemoryMount> mount;
    const BeforeOpen arrival(inst, [&] {
      if (!mount) mount.emplace(inst + "/sub", "mode=755");
    });
    const LeftOver left = RemoveLeftOvers(Path("tmp"))[0];
    EXPECT_EQ(left.fate, Fate::kLeftAlone);
    EXPECT_EQ(left.reason, "a part of it is another file system: " + inst + "/sub");
  });
}

TEST_F(CleanTest, RefusesABadCall) {
  ExpectRefused(Clean({"missing"}), "opendir - missing - No such file or directory");
  ExpectRefused(Clean({""}), "DIR: must not be empty (see --help)");
  ExpectRefused(Clean({"tmp", "--yse"}), "unexpected argument: --yse (see --help)");
}

}  // namespace
}  // namespace kvl::test
