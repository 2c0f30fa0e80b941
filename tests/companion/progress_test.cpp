// The progress line that a long call shows on a terminal.

#include <pty.h>
#include <termios.h>

#include "companion/calls/progress_line.h"
#include "tests/companion/check_world.h"
#include "tests/insio/surroundings.h"

namespace kvl::test {
namespace {

constexpr char kRemoved[] = "\r\033[K";

/// Replaces progress lines, which overwrite each other on the terminal, by "(progress)".
std::string WithoutFigures(const std::string& seen) {
  const std::string size = "[0-9.]+ [KMG]iB";
  return Replaced(seen,
                  "(\\rVolume [12]: [0-9]+ %, " + size + " of 1\\.[45] MiB(, " + size +
                      "/s, [0-9:]+ left)?\\x1B\\[K)+",
                  "(progress)");
}

class Progress : public testing::Test {
 protected:
  void SetUp() override {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0) GTEST_SKIP() << "there is no terminal to open";
    ::close(terminal);
  }

  /// Makes five files of one size, the last two for a second volume, and an empty one.
  Progress() {
    for (const char* name : {"a", "b", "c", "d/e", "f"}) {
      world_.Volume("payload").File(name, std::string(300'000, 'x'));
    }
    world_.Change("file payload/d/empty; file setup #!/bin/sh\\n");
  }

  /// Runs kvl-media make with standard error on a raw terminal. Compares the output there, which
  /// must fit into the terminal's buffer, standard output and the status.
  void ExpectSeen(const std::string& on_terminal, const std::string& out, int status,
                  const std::vector<std::string>& further = {},
                  const std::function<void()>& before = {}) {
    std::vector<std::string> arguments = {
        "make",          "--tag", "T 1",    "--installer", "setup",   "--launcher", "setup",
        "--volume-size", "1100K", "--jobs", "1",           "payload", "media"};
    arguments.insert(arguments.end(), further.begin(), further.end());
    ExpectSeenOf(arguments, on_terminal, out, status, before);
  }

  /// Does the same for a call with these arguments.
  void ExpectSeenOf(const std::vector<std::string>& arguments, const std::string& on_terminal,
                    const std::string& out, int status, const std::function<void()>& before = {}) {
    termios raw = {};
    ::cfmakeraw(&raw);
    int screen = -1, line = -1;
    ASSERT_EQ(::openpty(&screen, &line, nullptr, &raw, nullptr), 0);
    const Outcome seen = world_.Companion(arguments, {{"TERM", "xterm"}}, [&] {
      ::dup2(line, STDERR_FILENO);
      if (before) before();
    });
    ::close(line);
    std::string on_screen;
    for (char shown; ::read(screen, &shown, 1) == 1;) on_screen += shown;
    ::close(screen);
    EXPECT_EQ(WithoutFigures(on_screen), on_terminal);
    EXPECT_EQ(Replaced(seen.out, ", [0-9]+ bytes", ", <n> bytes"), world_.Text(out));
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, status);
  }

  CheckWorld world_;
};

constexpr char kMade[] =
    "Made a media with tag T 1, layout sibling, volumes: 2.\n"
    "First volume: '{media/1}'\nStart it with: '{media/1}/StartTUI.sh'\n";

TEST_F(Progress, IsOneLineThatIsRemovedAtTheEnd) {
  ExpectSeen("(progress)" + std::string(kRemoved), kMade, 0);
}

TEST_F(Progress, IsShownWhenAMediaIsVerified) {
  ASSERT_EQ(world_.MakeMedia({"--volume-size", "1100K"}).status, 0);
  ExpectSeenOf({"verify", "media"}, "(progress)" + std::string(kRemoved),
               "Whole: 2 volumes, 17 files, <n> bytes; not proven genuine: no key was given\n", 0);
}

TEST_F(Progress, IsNotShownWithQuiet) {
  ExpectSeen("", kMade, 0, {"--quiet"});
}

TEST_F(Progress, IsRemovedBeforeAnErrorMessage) {
  ExpectSeen(
      "(progress)" + std::string(kRemoved) +
          world_.Text(
              "kvl-media: Cannot write into {media/1}/payload/1/a - No space left on "
              "device\nkvl-media: the media is not whole: {media}; remove it and run make again\n"),
      "", 1, {}, [] { LimitFileSize(200'000); });
}

TEST_F(Progress, IsNotShownWhenNothingIsCopied) {
  ExpectSeen(
      "kvl-media: --system is not a valid name: a/b; use letters, digits and ._+- only, and begin "
      "with neither . nor -\n",
      "", 2, {"--os", "a/b"});
}

TEST_F(Progress, IsReplacedByNamesOfFilesWithVerbose) {
  ExpectSeen(
      "Volume 1: payload/1/a\nVolume 1: payload/1/b\nVolume 1: payload/1/c\n"
      "Volume 2: payload/2/d/e\nVolume 2: payload/2/d/empty\nVolume 2: payload/2/f\n"
      "Volume 1: inst/linux/code/bin/kvl-launcher\nVolume 1: inst/linux/code/bin/setup\n",
      kMade, 0, {"--verbose"});
}

TEST(ProgressText, SaysHowMuchIsDoneAndHowLongTheRestTakes) {
  constexpr std::uint64_t kMiB = 1'048'576;
  struct Row {
    std::uint64_t done, in_all;
    double seconds;
    std::string text;
  };
  for (const Row& row : std::vector<Row>{
           {0, 0, 0, "100 %, 0.0 KiB of 0.0 KiB"},
           {0, 3 * kMiB, 5, "0 %, 0.0 KiB of 3.0 MiB"},
           {512, 1024, 0.9, "50 %, 0.5 KiB of 1.0 KiB"},
           {512, 1024, 1, "50 %, 0.5 KiB of 1.0 KiB, 0.5 KiB/s, 0:01 left"},
           {3 * kMiB / 2, 2 * kMiB, 1.5, "75 %, 1.5 MiB of 2.0 MiB, 1.0 MiB/s, 0:00 left"},
           {99, 100, 10, "99 %, 0.1 KiB of 0.1 KiB, 0.0 KiB/s, 0:00 left"},
           {kMiB, 62 * kMiB, 1, "1 %, 1.0 MiB of 62.0 MiB, 1.0 MiB/s, 1:01 left"},
           {kMiB, 120 * kMiB, 1, "0 %, 1.0 MiB of 120.0 MiB, 1.0 MiB/s, 1:59 left"},
           {kMiB, 3602 * kMiB, 1, "0 %, 1.0 MiB of 3.5 GiB, 1.0 MiB/s, 1:00:01 left"},
           {1, kMiB * kMiB * kMiB, 9, "0 %, 0.0 KiB of 1048576.0 TiB, 0.0 KiB/s, 99:59:59 left"},
           {kMiB, kMiB, 4, "100 %, 1.0 MiB of 1.0 MiB, 256.0 KiB/s, 0:00 left"},
       }) {
    EXPECT_EQ(
        ProgressText("Volume 7", row.done, row.in_all, std::chrono::duration<double>(row.seconds)),
        "Volume 7: " + row.text);
  }
}

TEST(ProgressLine, IsRewrittenAtMostTenTimesASecondAndOnlyIfItChanges) {
  ProgressLine::Clock::time_point now;
  const Outcome seen = Catch([&] {
    ProgressLine line(/*is_shown=*/true, [&] { return now; });
    const auto show_after = [&](int milliseconds, const char* label, std::uint64_t done) {
      now += std::chrono::milliseconds(milliseconds);
      line.Show(label, done, 4096);
    };
    show_after(0, "One", 0);
    show_after(99, "One", 1024);
    show_after(1, "One", 2048);
    show_after(100, "One", 2048);
    show_after(100, "Two", 2048);
    show_after(700, "Two", 4096);
  });
  EXPECT_EQ(seen, (Outcome{0, "",
                           "\rOne: 0 %, 0.0 KiB of 4.0 KiB\033[K"
                           "\rOne: 50 %, 2.0 KiB of 4.0 KiB\033[K"
                           "\rTwo: 50 %, 2.0 KiB of 4.0 KiB\033[K"
                           "\rTwo: 100 %, 4.0 KiB of 4.0 KiB, 4.0 KiB/s, 0:00 left\033[K" +
                               std::string(kRemoved)}));
}

TEST(ProgressLine, ComesBackAfterItWasRemoved) {
  ProgressLine::Clock::time_point now;
  const Outcome seen = Catch([&] {
    ProgressLine line(/*is_shown=*/true, [&] { return now; });
    line.Show("One", 0, 1024);
    line.Remove();
    now += std::chrono::milliseconds(200);
    line.Show("One", 0, 1024);
  });
  const std::string once = "\rOne: 0 %, 0.0 KiB of 1.0 KiB\033[K" + std::string(kRemoved);
  EXPECT_EQ(seen, (Outcome{0, "", once + once}));
}

TEST(ProgressLine, WritesNothingIfItIsNotShown) {
  EXPECT_EQ(Catch([] { ProgressLine(/*is_shown=*/false).Show("One", 1, 2); }), Outcome{});
}

}  // namespace
}  // namespace kvl::test
