// Whole rounds of kvl-media in places that few machines are: everything is as elsewhere, or ends as
// stated.

#include "tests/companion/whole_round.h"
#include "tests/conditions/memory_group.h"
#include "tests/conditions/own_root.h"
#include "tests/support/preloaded.h"
#include "tests/support/sanitized.h"

namespace kvl::test {
namespace {

using RoundInARoot = OwnMountsTest;

void ExpectTheUsualRoundWith(const std::vector<std::string>& shown, const std::string& cleaning) {
  RoundWorld world;
  RunWithOwnRoot(world.Path("."), shown, [&](const OwnRoot& root) {
    world.ExpectTheUsualRound({.before = [&] { root.Enter(); }, .cleaning = cleaning});
    EXPECT_FALSE(root.IsMountPoint());
    for (const std::string path : {"/proc", "/dev/null"}) {
      EXPECT_EQ(root.Has(path), std::count(shown.begin(), shown.end(), path) != 0) << path;
    }
  });
}

TEST_F(RoundInARoot, ThatIsNoMountPointIsAsElsewhere) {
  ExpectTheUsualRoundWith({"/proc", "/dev/null"}, {});
}

/// Nobody can tell whether a copy is in use.
TEST_F(RoundInARoot, WithoutProcLeavesAloneWhatWasStaged) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer needs /proc";
  ExpectTheUsualRoundWith(
      {"/dev/null"},
      "clean: 1\nleft alone   {tmp}/<id>: what is mounted cannot be looked at in /proc\n--\n");
}

/// The program cannot know where it lies, and what lies beside it.
TEST_F(RoundInARoot, WithoutProcHasToBeToldOfTheLauncher) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer needs /proc";
  RoundWorld world;
  RunWithOwnRoot(world.Path("."), {}, [&](const OwnRoot& root) {
    const Outcome made =
        world.Companion({"make", "--tag", "T", "--installer", "{setup}", "{payload/1}", "{new}"},
                        {}, [&] { root.Enter(); });
    EXPECT_EQ(made, (Outcome{2, "", "kvl-media: --launcher: needed where /proc is missing\n"}));
  });
  EXPECT_FALSE(fs::exists(world.Path("new")));
}

TEST_F(RoundInARoot, WithoutTheNullDeviceIsAsElsewhere) {
  ExpectTheUsualRoundWith({"/proc"}, {});
}

using RoundOnAnOverlay = OwnOverlayTest;

TEST_F(RoundOnAnOverlay, IsAsElsewhere) {
  RoundWorld world;
  const TestDirectory place;
  RunWithOwnMounts([&] {
    const OverlayMount overlay(world.Path("."), place.Path());
    world.ExpectTheUsualRound({});
  });
}

using RoundOnFuse = OwnFuseTest;

TEST_F(RoundOnFuse, IsAsElsewhere) {
  RoundWorld world;
  RunWithOwnMounts([&] {
    const FuseMount fuse(world.Path("."));
    world.ExpectTheUsualRound({});
  });
}

TEST(RoundInPlaces, OfALocaleThatDoesNotExistIsAsElsewhere) {
  RoundWorld world;
  for (const std::string name : {"xx_XX.UTF-8", "/nowhere", "C.KOI8-R"}) {
    world.ExpectTheUsualRound({.env = {{"LC_ALL", name}, {"LANG", name}, {"LANGUAGE", name}}});
  }
}

TEST(RoundInPlaces, WithTheClockFarAwayIsAsElsewhere) {
  RoundWorld world;
  for (const long time : kOddTimes) {
    SCOPED_TRACE(time);
    world.ExpectTheUsualRound({.env = WithClockAt(time)});
  }
}

TEST(RoundInPlaces, WithMemoryFor16MiBIsAsElsewhere) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer takes memory of its own";
  RoundWorld world;
  for (int i = 0; i < 1000; ++i) {
    world.Directory().Write("payload/2/many/" + std::to_string(i), "text");
  }
  const MemoryGroup group(16L * 1024 * 1024);
  if (!group.WhyNot().empty()) GTEST_SKIP() << group.WhyNot();
  world.ExpectTheUsualRound({.before = [&] { group.Enter(); }});
}

/// What is made is found whole; nobody can tell there whether a payload has changed since it was looked at.
TEST(RoundInPlaces, WithMadeUpInodeNumbersMakesNoMedia) {
  RoundWorld world;
  world.Round();
  fs::rename(world.Path("media/away"), world.Path("media/2"));
  const Environment usual = {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", "{tmp}"}};
  Environment env = WithOddInodes();
  env.insert(usual.begin(), usual.end());
  for (const Lines& arguments :
       {Lines{"verify", "{media/1}", "{media/2}"},
        Lines{"check", "{media}", "--os", "linux", "--installer", "setup"}}) {
    EXPECT_EQ(world.Companion(arguments, env), world.Companion(arguments, usual));
  }
  const Outcome made =
      world.Companion({"make", "--tag", "T", "--installer", "{setup}", "--launcher", "{setup}",
                       "--jobs", "1", "{payload/1}", "{new}"},
                      env);
  EXPECT_EQ(made, (Outcome{1, "",
                           world.Text("kvl-media: changed since the media was planned: "
                                      "{payload/1/a}\nkvl-media: {new} is not whole; remove it and "
                                      "run make again\n")}));
}

/// The newest of a payload is the time of what is generated.
TEST(RoundInPlaces, GivesAMediaTheOddTimesOfItsPayload) {
  for (const long time : kOddTimes) {
    SCOPED_TRACE(time);
    RoundWorld world;
    for (const auto& entry : fs::recursive_directory_iterator(world.Path("payload"))) {
      SetTimes(entry.path(), time, time);
    }
    world.Round();
    for (const char* name : {"payload/1/a", "StartTUI.sh", "media.manifest"}) {
      EXPECT_EQ(StatusOf(world.Path("media/1/") + name).st_mtime, time) << name;
    }
  }
}

}  // namespace
}  // namespace kvl::test
