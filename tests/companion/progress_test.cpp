// The line that "kvl-media make" shows on a terminal while it copies.

#include <pty.h>
#include <termios.h>

#include "tests/companion/check_world.h"
#include "tests/insio/surroundings.h"

namespace kvl::test {
namespace {

constexpr char kRemoved[] = "\r\033[K";

std::string Shown(int volume, int percent) {
  return "\rVolume " + std::to_string(volume) + ", " + std::to_string(percent) +
         " % of the payload\033[K";
}

class Progress : public testing::Test {
 protected:
  void SetUp() override {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0) GTEST_SKIP() << "there is no terminal to open";
    ::close(terminal);
  }

  /// Five files of one size, the last two on a second volume, and an empty one.
  Progress() {
    for (const char* name : {"a", "b", "c", "d/e", "f"}) {
      world_.Volume("payload").File(name, std::string(300'000, 'x'));
    }
    world_.Change("file payload/d/empty; file setup #!/bin/sh\\n");
  }

  /// Runs kvl-media with standard error on a terminal that passes everything on as it is; compares
  /// what is seen there, which must not be more than it holds, and the rest.
  void ExpectSeen(const std::string& on_terminal, const std::string& out, int status,
                  const std::vector<std::string>& further = {},
                  const std::function<void()>& before = {}) {
    std::vector<std::string> arguments = {
        "make",          "--tag", "T 1",    "--installer", "setup",   "--launcher", "/bin/true",
        "--volume-size", "1100K", "--jobs", "1",           "payload", "media"};
    arguments.insert(arguments.end(), further.begin(), further.end());
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
    EXPECT_EQ(on_screen, on_terminal);
    EXPECT_EQ(seen.out, world_.Text(out));
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, status);
  }

  CheckWorld world_;
};

constexpr char kMade[] =
    "Made a media with tag T 1, layout sibling, volumes: 2.\n"
    "First volume: '{media/1}'\nStart it with: '{media/1}/StartTUI.sh'\n";

/// A line is rewritten when its figures change, and gone at the end.
TEST_F(Progress, IsOneLineOnATerminal) {
  ExpectSeen(Shown(1, 0) + Shown(1, 19) + Shown(1, 39) + Shown(2, 59) + Shown(2, 79) + kRemoved,
             kMade, 0);
}

TEST_F(Progress, IsNotShownOnDemand) {
  ExpectSeen("", kMade, 0, {"--quiet"});
}

TEST_F(Progress, IsGoneBeforeTheMessageOfAFailure) {
  ExpectSeen(
      Shown(1, 0) + kRemoved +
          world_.Text("kvl-media: Cannot write into {media/1}/payload/1/a - No space left on "
                      "device\nkvl-media: {media} is not whole; remove it and run make again\n"),
      "", 1, {}, [] { LimitFileSize(200'000); });
}

TEST_F(Progress, IsNotShownWhenNothingIsCopied) {
  ExpectSeen(
      "kvl-media: --os: no plain name: a/b (letters, digits and ._+-, no \".\" or \"-\" in "
      "front)\n",
      "", 2, {"--os", "a/b"});
}

}  // namespace
}  // namespace kvl::test
