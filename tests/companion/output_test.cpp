// kvl-media, when what it says cannot be written.

#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

TEST(FailingOutput, IsNamed) {
  const std::vector<std::pair<const char*, int>> kinds = {
      {"/dev/full", O_WRONLY}, {"/dev/null", O_RDONLY}, {nullptr, 0}};
  for (const auto& [file, how] : kinds) {
    SCOPED_TRACE(file == nullptr ? "closed" : file);
    const auto send = [file = file, how = how] {
      ::close(STDOUT_FILENO);
      if (file != nullptr) ::open(file, how);
    };
    const CheckWorld world("file setup #!/bin/sh\\n; file payload/file x");
    for (const Lines& arguments :
         {Lines{"--help"}, Lines{"--version"}, Lines{"make", "--help"}, Lines{"check", "-h"},
          Lines{"check", "payload"}, Lines{"check", "--json", "payload"}}) {
      world.ExpectRefused(world.Companion(arguments, {}, send), "the report cannot be written");
    }
    world.ExpectRefused(world.MakeMedia({}, "media", send),
                        "the media was made, but the message cannot be written", 1);
    EXPECT_TRUE(fs::exists(world.Path("media/StartTUI.sh")));
  }
}

}  // namespace
}  // namespace kvl::test
