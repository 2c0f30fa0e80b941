// kvl-media, when what it says cannot be written.

#include "tests/companion/check_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using Lines = std::vector<std::string>;

class FailingOutput : public testing::TestWithParam<void (*)()> {
 protected:
  FailingOutput() {
    SetMode(world_.Directory().Write("setup", "#!/bin/sh\n"), 0755);
    world_.Directory().Write("payload/file", "x");
  }

  CheckWorld world_;
};

TEST_P(FailingOutput, IsNamedByWhatOnlyWrites) {
  for (const Lines& arguments :
       {Lines{"--help"}, Lines{"--version"}, Lines{"make", "--help"}, Lines{"check", "-h"},
        Lines{"check", "payload"}, Lines{"check", "--json", "payload"}}) {
    const Outcome seen = world_.Companion(arguments, {}, GetParam());
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, "kvl-media: the report cannot be written\n");
    EXPECT_EQ(seen.status, 2);
  }
}

TEST_P(FailingOutput, IsNamedWhenAMediaWasMade) {
  const Outcome made = world_.Companion(
      {"make", "--tag", "T", "--installer", "setup", "--launcher", "/bin/true", "payload", "media"},
      {}, GetParam());
  EXPECT_EQ(made.out, "");
  EXPECT_EQ(made.err, "kvl-media: the media was made, but the message cannot be written\n");
  EXPECT_EQ(made.status, 1);
  EXPECT_TRUE(fs::exists(world_.Path("media/StartTUI.sh")));
}

void SendToFullDisk() {
  ::dup2(::open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
}
void SendToReader() {
  ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDOUT_FILENO);
}
void Close() {
  ::close(STDOUT_FILENO);
}

INSTANTIATE_TEST_SUITE_P(OfEveryKind, FailingOutput,
                         testing::Values(SendToFullDisk, SendToReader, Close));

}  // namespace
}  // namespace kvl::test
