// kvl-media make with hostile names and links, and with files that change meanwhile.
#include <sys/syscall.h>

#include "companion/make/media_maker.h"
#include "companion/program.h"
#include "tests/companion/check_world.h"
#include "tests/insio/odd_paths.h"
#include "tests/insio/surroundings.h"
#include "tests/support/call_filter.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

constexpr char kAnotherMake[] =
    "another make is writing there, or was interrupted: {media}; wait for it, or remove what it "
    "left and run make again";

class MakeSafely : public testing::Test {
 protected:
  std::set<std::string> NamesBelow(const std::string& directory) const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(world_.Path(directory))) {
      names.insert(entry.path().filename());
    }
    return names;
  }

  CheckWorld world_{"file setup #!/bin/sh\\n; file payload/file x"};
};

TEST_F(MakeSafely, WritesNamesWithBackslashesAsTheyAre) {
  world_.Change(R"(remove payload; file payload/..\\..\\..\\pwned\\deep\\f x; )"
                R"(file needs/..\\..\\pwned\\f x)");
  std::set<std::string> names = NamesBelow(".");
  world_.ExpectMade(world_.MakeMedia({"--inst", "needs"}), "'{media}");
  names.insert("media");
  EXPECT_EQ(NamesBelow("."), names);
  EXPECT_THAT(
      NamesBelow("media"),
      ElementsAre("1.sha256", "1.txt", "ReadMe_UNIX.txt", "StartGUI.sh", "StartTUI.sh", "inst",
                  "media.db", "media.manifest", "media.xml", "meta.TOCxml", "payload"));
  EXPECT_THAT(DescribeTree(world_.Path("media/payload/1")),
              ElementsAre("f 644 ..\\..\\..\\pwned\\deep\\f = x"));
  EXPECT_EQ(ReadFile(world_.Path("media/inst/..\\..\\pwned\\f")), "x");
  EXPECT_FALSE(fs::exists(fs::path(world_.Path(".")).parent_path().parent_path() / "pwned"));
}

TEST_F(MakeSafely, CopiesATreeOfOddNames) {
  for (const std::string& name : kOddNames) {
    if (name.find('\n') != std::string::npos || name.size() > 253) continue;
    for (const char* top : {"payload/", "needs/"}) {
      world_.Directory().Write(top + name + "/" + name, "contents");
      world_.Directory().MakeDir(top + name + "/empty");
    }
  }
  world_.ExpectMade(world_.MakeMedia({"--inst", "needs"}), "'{media}");
  EXPECT_EQ(DescribeTree(world_.Path("media/payload/1")), DescribeTree(world_.Path("payload")));
  for (const char* own : {"common", "linux", "volumes.txt"}) {
    fs::remove_all(world_.Path("media/inst/" + std::string(own)));
  }
  EXPECT_EQ(DescribeTree(world_.Path("media/inst")), DescribeTree(world_.Path("needs")));
}

TEST_F(MakeSafely, TakesTheDirectoryNameAsItIsAndQuotesItForAShell) {
  const std::map<std::string, std::string> rows = {
      // Quoted paths without the closing quote; "|" stands for the path of the world.
      {"out\\dir", "$'|/out\\\\dir"},       {"a'b", "'|/a'\\''b"},
      {"\033]0;x\a", "$'|/\\x1B]0;x\\x07"}, {"\"q\"", "'|/\"q\""},
      {"a\\'b", "$'|/a\\\\\\'b"},           {"new\\x/y\\", "$'|/new\\\\x/y\\\\"},
  };
  const std::set<std::string> names = NamesBelow(".");
  for (const auto& [directory, text] : rows) {
    SCOPED_TRACE(directory);
    std::string shown = text;
    shown.replace(shown.find('|'), 1, world_.Path("."));
    const Outcome made = world_.MakeMedia({}, directory);
    if (directory.find_first_of("\\\"") == std::string::npos) {
      world_.ExpectMade(made, shown);
    } else {  // the launcher reads such a path differently
      EXPECT_THAT(made.out, testing::HasSubstr("First volume: " + shown + "'\nerror: "));
      EXPECT_EQ(made.status, 0);
    }
    EXPECT_TRUE(fs::exists(world_.Directory().Path(directory + "/payload/1/file")));
    if (::access("/bin/bash", X_OK) == 0) {  // a shell finds the media by the quoted path
      const std::string test = "test -f " + shown + "/StartTUI.sh'";
      EXPECT_EQ(RunProgram({{"/bin/bash", "-c", test}}).status, 0);
    }
    fs::remove_all(world_.Directory().Path(directory.substr(0, directory.find('/'))));
    EXPECT_EQ(NamesBelow("."), names);
  }
}

