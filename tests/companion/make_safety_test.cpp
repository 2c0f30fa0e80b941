// kvl-media make, with names, links and changes that would lead it elsewhere.
#include <sys/syscall.h>

#include "companion/make/media_maker.h"
#include "tests/companion/check_world.h"
#include "tests/insio/odd_paths.h"
#include "tests/insio/surroundings.h"
#include "tests/support/call_filter.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using Lines = std::vector<std::string>;

class MakeSafely : public testing::Test {
 protected:
  MakeSafely() { SetMode(world_.Directory().Write("setup", "#!/bin/sh\n"), 0755); }

  static Lines Arguments(const std::string& directory, const Lines& further = {}) {
    Lines arguments = {"make",       "--tag",     "T",       "--installer", "setup",
                       "--launcher", "/bin/true", "payload", directory};
    arguments.insert(arguments.end(), further.begin(), further.end());
    return arguments;
  }

  Outcome Make(const std::string& directory, const Lines& further = {},
               const std::function<void()>& before = {}) const {
    return world_.Companion(Arguments(directory, further), {}, before);
  }

  static std::string Made(const std::string& first, const std::string& script) {
    return "Made a media with tag T, layout single, volumes: 1.\nFirst volume: " + first +
           "\nStart it with: " + script + "\n";
  }

  Lines TopNames() const { return NamesBelow("."); }

