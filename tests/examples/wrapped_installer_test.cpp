// examples/wrapped-installer: starts an installer with options of its own.

#include "tests/examples/sample_world.h"

namespace kvl::test {
namespace {

using Words = std::vector<std::string>;

class WrappedInstaller : public testing::Test, protected SampleWorld {
 protected:
  void SetUp() override {
    if (!fs::exists(SourceFile("examples"))) GTEST_SKIP() << "the sources are not there";
    if (!fs::exists("/usr/bin/makeself")) GTEST_SKIP() << "makeself is not installed";
    SetMode(Directory().Write("packed/setup",
                              "#!/bin/sh\n"
                              "printf '<%s>\\n' \"$@\"\necho \"media: $MEDIA\"\nexit 7\n"),
            0755);
    Directory().Write("payload/1/file", "of volume 1");
    Directory().Write("payload/2/file", "of volume 2");
    Directory().MakeDir("needs/common");
    Done({"/usr/bin/makeself", "--quiet", "--nox11", "--nocomp", Path("packed"),
          Path("needs/common/setup.run"), "A suite", "./setup"});
  }

  /// Runs a command that must succeed.
  void Done(const Words& command) const {
    const Outcome outcome = RunProgram({command, {{"PATH", "/usr/bin:/bin"}}, Path(".")});
    ASSERT_EQ(outcome.status, 0) << outcome.out << outcome.err;
  }

  void MediaWith(const std::string& installer) const {
    Done({BuiltProgram("kvl-media"), "make", "--presorted", "--tag", "T", "--installer", installer,
          "--inst", "needs", "--launcher", BuiltProgram("kvl-launcher"), "payload", "media"});
  }

  Outcome Run(const Words& arguments) const { return Start("media/1", arguments); }
};

constexpr char kArguments[] = "<--target>\n<a b>\n<--quiet>\n";

TEST_F(WrappedInstaller, IsNeededForAnArchiveWithOptionsOfItsOwn) {
  MediaWith("needs/common/setup.run");
  const Outcome seen = Run({"--target", "a b", "--quiet"});
  EXPECT_THAT(seen.out + seen.err, testing::HasSubstr("-CDpath"));
  EXPECT_EQ(seen.out.find("<--target>"), std::string::npos);
  EXPECT_NE(seen.status, 7);
}

TEST_F(WrappedInstaller, PassesTheUsersArgumentsOnAndReturnsTheStatus) {
  MediaWith(SourceFile("examples/wrapped-installer"));
  const Outcome seen = Run({"--target", "a b", "--quiet"});
  EXPECT_THAT(seen.out, testing::EndsWith(kArguments + Text("media: {media/1}\n")));
  EXPECT_EQ(seen.status, 7);
}

TEST_F(WrappedInstaller, NamesTheMediaItselfWhenItIsStaged) {
  MediaWith(SourceFile("examples/wrapped-installer"));
  Remove("media/2");
  const Outcome seen = Run({"--target", "a b", "--quiet"});
  EXPECT_THAT(seen.out, testing::EndsWith(kArguments + Text("media: {media/1}\n")));
  EXPECT_EQ(seen.status, 7);
}

TEST_F(WrappedInstaller, RefusesACallWithoutTheMedia) {
  const std::string wrapper = SourceFile("examples/wrapped-installer");
  for (const Words& arguments : {Words{}, {"-CDpath"}, {"--target", "x", "--mgt", "y"}}) {
    Words command = {wrapper};
    command.insert(command.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(RunProgram({command, {{"PATH", "/usr/bin:/bin"}}}),
              (Outcome{2, "",
                       "wrapped-installer: -CDpath MEDIA does not come first; start the media "
                       "without -SoftMgt\n"}));
  }
}

}  // namespace
}  // namespace kvl::test