TEST_F(MakeSafely, FollowsALinkBeforeDotDot) {
  world_.Change("dir else/where; link link else/where");
  const std::map<std::string, std::string> rows = {{"link/../media", "else/media"},
                                                   {"link/media", "link/media"},
                                                   {"link/../new/media/", "else/new/media"},
                                                   {"else/where/../../media", "media"},
                                                   {"new/../other", "other"}};
  const std::set<std::string> names = NamesBelow(".");
  for (const auto& [given, made] : rows) {
    SCOPED_TRACE(given);
    world_.ExpectMade(world_.MakeMedia({}, given), "'{" + made + "}");
    EXPECT_TRUE(fs::exists(world_.Path(made + "/payload/1/file")));
    fs::remove_all(world_.Path(made));
    EXPECT_EQ(NamesBelow("."), names);
  }
}

TEST_F(MakeSafely, RefusesTagsThatAreNotPlainText) {
  const std::map<std::string, std::string> rows = {
      {"a\nb", "a\\x0Ab"},
      {"\033[2J", "\\x1B[2J"},
      {"\xFF", "\\xFF"},
      {"a\xC3", "a\\xC3"},
      {"a\\\x01", "a\\\\\\x01"},
      {"\xEF\xBF\xBE", "\xEF\xBF\xBE"},
      {"\xEF\xBF\xBF", "\xEF\xBF\xBF"},
  };
  for (const auto& [tag, shown] : rows) {
    SCOPED_TRACE(shown);
    world_.ExpectRefusedAndUntouched({"--tag", tag},
                                     "--tag has a character that is not allowed: " + shown +
                                         "; give one line of UTF-8 without control characters");
  }
  const Outcome made = world_.MakeMedia({"--tag", "\xC3\x9C a\\b <&>\" \xF0\x9F\x92\xBF"});
  EXPECT_THAT(made.out, testing::HasSubstr("tag \xC3\x9C a\\\\b <&>\" \xF0\x9F\x92\xBF,"));
  EXPECT_EQ(made.status, 0);
  EXPECT_THAT(ReadFile(world_.Path("media/media.xml")),
              testing::HasSubstr("tag=\"\xC3\x9C a\\b &lt;&amp;&gt;&quot; \xF0\x9F\x92\xBF\""));
}

TEST_F(MakeSafely, TakesATagOf256Bytes) {
  const std::string tag(256, '&');
  EXPECT_EQ(world_.MakeMedia({"--tag", tag}).status, 0);
  EXPECT_EQ(ReadFile(world_.Path("media/1.txt")), "Volume marker\nMTBDIR=" + tag + "\n");
}

TEST_F(MakeSafely, RefusesADirectoryThatAnotherMakeHasTakenOrLeft) {
  world_.Change("file media/StartTUI.sh.unfinished; file media/payload/1/file x");
  world_.ExpectRefusedAndUntouched({}, kAnotherMake);
}