  Lines NamesBelow(const std::string& directory) const {
    Lines names;
    for (const auto& entry : fs::directory_iterator(world_.Path(directory))) {
      names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  CheckWorld world_;
};

TEST_F(MakeSafely, WritesNamesThatWouldLeadOutAsTheyAre) {
  for (const char* name : {"payload/..\\..\\..\\pwned\\deep\\f", "needs/..\\..\\pwned\\f"}) {
    world_.Directory().Write(name, "x\n");
  }
  const Lines before = TopNames();
  const Outcome made = Make("media", {"--inst", "needs"});
  EXPECT_EQ(made.out, Made(world_.Text("'{media}'"), world_.Text("'{media}/StartTUI.sh'")));
  EXPECT_EQ(made.err, "");
  EXPECT_EQ(made.status, 0);
  Lines after = TopNames();
  std::erase(after, "media");
  EXPECT_EQ(after, before);
  EXPECT_THAT(NamesBelow("media"), ElementsAre("1.txt", "StartGUI.sh", "StartTUI.sh", "inst",
                                               "media.db", "media.xml", "meta.TOCxml", "payload"));
  EXPECT_THAT(DescribeTree(world_.Path("media/payload/1")),
              ElementsAre("f 644 ..\\..\\..\\pwned\\deep\\f = x\n"));
  EXPECT_EQ(ReadFile(world_.Path("media/inst/..\\..\\pwned\\f")), "x\n");
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
  const Outcome made = Make("media", {"--inst", "needs"});
  EXPECT_EQ(made.err, "");
  EXPECT_EQ(made.status, 0);
  EXPECT_EQ(DescribeTree(world_.Path("media/payload/1")), DescribeTree(world_.Path("payload")));
  for (const char* own : {"common", "linux", "volumes.txt"}) {
    fs::remove_all(world_.Path("media/inst/" + std::string(own)));
  }
  EXPECT_EQ(DescribeTree(world_.Path("media/inst")), DescribeTree(world_.Path("needs")));
}

TEST_F(MakeSafely, TakesTheNameOfItsDirectoryAsItIsAndShowsItForAShell) {
  world_.Directory().Write("payload/file", "x");
  struct Row {
    std::string directory;
    std::string shown;  ///< what stands behind the world's own path, with "'" at the end
  };
  const std::vector<Row> rows = {
      {"out\\dir", "out\\\\dir"}, {"a'b", "a'\\''b"},     {"\033]0;x\a", "\\x1B]0;x\\x07"},
      {"\"q\"", "\"q\""},         {"a\\'b", "a\\\\\\'b"}, {"new\\x/y\\", "new\\\\x/y\\\\"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.directory);
    const Lines before = TopNames();
    const Outcome made = Make(row.directory);
    const bool is_odd =
        row.shown.find("\\\\") != std::string::npos || row.shown.find("\\x") != std::string::npos;
    const std::string quote = is_odd ? "$'" : "'";
    const std::string first = quote + world_.Text("{}/") + row.shown;
    EXPECT_EQ(made.out, Made(first + "'", first + "/StartTUI.sh'"));
    EXPECT_EQ(made.err, "");
    EXPECT_EQ(made.status, 0);
    EXPECT_TRUE(fs::exists(world_.Directory().Path(row.directory + "/payload/1/file")));
    Lines after = TopNames();
    std::erase(after, row.directory.substr(0, row.directory.find('/')));
    EXPECT_EQ(after, before);
    // What is shown leads a shell there.
    const std::size_t at = made.out.find("First volume: ") + 14;
    const std::string shown = made.out.substr(at, made.out.find('\n', at) - at);
    const std::string bash = "/bin/bash";
    if (::access(bash.c_str(), X_OK) != 0) continue;
    EXPECT_EQ(RunProgram({{bash, "-c", "test -f " + shown + "/StartTUI.sh"}}).status, 0);
    fs::remove_all(world_.Directory().Path(row.directory.substr(0, row.directory.find('/'))));
  }
}

TEST_F(MakeSafely, GoesUpFromWhereALinkLeads) {
  world_.Directory().Write("payload/file", "x");
  world_.Directory().MakeDir("else/where");
  world_.Directory().Link("link", "else/where");
  struct Row {
    std::string given, made;
  };
  for (const Row& row : {Row{"link/../media", "else/media"}, Row{"link/media", "link/media"},
                         Row{"link/../new/media/", "else/new/media"},
                         Row{"else/where/../../media", "media"}, Row{"new/../other", "other"}}) {
    SCOPED_TRACE(row.given);
    const Lines before = TopNames();
    const Outcome made = Make(row.given);
    const std::string first = world_.Path(row.made);
    EXPECT_EQ(made.out, Made("'" + first + "'", "'" + first + "/StartTUI.sh'"));
    EXPECT_EQ(made.err, "");
    EXPECT_EQ(made.status, 0);
    EXPECT_TRUE(fs::exists(world_.Path(row.made + "/payload/1/file")));
    fs::remove_all(world_.Path(row.made));
    EXPECT_EQ(TopNames(), before);
  }
}

TEST_F(MakeSafely, RefusesTagsThatAreNoPlainText) {
  world_.Directory().Write("payload/file", "x");
  const Lines before = DescribeTreeExactly(world_.Path("."));
  struct Row {
    std::string tag, shown;
  };
  const std::vector<Row> rows = {
      {"a\nb", "a\\x0Ab"},
      {"a\rb", "a\\x0Db"},
      {"a\tb", "a\\x09b"},
      {"\033[2J", "\\x1B[2J"},
      {"\x7F", "\\x7F"},
      {"\xFF", "\\xFF"},
      {"a\xC3", "a\\xC3"},
      {"\xED\xA0\x80", "\\xED\\xA0\\x80"},
      {"a\\\x01", "a\\\\\\x01"},
      {"\xEF\xBF\xBE", "\xEF\xBF\xBE"},
      {"\xEF\xBF\xBF", "\xEF\xBF\xBF"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.shown);
    const Outcome refused = Make("media", {"--tag", row.tag});
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err,
              "kvl-media: --tag must be one line of UTF-8 without control characters: " +
                  row.shown + "\n");
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(DescribeTreeExactly(world_.Path(".")), before);
  }
  const Outcome made = Make("media", {"--tag", "\xC3\x9C a\\b <&>\" \xF0\x9F\x92\xBF"});
  EXPECT_THAT(made.out, testing::HasSubstr("tag \xC3\x9C a\\\\b <&>\" \xF0\x9F\x92\xBF,"));
  EXPECT_EQ(made.status, 0);
  EXPECT_THAT(ReadFile(world_.Path("media/media.xml")),
              testing::HasSubstr("tag=\"\xC3\x9C a\\b &lt;&amp;&gt;&quot; \xF0\x9F\x92\xBF\""));
}

TEST_F(MakeSafely, TakesATagUpToItsGreatestLength) {
  world_.Directory().Write("payload/file", "x");
  const std::string tag(256, '&');
  EXPECT_EQ(Make("media", {"--tag", tag}).status, 0);
  EXPECT_EQ(ReadFile(world_.Path("media/1.txt")), "Volume marker\nMTBDIR=" + tag + "\n");
}

TEST_F(MakeSafely, RefusesADirectoryThatAnotherMakeHasTakenOrLeft) {
  world_.Directory().Write("payload/file", "x");
  world_.Directory().Write("media/StartTUI.sh.unfinished", "");
  world_.Directory().Write("media/payload/1/file", "x");
  const Lines before = DescribeTreeExactly(world_.Path("."));
  const Outcome refused = Make("media");
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err,
            world_.Text("kvl-media: another make is at work there, or was broken off: {media}\n"));
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(DescribeTreeExactly(world_.Path(".")), before);
}

