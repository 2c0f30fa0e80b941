// kvl-media make when it is killed, meets another call of make or finds its payload changed, at
// every moment between two of its system calls.

#include "companion/program.h"
#include "tests/companion/check_world.h"
#include "tests/companion/stepped_program.h"

namespace kvl::test {
namespace {

constexpr long kLongAgo = 1'000'000'000;
constexpr char kInterrupted[] =
    "another make is writing there, or was interrupted: {media}; wait for it, or remove what it "
    "left and run make again";

/// Works in the directory of the world.
class MakeAtEveryMoment : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = WhyNoSteps(); !why.empty()) GTEST_SKIP() << why;
    // Two volumes of one file each.
    for (const char* volume : {"payload/1/a/", "payload/2/"}) {
      SetTimes(world_.Directory().Write(std::string(volume) + "file", "contents"), kLongAgo,
               kLongAgo);
    }
    world_.Change(
        "file setup #!/bin/sh\\n; file starter #!/bin/sh\\n; file needs/common/text text");
    fs::current_path(world_.Path("."));
  }
  void TearDown() override { fs::current_path(before_); }

  static Lines MakeArguments(const std::string& layout, const std::string& directory = "media") {
    // RunStepByStep stops at the calls of the first thread only.
    Lines arguments = {"make",    "--tag",  "T", "--installer", "setup", "--launcher",
                       "starter", "--jobs", "1"};
    if (layout != "single") {
      arguments.insert(arguments.end(), {"--inst", "needs", "--layout", layout, "--presorted"});
    }
    arguments.insert(arguments.end(), {"payload", directory});
    return arguments;
  }

  static Outcome Make(const std::string& layout, Calls calls,
                      const std::function<Step(int call)>& at_call) {
    return RunStepByStep([&] { return RunKvlMedia(MakeArguments(layout)); }, calls, at_call);
  }

  /// Runs make, and calls `action` at one moment of it.
  static Outcome MakeWith(const std::string& layout, Calls calls, int moment,
                          const std::function<void()>& action) {
    return Make(layout, calls, [&](int call) {
      if (call == moment) action();
      return Step::kGoOn;
    });
  }

  /// Returns the number of moments of such a call.
  static int CountMoments(const std::string& layout, Calls calls) {
    int count = 0;
    const Outcome seen = Make(layout, calls, [&](int call) {
      count = call + 1;
      return Step::kGoOn;
    });
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 0);
    fs::remove_all("media");
    return count;
  }

  const fs::path before_ = fs::current_path();
  CheckWorld world_;
  const ScopedEnv env_{{{"TMPDIR", world_.Path("tmp")}}};
};

/// A kill leaves what exists at that moment, so this looks at each moment and kills only once.
TEST_F(MakeAtEveryMoment, LeavesNoPartialMediaThatCheckCallsFine) {
  const std::map<std::string, std::string> first_volumes = {
      {"single", "media"}, {"flat", "media"}, {"sibling", "media/1"}, {"am", "media/1/media/1"}};
  for (const auto& [layout, first] : first_volumes) {
    SCOPED_TRACE(layout);
    int calls = 0;
    std::vector<int> whole, fine;
    Lines before_whole, at_first_whole;
    Outcome made = Make(layout, Calls::kChanging, [&, first = first](int call) {
      calls = call;
      if (fs::exists(first + "/StartTUI.sh")) {
        if (whole.empty()) at_first_whole = DescribeTree("media");
        whole.push_back(call);
      } else if (fs::exists("media")) {
        before_whole = DescribeTree("media");
      }
      const Outcome seen = CheckWorld::CompanionHere({"check", first});
      if (seen.status == 0 || seen.out.find("\nFine") != std::string::npos) fine.push_back(call);
      return Step::kGoOn;
    });
    EXPECT_EQ(made.status, 0);
    EXPECT_GT(calls, 40);
    ASSERT_FALSE(whole.empty());
    EXPECT_EQ(fine, whole);
    EXPECT_EQ(DescribeTree("media"), at_first_whole);
    fs::remove_all("media");

    made = Make(layout, Calls::kChanging, [&](int) {
      const bool is_last_step = fs::exists("media") && DescribeTree("media") == before_whole;
      return is_last_step ? Step::kKill : Step::kGoOn;
    });
    EXPECT_EQ(made.status, -SIGKILL);
    const Outcome seen = CheckWorld::CompanionHere({"check", first});
    EXPECT_EQ(seen.status, 1);
    EXPECT_THAT(seen.out, testing::HasSubstr("\nerror: make did not finish this media: "));
    world_.ExpectRefused(CheckWorld::CompanionHere(MakeArguments(layout)), kInterrupted);
    fs::remove_all("media");
  }
}

