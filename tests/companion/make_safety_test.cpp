// kvl-media make, with names, links and changes that would lead it elsewhere.
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

TEST_F(MakeSafely, WritesNamesThatWouldLeadOutAsTheyAre) {
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

TEST_F(MakeSafely, TakesTheNameOfItsDirectoryAsItIsAndShowsItForAShell) {
  const std::map<std::string, std::string> rows = {
      // what stands around the world's own path and behind it
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
    } else {  // whose path the launcher reads otherwise
      EXPECT_THAT(made.out, testing::HasSubstr("First volume: " + shown + "'\nerror: "));
      EXPECT_EQ(made.status, 0);
    }
    EXPECT_TRUE(fs::exists(world_.Directory().Path(directory + "/payload/1/file")));
    if (::access("/bin/bash", X_OK) == 0) {  // what is shown leads a shell there
      const std::string test = "test -f " + shown + "/StartTUI.sh'";
      EXPECT_EQ(RunProgram({{"/bin/bash", "-c", test}}).status, 0);
    }
    fs::remove_all(world_.Directory().Path(directory.substr(0, directory.find('/'))));
    EXPECT_EQ(NamesBelow("."), names);
  }
}

TEST_F(MakeSafely, GoesUpFromWhereALinkLeads) {
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

TEST_F(MakeSafely, RefusesTagsThatAreNoPlainText) {
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
    world_.ExpectRefusedAndUntouched(
        {"--tag", tag}, "--tag must be one line of UTF-8 without control characters: " + shown);
  }
  const Outcome made = world_.MakeMedia({"--tag", "\xC3\x9C a\\b <&>\" \xF0\x9F\x92\xBF"});
  EXPECT_THAT(made.out, testing::HasSubstr("tag \xC3\x9C a\\\\b <&>\" \xF0\x9F\x92\xBF,"));
  EXPECT_EQ(made.status, 0);
  EXPECT_THAT(ReadFile(world_.Path("media/media.xml")),
              testing::HasSubstr("tag=\"\xC3\x9C a\\b &lt;&amp;&gt;&quot; \xF0\x9F\x92\xBF\""));
}

TEST_F(MakeSafely, TakesATagUpToItsGreatestLength) {
  const std::string tag(256, '&');
  EXPECT_EQ(world_.MakeMedia({"--tag", tag}).status, 0);
  EXPECT_EQ(ReadFile(world_.Path("media/1.txt")), "Volume marker\nMTBDIR=" + tag + "\n");
}

TEST_F(MakeSafely, RefusesADirectoryThatAnotherMakeHasTakenOrLeft) {
  world_.Change("file media/StartTUI.sh.unfinished; file media/payload/1/file x");
  world_.ExpectRefusedAndUntouched(
      {},
      "another make is at work there, or was broken off: {media} (wait for it, or remove what it "
      "left and run make again)");
}

/// Another make begins just before this one puts its mark into the directory.
TEST_F(MakeSafely, LeavesADirectoryToTheOneThatWasFaster) {
  const std::string mark = world_.Path("media/StartTUI.sh.unfinished");
  const std::map<std::string, std::string> rows = {
      {"StartTUI.sh.unfinished",
       "another make is at work there, or was broken off: {media} (wait for it, or remove what it "
       "left and run make again)"},
      {"StartTUI.sh", "the directory is not empty: {media}"}};
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

TEST_F(MakeSafely, SaysThatTheDiskIsFullFromTheFirstFileOn) {
  world_.ExpectRefused(world_.MakeMedia({}, "media", [] { LimitFileSize(1000); }),
                       "Cannot write into {media}/StartTUI.sh.unfinished - No space left on "
                       "device\nkvl-media: {media} is not whole; remove it and run make again",
                       1);
}

/// Makes a media in the working directory and changes something when the first file is about to be
/// copied. The result is 2 for a refusal and 1 for a failure, whose text is on standard error.
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

TEST_F(MakeSafely, RefusesWhatItCannotReadBeforeItWrites) {
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

/// Changes while the first file is copied, and what is said of them; a payload with "1" is presorted.
TEST(MakeWhileFilesChange, EndsWhenWhatItHasPlannedHasChanged) {
  struct Row {
    std::string name, change, line;
    std::function<void()> also = [] {};
  };
  const std::string changed = "changed since the media was planned: ";
  const auto rewrite = [] { RewriteUnnoticed("payload/b", "CONTENTS"); };
  const auto long_ago = [] { SetTimes("payload/b", 1, 1'000'000'000); };
  const std::vector<Row> rows = {
      {"grown", "file payload/b contents and more", changed + "payload/b"},
      {"cut", "file payload/b con", changed + "payload/b"},
      {"rewritten", "file payload/b CONTENTS", changed + "payload/b"},
      {"rewritten, with its time put back", "", changed + "payload/b", rewrite},
      {"with another mode", "mode 700 payload/b", changed + "payload/b"},
      {"another file", "move payload/b moved; file payload/b CONTENTS", changed + "payload/b",
       long_ago},
      {"a link", "move payload/b moved; link payload/b ../moved", changed + "payload/b"},
      {"a pipe", "pipe payload/b", changed + "payload/b"},
      {"a link that leads elsewhere", "link payload/l b", changed + "payload/l"},
      {"gone", "remove payload/b", "lstat - payload/b - No such file or directory\n"},
      {"a link above", "move payload/d moved; link payload/d ../moved",
       "opendir - payload/d - Not a directory\n"},
      {"on a volume", "file payload/1/b more", changed + "payload/1/b"},
      {"for inst", "file needs/file more", changed + "needs/file"},
      {"the list of all files", "file media/media.db " + std::string(1000, 'x'),
       "changed while the media was made: {media/media.db}"},
      {"the installer", "file setup more", changed + "setup"},
      {"the launcher", "file starter more", changed + "starter"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    CheckWorld world;
    const bool is_presorted = row.line.ends_with("payload/1/b");
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

TEST_F(MakeSafely, OverwritesNoStartScriptThatCameMeanwhile) {
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

/// Nobody can find out any more whether something exists by asking for permissions.
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
  EXPECT_EQ(made.err,
            "kvl-media: the media cannot be started; correct what was found, remove it and run "
            "make again\n");
  EXPECT_EQ(made.status, 1);
  EXPECT_TRUE(fs::exists(world_.Path("new/media/StartTUI.sh")));
}

}  // namespace
}  // namespace kvl::test