/// Another make begins just before this one puts its mark into the directory.
TEST_F(MakeSafely, LeavesADirectoryToAnotherMakeThatIsFaster) {
  const std::string mark = world_.Path("media/StartTUI.sh.unfinished");
  const std::map<std::string, std::string> rows = {
      {"StartTUI.sh.unfinished", kAnotherMake},
      {"StartTUI.sh", "the directory is not empty: {media}; empty it, or name another one"}};
  for (const auto& [name, line] : rows) {
    SCOPED_TRACE(name);
    fs::remove_all(world_.Path("media"));
    const Outcome seen = RunIsolated([&, &faster = name] {
      const BeforeOpen moment(mark, [&] { world_.Change("file media/" + faster + " x"); });
      return RunKvlMedia({"make", "--tag", "T", "--installer", world_.Path("setup"), "--launcher",
                          world_.Path("setup"), world_.Path("payload"), world_.Path("media")});
    });
    world_.ExpectRefused(seen, line);
    EXPECT_THAT(DescribeTree(world_.Path("media")), ElementsAre("f 644 " + name + " = x"));
  }
}

TEST_F(MakeSafely, SaysThatTheDiskIsFullAtTheFirstFile) {
  world_.ExpectRefused(
      world_.MakeMedia({}, "media", [] { LimitFileSize(1000); }),
      "Cannot write into {media}/StartTUI.sh.unfinished - No space left on "
      "device\nkvl-media: the media is not whole: {media}; remove it and run make again",
      1);
}

/// Makes a media in the working directory, and calls `change` just before the first file is
/// copied. Returns 2 for a refusal and 1 for a failure, and writes the message to standard error.
int MakeWhileItChanges(bool is_presorted, const std::function<void()>& change) {
  MediaMakeRequest request;
  request.payload = "payload";
  request.is_presorted = is_presorted;
  request.directory = "media";
  request.tag = "T";
  request.systems = {{.installer = "setup", .launcher = "starter"}};
  request.inst = "needs";
  bool is_first = true;
  const auto see_file = [&](std::size_t, const std::string&, std::uint64_t) {
    if (std::exchange(is_first, false)) change();
  };
  try {
    MakeMedia(request, PlanMedia(request), {see_file, [](std::uint64_t, std::uint64_t) {}});
  } catch (const std::runtime_error& failure) {
    std::cerr << failure.what();
    return dynamic_cast<const CannotMake*>(&failure) != nullptr ? 2 : 1;
  }
  return 0;
}

TEST_F(MakeSafely, RefusesUnreadableFilesBeforeItWrites) {
  const std::map<std::string, std::string> rows = {
      {"payload/x", "Cannot read payload/x"}, {"payload/d", "opendir - payload/d"},
      {"needs/x", "Cannot read needs/x"},     {"setup", "Cannot read setup"},
      {"starter", "Cannot read starter"},
  };
  world_.Change("file payload/x; file payload/d/y; file needs/x; file starter");
  for (const auto& [closed, text] : rows) {
    GiveToOrdinaryUser(world_.Path("."));
    GiveToOrdinaryUser(world_.Path(closed));
    const unsigned mode = ModeOf(world_.Path(closed));
    SetMode(world_.Path(closed), 0);
    const Outcome seen = RunIsolated([&] {
      EnterAsOrdinaryUser(world_.Directory());
      return MakeWhileItChanges(/*is_presorted=*/false, [] {});
    });
    SetMode(world_.Path(closed), mode);
    EXPECT_EQ(seen, (Outcome{2, "", text + " - Permission denied"}));
    EXPECT_FALSE(fs::exists(world_.Path("media")));
  }
}

