// kvl-media seal and make --sign when a signal ends them while minisign runs.
#include "tests/companion/sealed_world.h"

namespace kvl::test {
namespace {

/// Replaces minisign by scripts that send signals to kvl-media.
class InterruptedSeal : public testing::Test {
 protected:
  void SetUp() override {
    if (!SealedWorld::HasMinisign()) GTEST_SKIP() << "there is no minisign";
    world_.MakeKeys();
  }

  /// Runs kvl-media with a minisign that writes its process number and then runs these lines.
  /// Expects that the signal ends kvl-media, that minisign has ended, and that $TMPDIR is empty.
  void ExpectEndBy(int signal, const std::string& lines, const Lines& arguments,
                   const std::string& said) const {
    SCOPED_TRACE(lines);
    fs::remove_all(world_.Path("tmp"));
    world_.Directory().MakeDir("tmp");
    SetMode(
        world_.Directory().Write("bin/minisign", "#!/bin/sh\nexec <&- >&- 2>&-\necho $$ >'" +
                                                     world_.Path("number") + "'\n" + lines + "\n"),
        0755);
    const Outcome seen =
        world_.Companion(arguments, {{"PATH", "{bin}:/usr/bin:/bin"}, {"TMPDIR", "{tmp}"}}, [] {
          // A shell that runs the tests in the background may have made them ignore these signals.
          for (const int ends : {SIGINT, SIGTERM, SIGHUP}) std::signal(ends, SIG_DFL);
        });
    EXPECT_EQ(seen, (Outcome{-signal, "", world_.Text(said)}));
    EXPECT_THAT(DescribeTree(world_.Path("tmp")), IsEmpty());
    const pid_t minisign = std::stoi(ReadFile(world_.Path("number")));
    EXPECT_EQ(::kill(minisign, SIGKILL), -1);
  }

  SealedWorld world_;
  const Lines make_ = {"make",       "--tag",    "T",      "--installer", "setup",
                       "--launcher", "launcher", "--sign", "key",         "payload",
                       "unmade",     "--jobs",   "4"};
  const Lines seal_ = {"seal", "media", "--key", "key"};
  const std::string not_whole_ =
      "kvl-media: the media is not whole: {unmade}; remove it and run make again\n";
};

TEST_F(InterruptedSeal, EndsMinisignAndRemovesItsFiles) {
  world_.Make("sibling");
  world_.Change("pipe never");
  const std::string wait = "read -r line <'" + world_.Path("never") + "'";
  for (const auto& [name, signal] :
       {std::pair("INT", SIGINT), {"TERM", SIGTERM}, {"HUP", SIGHUP}}) {
    const std::string end = std::string("kill -") + name + " $PPID; ";
    ExpectEndBy(signal, end + wait, seal_, "");
    ExpectEndBy(signal, end + "exit 0", seal_, "");
    ExpectEndBy(signal, end + wait, make_, not_whole_);
    fs::remove_all(world_.Path("unmade"));
  }
  ExpectEndBy(SIGTERM,
              "trap 'kill -TERM $PPID' INT; kill -INT $PPID; while :; do " + wait + "; done", seal_,
              "");
}

TEST_F(InterruptedSeal, GoesOnWhenTheSignalIsIgnored) {
  world_.Make("single");
  world_.Change("dir tmp");
  SetMode(world_.Directory().Write("bin/minisign",
                                   "#!/bin/sh\nkill -HUP $PPID\nexec /usr/bin/minisign \"$@\"\n"),
          0755);
  EXPECT_EQ(world_.Companion(seal_, {{"PATH", "{bin}:/usr/bin:/bin"}, {"TMPDIR", "{tmp}"}},
                             [] { std::signal(SIGHUP, SIG_IGN); }),
            (Outcome{0, "Sealed a media with tag T 1, signatures: 1.\n", ""}));
}

}  // namespace
}  // namespace kvl::test