TEST_F(MakeSafely, SaysThatTheDiskIsFullFromTheFirstFileOn) {
  world_.Directory().Write("payload/file", "x");
  const Outcome seen = Make("media", {}, [] { LimitFileSize(1000); });
  EXPECT_EQ(seen.out, "");
  EXPECT_EQ(seen.err,
            world_.Text("kvl-media: Cannot write into {media}/StartTUI.sh.unfinished - No "
                        "space left on device\n"));
  EXPECT_EQ(seen.status, 1);
}

/// Makes a media in the working directory and changes something when the first file is about to be
/// copied. The result is 2 for a refusal and 1 for a failure, whose text is on standard error.
int MakeWhileItChanges(bool is_presorted, const std::function<void()>& change) {
  MediaMakeRequest request;
  request.payload = "payload";
  request.is_presorted = is_presorted;
  request.directory = "media";
  request.tag = "T";
  request.installer = "setup";
  request.launcher = "starter";
  request.inst = "needs";
  try {
    MakeMedia(request, [&](std::size_t, std::uint64_t done, std::uint64_t) {
      if (done == 0) change();
    });
  } catch (const std::runtime_error& failure) {
    std::cerr << failure.what();
    return dynamic_cast<const CannotMake*>(&failure) != nullptr ? 2 : 1;
  }
  return 0;
}

TEST_F(MakeSafely, RefusesWhatItCannotReadBeforeItWrites) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"payload/x", "Cannot read payload/x"}, {"payload/d", "opendir - payload/d"},
      {"needs/x", "Cannot read needs/x"},     {"setup", "Cannot read setup"},
      {"starter", "Cannot read starter"},
  };
  for (const char* name : {"payload/x", "payload/d/y", "needs/x", "starter"}) {
    world_.Directory().Write(name, "x");
  }
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
    EXPECT_EQ(seen.err, text + " - Permission denied");
    EXPECT_EQ(seen.status, 2);
    EXPECT_FALSE(fs::exists(world_.Path("media")));
  }
}