/// Makes each change just before the first file is copied. The payload is presorted if the message
/// names payload/1/b.
TEST(MakeWhileFilesChange, FailsIfAPlannedFileChanges) {
  struct Row {
    std::string name, change, line;
    std::function<void()> also = [] {};
  };
  const auto changed = [](const std::string& path) {
    return "this changed while make was at work: " + path + "; change nothing until make has ended";
  };
  const auto rewrite = [] { RewriteUnnoticed("payload/b", "CONTENTS"); };
  const auto long_ago = [] { SetTimes("payload/b", 1, 1'000'000'000); };
  const std::vector<Row> rows = {
      {"grown", "file payload/b contents and more", changed("payload/b")},
      {"cut", "file payload/b con", changed("payload/b")},
      {"rewritten", "file payload/b CONTENTS", changed("payload/b")},
      {"rewritten, with its time put back", "", changed("payload/b"), rewrite},
      {"with another mode", "mode 700 payload/b", changed("payload/b")},
      {"another file", "move payload/b moved; file payload/b CONTENTS", changed("payload/b"),
       long_ago},
      {"a link", "move payload/b moved; link payload/b ../moved", changed("payload/b")},
      {"a pipe", "pipe payload/b", changed("payload/b")},
      {"a link that leads elsewhere", "link payload/l b", changed("payload/l")},
      {"gone", "remove payload/b", "lstat - payload/b - No such file or directory\n"},
      {"a link above", "move payload/d moved; link payload/d ../moved",
       "opendir - payload/d - Not a directory\n"},
      {"on a volume", "file payload/1/b more", changed("payload/1/b")},
      {"for inst", "file needs/file more", changed("needs/file")},
      {"the list of all files", "file media/media.db " + std::string(1000, 'x'),
       "another program changed the media while make wrote it: {media/media.db}; let no other "
       "program write there"},
      {"the installer", "file setup more", changed("setup")},
      {"the launcher", "file starter more", changed("starter")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    CheckWorld world;
    const bool is_presorted = row.line == changed("payload/1/b");
    const std::string payload = is_presorted ? "payload/1/" : "payload/";
    for (const std::string& name :
         Lines{payload + "a", payload + "b", payload + "d/c", "needs/file", "setup", "starter"}) {
      SetTimes(world.Directory().Write(name, "contents"), 1, 1'000'000'000);
    }
    world.Change("link " + payload + "l a");
    const Outcome seen = RunIsolated([&] {
      fs::current_path(world.Path("."));
      return MakeWhileItChanges(is_presorted, [&] {
        world.Change(row.change);
        row.also();
      });
    });
    EXPECT_EQ(seen, (Outcome{1, "", world.Text(row.line)}));
    EXPECT_TRUE(fs::exists(world.Path("media/StartTUI.sh.unfinished")));
    EXPECT_FALSE(fs::exists(world.Path("media/StartTUI.sh")));
  }
}

TEST_F(MakeSafely, DoesNotOverwriteAStartScriptThatAppearsMeanwhile) {
  world_.Change("file needs/file x; file starter x");
  const Outcome seen = RunIsolated([&] {
    fs::current_path(world_.Path("."));
    return MakeWhileItChanges(/*is_presorted=*/false,
                              [&] { world_.Change("file media/StartTUI.sh mine"); });
  });
  const std::string script = world_.Path("media/StartTUI.sh");
  EXPECT_EQ(
      seen,
      (Outcome{1, "", "rename - " + script + ".unfinished to " + script + " - File exists\n"}));
  EXPECT_EQ(ReadFile(script), "mine");
  EXPECT_TRUE(fs::exists(script + ".unfinished"));
}

/// Makes every check of permissions fail, so that nothing seems to exist.
void RefuseAccess() {
  std::vector<unsigned> calls = {SYS_faccessat, SYS_faccessat2};
#ifdef SYS_access
  calls.push_back(SYS_access);
#endif
  FilterCalls(calls, SECCOMP_RET_ERRNO | EPERM);
}

TEST_F(MakeSafely, ComesToAnEndWhereNothingSeemsToExist) {
  const Outcome made = world_.MakeMedia({}, "new/media", RefuseAccess);
  EXPECT_THAT(made.out, testing::HasSubstr(world_.Text("First volume: '{new/media}'\nerror: ")));
  EXPECT_EQ(
      made.err,
      world_.Text("kvl-media: the media cannot be started: {new/media}; correct the errors that "
                  "are reported, remove the media and run make again\n"));
  EXPECT_EQ(made.status, 1);
  EXPECT_TRUE(fs::exists(world_.Path("new/media/StartTUI.sh")));
}

}  // namespace
}  // namespace kvl::test
