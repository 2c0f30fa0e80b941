// Whole rounds of kvl-media in unusual places: the round is the same as elsewhere, or ends as
// documented.

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

TEST_F(RoundInARoot, ThatIsNotAMountPointIsAsElsewhere) {
  ExpectTheUsualRoundWith({"/proc", "/dev/null"}, {});
}

/// Without /proc, clean cannot see whether a process uses a staged copy.
TEST_F(RoundInARoot, WithoutProcLeavesStagedCopiesAlone) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer needs /proc";
  ExpectTheUsualRoundWith({"/dev/null"},
                          "clean: 1\nleft alone   {tmp}/<id>: the list of mounts cannot be read: "
                          "/proc/self/mountinfo\n--\n");
}

/// Without /proc, kvl-media cannot find itself, nor the launcher beside it.
TEST_F(RoundInARoot, WithoutProcNeedsTheOptionForTheLauncher) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer needs /proc";
  RoundWorld world;
  RunWithOwnRoot(world.Path("."), {}, [&](const OwnRoot& root) {
    const Outcome made =
        world.Companion({"make", "--tag", "T", "--installer", "{setup}", "{payload/1}", "{new}"},
                        {}, [&] { root.Enter(); });
    EXPECT_EQ(
        made,
        (Outcome{
            2, "",
            "kvl-media: the launcher beside kvl-media cannot be found: /proc/self/exe: No such "
            "file or directory; name the launcher with --launcher\n"}));
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

TEST(RoundInPlaces, WithTheClockFarOffIsAsElsewhere) {
  RoundWorld world;
  for (const long time : kOddTimes) {
    SCOPED_TRACE(time);
    world.ExpectTheUsualRound({.env = WithClockAt(time)});
  }
}

TEST(RoundInPlaces, With16MiBOfMemoryIsAsElsewhere) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer takes memory of its own";
  RoundWorld world;
  for (int i = 0; i < 1000; ++i) {
    world.Directory().Write("payload/2/many/" + std::to_string(i), "text");
  }
  const MemoryGroup group(16L * 1024 * 1024);
  if (!group.WhyNot().empty()) GTEST_SKIP() << group.WhyNot();
  world.ExpectTheUsualRound({.before = [&] { group.Enter(); }});
}

/// verify and check call the media fine there, but make cannot tell whether the payload changes.
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
  EXPECT_EQ(
      made,
      (Outcome{
          1, "",
          world.Text("kvl-media: this changed while make was at work: {payload/1/a}; change "
                     "nothing until make has ended\n"
                     "kvl-media: the media is not whole: {new}; remove it and run make again\n")}));
}

/// Files that make generates have the time of the newest file in the payload.
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