TEST_F(MakeSafely, EndsWhenWhatItHasPlannedHasChanged) {
  struct Row {
    std::string name;
    std::function<void(CheckWorld&)> change;
    std::string line;
    bool is_presorted = false;
  };
  const auto rewritten = [](const std::string& name, const std::string& contents) {
    return [=](CheckWorld& world) { world.Directory().Write(name, contents); };
  };
  const std::string kChanged = "changed since the media was planned: ";
  const std::vector<Row> rows = {
      {"grown", rewritten("payload/b", "contents and more"), kChanged + "payload/b"},
      {"cut", rewritten("payload/b", "con"), kChanged + "payload/b"},
      {"rewritten", rewritten("payload/b", "CONTENTS"), kChanged + "payload/b"},
      {"rewritten, with its time put back",
       [](CheckWorld& world) { RewriteUnnoticed(world.Path("payload/b"), "CONTENTS"); },
       kChanged + "payload/b"},
      {"with another mode", [](CheckWorld& world) { SetMode(world.Path("payload/b"), 0700); },
       kChanged + "payload/b"},
      {"another file",
       [](CheckWorld& world) {
         fs::rename(world.Path("payload/b"), world.Path("moved"));
         SetTimes(world.Directory().Write("payload/b", "CONTENTS"), 1, 1'000'000'000);
       },
       kChanged + "payload/b"},
      {"a link",
       [](CheckWorld& world) {
         fs::rename(world.Path("payload/b"), world.Path("moved"));
         world.Directory().Link("payload/b", "../moved");
       },
       kChanged + "payload/b"},
      {"a pipe",
       [](CheckWorld& world) {
         fs::remove(world.Path("payload/b"));
         world.Directory().Pipe("payload/b");
       },
       kChanged + "payload/b"},
      {"gone", [](CheckWorld& world) { fs::remove(world.Path("payload/b")); },
       "lstat - payload/b - No such file or directory\n"},
      {"a link above",
       [](CheckWorld& world) {
         fs::rename(world.Path("payload/d"), world.Path("moved"));
         world.Directory().Link("payload/d", "../moved");
       },
       "opendir - payload/d - Not a directory\n"},
      {"on a volume", rewritten("payload/1/b", "more"), kChanged + "payload/1/b", true},
      {"for inst", rewritten("needs/file", "more"), kChanged + "needs/file"},
      {"the installer", rewritten("setup", "more"), kChanged + "setup"},
      {"the launcher", rewritten("starter", "more"), kChanged + "starter"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    CheckWorld world;
    const std::string payload = row.is_presorted ? "payload/1/" : "payload/";
    for (const std::string& name :
         {payload + "a", payload + "b", payload + "d/c", std::string("needs/file"),
          std::string("setup"), std::string("starter")}) {
      SetTimes(world.Directory().Write(name, "contents"), 1, 1'000'000'000);
    }
    const Outcome seen = RunIsolated([&] {
      fs::current_path(world.Path("."));
      return MakeWhileItChanges(row.is_presorted, [&] { row.change(world); });
    });
    EXPECT_EQ(seen.err, row.line);
    EXPECT_EQ(seen.status, 1);
    EXPECT_TRUE(fs::exists(world.Path("media/StartTUI.sh.unfinished")));
    EXPECT_FALSE(fs::exists(world.Path("media/StartTUI.sh")));
  }
}

TEST_F(MakeSafely, OverwritesNoStartScriptThatCameMeanwhile) {
  for (const char* name : {"payload/file", "needs/file", "starter"}) {
    world_.Directory().Write(name, "x");
  }
  const Outcome seen = RunIsolated([&] {
    fs::current_path(world_.Path("."));
    return MakeWhileItChanges(/*is_presorted=*/false,
                              [&] { world_.Directory().Write("media/StartTUI.sh", "mine"); });
  });
  const std::string script = world_.Path("media/StartTUI.sh");
  EXPECT_EQ(seen.err, "rename - " + script + ".unfinished to " + script + " - File exists\n");
  EXPECT_EQ(seen.status, 1);
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
  world_.Directory().Write("payload/file", "x");
  const Outcome made = Make("new/media", {}, RefuseAccess);
  EXPECT_EQ(made.err, "");
  EXPECT_EQ(made.status, 0);
  EXPECT_TRUE(fs::exists(world_.Path("new/media/StartTUI.sh")));
}

}  // namespace
}  // namespace kvl::test
