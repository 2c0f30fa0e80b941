// kvl-media make, when it is killed, meets another one or finds its payload changed: at each moment
// that there is, between any two of its system calls.

#include "tests/companion/check_world.h"
#include "tests/companion/stepped_program.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using Lines = std::vector<std::string>;

constexpr long kLongAgo = 1'000'000'000;

class MakeAtEveryMoment : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = WhyNoSteps(); !why.empty()) GTEST_SKIP() << why;
    // Two volumes of one file each.
    for (const char* volume : {"payload/1/a/", "payload/2/"}) {
      SetTimes(world_.Directory().Write(std::string(volume) + "file", "contents"), kLongAgo,
               kLongAgo);
    }
    SetMode(world_.Directory().Write("setup", "#!/bin/sh\n"), 0755);
    SetMode(world_.Directory().Write("starter", "#!/bin/sh\n"), 0755);
    world_.Directory().Write("needs/common/text", "text");
  }

  Lines MakeArguments(const std::string& layout, const std::string& directory) const {
    Lines arguments = {"make",       "--tag",   "T",      "--installer", "setup",
                       "--launcher", "starter", "--inst", "needs"};
    if (layout == "single") {
      arguments.insert(arguments.end(), {"payload", directory});
    } else {
      arguments.insert(arguments.end(), {"--layout", layout, "--presorted", "payload", directory});
    }
    return arguments;
  }

  Outcome RunCompanion(const Lines& arguments, Calls calls,
                       const std::function<Step(int call)>& at_call) const {
    Lines command = {BuiltProgram("kvl-media")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    // The leak check of a sanitizer would need to trace, too.
    return RunStepByStep({command, {{"ASAN_OPTIONS", "detect_leaks=0"}}, world_.Path(".")}, calls,
                         at_call);
  }

  /// Does something at one moment of a call of make for several volumes.
  Outcome MakeWith(Calls calls, int moment, const std::function<void()>& action) const {
    return RunCompanion(MakeArguments("sibling", "media"), calls, [&](int call) {
      if (call == moment) action();
      return Step::kGoOn;
    });
  }

  int Count(const Lines& arguments, Calls calls) const {
    int count = 0;
    const Outcome seen = RunCompanion(arguments, calls, [&](int call) {
      count = call + 1;
      return Step::kGoOn;
    });
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 0);
    fs::remove_all(world_.Path("counted"));
    return count;
  }

  /// The moments of such a call, without those in which the program is loaded.
  std::pair<int, int> Moments(Calls calls) const {
    return {Count({"--version"}, calls) - 1, Count(MakeArguments("sibling", "counted"), calls)};
  }

  /// Where the first volume lies.
  static std::string First(const std::string& layout, const std::string& directory) {
    if (layout == "sibling") return directory + "/1";
    return directory + (layout == "am" ? "/1/media/1" : "");
  }

  CheckWorld world_;
};

/// What is there at a moment is what lies there after a kill.
TEST_F(MakeAtEveryMoment, LeavesNothingThatCheckCallsFineButAWholeMedia) {
  for (const std::string layout : {"single", "flat", "sibling", "am"}) {
    SCOPED_TRACE(layout);
    const Lines arguments = MakeArguments(layout, "media");
    const auto check = [&] {
      return world_.Companion({"check", First(layout, "media")}, {{"TMPDIR", "{tmp}"}});
    };
    const std::string script = world_.Path(First(layout, "media") + "/StartTUI.sh");
    int calls = 0;
    std::vector<int> whole, fine;
    Outcome made = RunCompanion(arguments, Calls::kChanging, [&](int call) {
      calls = call;
      if (fs::exists(script)) whole.push_back(call);
      const Outcome seen = check();
      if (seen.status == 0 || seen.out.find("\nFine") != std::string::npos) fine.push_back(call);
      return Step::kGoOn;
    });
    EXPECT_EQ(made.status, 0);
    EXPECT_GT(calls, 40);
    ASSERT_FALSE(whole.empty());
    EXPECT_EQ(fine, whole);
    // Nothing lies behind the step that makes it whole but the message, and the program's end.
    EXPECT_GT(whole.front(), calls - 5);
    fs::remove_all(world_.Path("media"));

    const int last_step = whole.front() - 1;
    made = RunCompanion(arguments, Calls::kChanging,
                        [&](int call) { return call == last_step ? Step::kKill : Step::kGoOn; });
    EXPECT_EQ(made.status, -SIGKILL);
    EXPECT_NE(check().status, 0);
    EXPECT_EQ(
        world_.Companion(arguments).err,
        world_.Text("kvl-media: another make is at work there, or was broken off: {media}\n"));
    fs::remove_all(world_.Path("media"));
  }
}