/// In this order, nothing incomplete looks like a volume, or like the first volume of a media.
TEST_F(MakeAtEveryMoment, WritesTheFilesThatCompleteAMediaInOrder) {
  const Lines in_order = {"1/media.db",       "1/payload/1/a/file", "2/payload/2/file",
                          "1/1.sha256",       "2/2.sha256",         "1/media.manifest",
                          "2/media.manifest", "1/inst/volumes.txt", "1/1.txt",
                          "2/2.txt",          "1/StartTUI.sh"};
  Lines seen;
  const Outcome made = Make("sibling", Calls::kChanging, [&](int) {
    for (const std::string& name : in_order) {
      const bool is_new = std::find(seen.begin(), seen.end(), name) == seen.end();
      if (is_new && fs::exists("media/" + name)) seen.push_back(name);
    }
    return Step::kGoOn;
  });
  EXPECT_EQ(made.status, 0);
  EXPECT_EQ(seen, in_order);
}

TEST_F(MakeAtEveryMoment, SaysWhatItLeavesWhenASignalEndsIt) {
  const std::string words =
      world_.Text("kvl-media: the media is not whole: {media}; remove it and run make again\n");
  int silent = 0, said = 0;
  for (int i = 0, end = CountMoments("sibling", Calls::kChanging); i < end; ++i) {
    SCOPED_TRACE(i);
    const Step step = i % 2 == 0 ? Step::kInterrupt : Step::kTerminate;
    const Outcome seen = RunStepByStep(
        [] {
          std::signal(SIGINT, SIG_DFL);
          return RunKvlMedia(MakeArguments("sibling"));
        },
        Calls::kChanging, [&](int call) { return call == i ? step : Step::kGoOn; });
    const bool is_begun = fs::exists("media/StartTUI.sh.unfinished");
    const bool is_whole = fs::exists("media/1/StartTUI.sh");
    // The last call writes the report.
    EXPECT_EQ(seen.out.empty(), i < end - 1);
    EXPECT_EQ(seen.err, is_begun ? words : "");
    EXPECT_EQ(seen.status, -static_cast<int>(step));
    EXPECT_EQ(CheckWorld::CompanionHere({"check", "media/1"}).status == 0, is_whole);
    ++(is_begun ? said : silent);
    if (is_begun) {
      world_.ExpectRefused(CheckWorld::CompanionHere(MakeArguments("sibling")), kInterrupted);
    }
    fs::remove_all("media");
  }
  EXPECT_GT(said, 30);
  EXPECT_GT(silent, 5);
}

TEST_F(MakeAtEveryMoment, IgnoresASignalThatItsCallerIgnores) {
  const Outcome seen = RunStepByStep(
      [] {
        std::signal(SIGINT, SIG_IGN);
        return RunKvlMedia(MakeArguments("single"));
      },
      Calls::kChanging, [&](int) { return fs::exists("media") ? Step::kInterrupt : Step::kGoOn; });
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 0);
}

TEST_F(MakeAtEveryMoment, StoresEverythingBeforeAndAfterTheMediaIsWhole) {
  std::vector<bool> whole;
  const Outcome made = Make("sibling", Calls::kStoring, [&](int) {
    whole.push_back(fs::exists("media/1/StartTUI.sh"));
    return Step::kGoOn;
  });
  EXPECT_EQ(made.status, 0);
  EXPECT_THAT(whole, ElementsAre(false, true));
}

