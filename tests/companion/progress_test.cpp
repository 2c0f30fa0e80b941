// The line that "kvl-media make" shows on a terminal while it copies.

#include <pty.h>
#include <termios.h>

#include "tests/companion/check_world.h"
#include "tests/insio/surroundings.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// A terminal that passes everything on as it is, where the system has any.
class Terminal {
 public:
  Terminal() {
    termios raw = {};
    ::cfmakeraw(&raw);
    is_open_ = ::openpty(&screen_, &line_, nullptr, &raw, nullptr) == 0;
    for (const int end : {screen_, line_}) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
  ~Terminal() {
    ::close(screen_);
    ::close(line_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  bool IsOpen() const { return is_open_; }

  /// For a child that writes to this stream: it is the terminal.
  void TakeOver(int stream) const { ::dup2(line_, stream); }

  /// Everything that has been written to it, which must not be more than it holds.
  std::string Seen() const {
    ::fcntl(screen_, F_SETFL, O_NONBLOCK);
    std::string seen;
    std::array<char, 4096> buffer;
    for (ssize_t n; (n = ::read(screen_, buffer.data(), buffer.size())) > 0;) {
      seen.append(buffer.data(), static_cast<std::size_t>(n));
    }
    return seen;
  }

 private:
  int screen_ = -1;
  int line_ = -1;
  bool is_open_ = false;
};

constexpr char kEndOfLine[] = "\033[K";  // what is right of here is removed
constexpr char kRemoved[] = "\r\033[K";

std::string Shown(int volume, int percent) {
  return "\rVolume " + std::to_string(volume) + ", " + std::to_string(percent) +
         " % of the payload" + kEndOfLine;
}

class Progress : public testing::Test {
 protected:
  void SetUp() override {
    if (!Terminal().IsOpen()) GTEST_SKIP() << "there is no terminal to open";
  }

  /// Five files of one size, the last two on a second volume, and an empty one.
  Progress() {
    for (const char* name : {"a", "b", "c", "d/e", "f"}) {
      world_.Volume("payload").File(name, std::string(300'000, 'x'));
    }
    world_.Volume("payload").File("d/empty", "");
    SetMode(world_.Directory().Write("setup", "#!/bin/sh\n"), 0755);
  }

  /// Runs kvl-media with standard error on a terminal; `err` is what is seen there.
  Outcome Make(const std::vector<std::string>& further = {},
               const std::function<void()>& before = {}) {
    std::vector<std::string> arguments = {"make",        "--tag",         "T 1",
                                          "--installer", "setup",         "--launcher",
                                          "/bin/true",   "--volume-size", "1100K"};
    arguments.insert(arguments.end(), further.begin(), further.end());
    arguments.insert(arguments.end(), {"payload", "media"});
    const Terminal terminal;
    Outcome seen = world_.Companion(arguments, {{"TERM", "xterm"}}, [&] {
      terminal.TakeOver(STDERR_FILENO);
      if (before) before();
    });
    seen.err += terminal.Seen();
    return seen;
  }

  std::string Made() const {
    return world_.Text(
        "Made a media with tag T 1, layout sibling, volumes: 2.\n"
        "First volume: '{media/1}'\nStart it with: '{media/1}/StartTUI.sh'\n");
  }

  CheckWorld world_;
};

/// A line is rewritten when its figures change, and gone at the end.
TEST_F(Progress, IsOneLineOnATerminal) {
  const Outcome seen = Make();
  EXPECT_EQ(seen.err,
            Shown(1, 0) + Shown(1, 19) + Shown(1, 39) + Shown(2, 59) + Shown(2, 79) + kRemoved);
  EXPECT_EQ(seen.out, Made());
  EXPECT_EQ(seen.status, 0);
}

TEST_F(Progress, IsNotShownOnDemand) {
  const Outcome seen = Make({"--quiet"});
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.out, Made());
  EXPECT_EQ(seen.status, 0);
}

TEST_F(Progress, IsGoneBeforeTheMessageOfAFailure) {
  const Outcome seen = Make({}, [] { LimitFileSize(200'000); });
  EXPECT_EQ(seen.err,
            Shown(1, 0) + kRemoved +
                world_.Text("kvl-media: Cannot write into {media/1}/payload/1/a - No space left on "
                            "device\n"));
  EXPECT_EQ(seen.out, "");
  EXPECT_EQ(seen.status, 1);
}

TEST_F(Progress, IsNotShownWhenNothingIsCopied) {
  const Outcome seen = Make({"--os", "a/b"});
  EXPECT_EQ(seen.err,
            "kvl-media: --os: no plain name: a/b (letters, digits and ._+-, no \".\" or \"-\" in "
            "front)\n");
  EXPECT_EQ(seen.out, "");
  EXPECT_EQ(seen.status, 2);
}

}  // namespace
}  // namespace kvl::test