TEST_F(MakeAtEveryMoment, OfTwoInOneDirectoryOneIsRefusedAndOneIsWhole) {
  Lines whole;
  for (const char* layout : {"sibling", "flat"}) {
    ASSERT_EQ(world_.Companion(MakeArguments(layout, "whole")).status, 0);
    whole.push_back(testing::PrintToString(DescribeTree(world_.Path("whole"))));
    fs::remove_all(world_.Path("whole"));
  }
  const std::set<std::string> refusals = {
      world_.Text("kvl-media: another make is at work there, or was broken off: {media}\n"),
      world_.Text("kvl-media: the directory is not empty: {media}\n")};
  const auto [first, end] = Moments(Calls::kChanging);
  int won = 0, lost = 0;
  for (int i = first; i < end; ++i) {
    Outcome other;
    const Outcome one = MakeWith(Calls::kChanging, i,
                                 [&] { other = world_.Companion(MakeArguments("flat", "media")); });
    const bool has_won = one.status == 0;
    (has_won ? won : lost) += 1;
    const Outcome& loser = has_won ? other : one;
    EXPECT_EQ((has_won ? one : other).status, 0) << i;
    EXPECT_EQ(loser.out, "") << i;
    EXPECT_TRUE(refusals.contains(loser.err)) << i << ": " << loser.err;
    EXPECT_EQ(loser.status, 2) << i;
    EXPECT_EQ(testing::PrintToString(DescribeTree(world_.Path("media"))), whole[has_won ? 0 : 1])
        << i;
    fs::remove_all(world_.Path("media"));
  }
  EXPECT_GT(won, 40);
  EXPECT_GT(lost, 1);
}

struct Change {
  std::string what;
  std::function<void(const std::string& file)> make;
  std::string contents;  ///< of the media when it was made from the changed one
};

/// Every file arrives as it was planned, before the change or after it, or the call ends with 1.
TEST_F(MakeAtEveryMoment, AChangedFileArrivesAsPlannedOrIsNamed) {
  world_.Directory().Write("secret", "a secret");
  const std::vector<Change> changes = {
      {"grown",
       [&](const std::string& file) { world_.Directory().Write(file, "contents and more"); },
       "contents and more"},
      {"a link",
       [&](const std::string& file) {
         fs::remove(world_.Path(file));
         fs::create_symlink(world_.Path("secret"), world_.Path(file));
       },
       ""},
      {"a link above",
       [&](const std::string& file) {
         const fs::path directory = fs::path(world_.Path(file)).parent_path();
         fs::rename(directory, directory.string() + "-moved");
         fs::create_symlink(directory.string() + "-moved", directory);
       },
       ""},
  };
  const auto [first, end] = Moments(Calls::kLooking);
  for (const Change& change : changes) {
    SCOPED_TRACE(change.what);
    int made = 0, planned_anew = 0, named = 0;
    for (int i = first; i < end; ++i) {
      fs::rename(world_.Path("payload"), world_.Path("kept"));
      fs::copy(world_.Path("kept"), world_.Path("payload"), fs::copy_options::recursive);
      SetTimes(world_.Path("payload/1/a/file"), kLongAgo, kLongAgo);
      const Outcome seen = MakeWith(Calls::kLooking, i, [&] { change.make("payload/1/a/file"); });
      if (seen.status == 0) {
        const std::string contents = ReadFile(world_.Path("media/1/payload/1/a/file"));
        EXPECT_TRUE(contents == "contents" || contents == change.contents) << i << contents;
        ++(contents == "contents" ? made : planned_anew);
      } else {
        EXPECT_EQ(seen.out, "");
        EXPECT_THAT(seen.err, testing::HasSubstr("payload/1/a"));
        EXPECT_FALSE(fs::exists(world_.Path("media/1/StartTUI.sh"))) << i;
        for (const std::string& line : DescribeTree(world_.Path("media"))) {
          EXPECT_EQ(line.find("a secret"), std::string::npos) << line;
        }
        ++named;
      }
      fs::remove_all(world_.Path("payload"));
      fs::remove_all(world_.Path("media"));
      fs::rename(world_.Path("kept"), world_.Path("payload"));
    }
    EXPECT_GT(made, 10);
    EXPECT_EQ(planned_anew > 0, !change.contents.empty());
    EXPECT_GT(named, 5);
  }
}

}  // namespace
}  // namespace kvl::test