TEST_F(MakeAtEveryMoment, RefusesOneOfTwoCallsInOneDirectoryAndCompletesTheOther) {
  std::vector<Lines> whole;
  for (const char* layout : {"sibling", "flat"}) {
    ASSERT_EQ(CheckWorld::CompanionHere(MakeArguments(layout, "whole")).status, 0);
    whole.push_back(DescribeTree("whole"));
    fs::remove_all("whole");
  }
  int won = 0, lost = 0;
  for (int i = 0, end = CountMoments("sibling", Calls::kChanging); i < end; ++i) {
    SCOPED_TRACE(i);
    Outcome other;
    const Outcome one = MakeWith("sibling", Calls::kChanging, i,
                                 [&] { other = CheckWorld::CompanionHere(MakeArguments("flat")); });
    const bool has_won = one.status == 0;
    (has_won ? won : lost) += 1;
    const Outcome& loser = has_won ? other : one;
    EXPECT_EQ((has_won ? one : other).status, 0);
    const bool is_empty = loser.err.find("not empty") == std::string::npos;
    world_.ExpectRefused(
        loser, is_empty ? kInterrupted
                        : "the directory is not empty: {media}; empty it, or name another one");
    EXPECT_EQ(DescribeTree("media"), whole[has_won ? 0 : 1]);
    fs::remove_all("media");
  }
  EXPECT_GT(won, 40);
  EXPECT_GT(lost, 1);
}

TEST_F(MakeAtEveryMoment, CopiesAChangedFileAsPlannedOrNamesIt) {
  world_.Change("file secret a secret; remove payload/2");
  const fs::path directory = "payload/1/a", file = directory / "file";
  struct Change {
    std::string what;
    std::function<void()> make;
    std::string contents;  ///< on a media that make planned after the change
  };
  const std::vector<Change> changes = {
      {"grown", [&] { world_.Directory().Write(file.string(), "contents and more"); },
       "contents and more"},
      {"rewritten", [&] { world_.Directory().Write(file.string(), "CONTENTS"); }, "CONTENTS"},
      {"a link", [&] { world_.Change("link payload/1/a/file {secret}"); }, ""},
      {"a link above", [&] { world_.Change("move payload/1/a moved; link payload/1/a {moved}"); },
       ""},
  };
  int end = 0;  // the number of moments before the media is whole
  (void)Make("single", Calls::kLooking, [&](int call) {
    if (!fs::exists("media/StartTUI.sh")) end = call + 1;
    return Step::kGoOn;
  });
  fs::remove_all("media");
  for (const Change& change : changes) {
    SCOPED_TRACE(change.what);
    int made = 0, planned_anew = 0, named = 0;
    for (int i = 0; i < end; ++i) {
      SCOPED_TRACE(i);
      const Outcome seen = MakeWith("single", Calls::kLooking, i, change.make);
      if (seen.status == 0) {
        const std::string contents = ReadFile("media/payload/1/1/a/file");
        EXPECT_THAT(contents, testing::AnyOf("contents", change.contents));
        ++(contents == "contents" ? made : planned_anew);
        EXPECT_TRUE(contents == "contents" || named == 0) << "it had been planned already";
      } else {
        EXPECT_EQ(seen.out, "");
        EXPECT_THAT(seen.err, testing::HasSubstr("1/a"));
        EXPECT_FALSE(fs::exists("media/StartTUI.sh"));
        EXPECT_THAT(DescribeTree("media"),
                    testing::Not(testing::Contains(testing::HasSubstr("a secret"))));
        ++named;
      }
      for (const char* left : {"media", "moved", directory.c_str()}) fs::remove_all(left);
      SetTimes(world_.Directory().Write(file.string(), "contents"), kLongAgo, kLongAgo);
    }
    EXPECT_GT(made, 10);
    EXPECT_EQ(planned_anew > 0, !change.contents.empty());
    EXPECT_GT(named, 5);
  }
}

}  // namespace
}  // namespace kvl::test
