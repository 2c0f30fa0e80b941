// kvl-media make knows the room it needs before it writes anything.
#include "companion/make/media_maker.h"
#include "companion/make/media_room.h"
#include "companion/names/layout_name.h"
#include "tests/companion/sealed_world.h"
#include "tests/insio/surroundings.h"

namespace kvl::test {
namespace {

constexpr std::uint64_t kBlock = 4096;

class NeededRoom : public testing::Test {
 protected:
  NeededRoom() {
    world_.Directory().Write("payload/1/a/large", std::string(300'000, 'x'));
    world_.Change(
        "file setup #!/bin/sh\\n; file payload/2/b/c/small x; dir payload/2/empty; "
        "file needs/common/text text; file needs/linux/code/bin/tool x; dir media");
  }

  /// Makes a media in a missing directory of a tmpfs with these options.
  Outcome MakeIn(const std::string& options) const {
    return world_.MakeMedia({"--presorted", "--inst", "needs"}, "media/new", [&] {
      const bool is_possible =
          ::unshare(CLONE_NEWNS) == 0 &&
          ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
          ::mount("none", world_.Path("media").c_str(), "tmpfs", 0, options.c_str()) == 0;
      if (!is_possible) ::_exit(kImpossibleHere);
    });
  }

  /// Expects make to refuse a media on a file system that is too small, to succeed with the room
  /// that the refusal names, and to refuse the next smaller room. The file system itself takes
  /// `taken`.
  void ExpectEnough(const std::string& option, std::uint64_t too_small, const std::string& unit,
                    std::uint64_t taken) const {
    const Outcome refused = MakeIn(option + "=" + std::to_string(too_small));
    if (refused.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
    const Groups needed = MatchOf(refused.err, "[^0-9]*([0-9]+)[^]*");
    ASSERT_FALSE(needed.empty()) << refused.err;
    const std::uint64_t number = std::stoull(needed[1]);
    if (option == "size") {
      EXPECT_EQ(number % kBlock, 0U);
    }
    EXPECT_EQ(
        refused,
        (Outcome{2, "",
                 "kvl-media: the media needs " + needed[1] + " " + unit + ", and " +
                     std::to_string(too_small - taken) + " are free: " + world_.Path("media/new") +
                     "; make room there, or name a directory on another file system\n"}));
    EXPECT_EQ(MakeIn(option + "=" + std::to_string(number + taken)).status, 0);
    const std::uint64_t one_less = option == "size" ? number - kBlock : number - 1;
    EXPECT_EQ(MakeIn(option + "=" + std::to_string(one_less + taken)).status, 2);
  }

  CheckWorld world_;
};

TEST_F(NeededRoom, IsNamedWhenBytesAreMissing) {
  ExpectEnough("size", 40 * kBlock, "bytes", 0);
}

/// The top directory of the file system takes one of them.
TEST_F(NeededRoom, IsNamedWhenFilesAreMissing) {
  ExpectEnough("nr_inodes", 10, "files and directories", 1);
}

TEST_F(NeededRoom, IsEnoughIfTheFileSystemDoesNotSayWhatIsFree) {
  const Outcome made = MakeIn("size=0,nr_inodes=0");
  if (made.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(made.status, 0) << made.err;
}

TEST_F(NeededRoom, MatchesWhatAMediaTakes) {
  struct Row {
    std::string layout, payload, key = {};
  };
  const std::string key = SealedWorld::HasMinisign() ? world_.Path("key") : "";
  if (!key.empty()) {
    RunProgram({{"/usr/bin/minisign", "-G", "-W", "-s", key, "-p", world_.Path("key.pub")}});
  }
  for (const Row& row :
       {Row{"single", "payload/1"}, Row{"single", "payload/1", key}, Row{"flat", "payload", key},
        Row{"sibling", "payload"}, Row{"sibling", "payload", key}, Row{"am", "payload", key}}) {
    SCOPED_TRACE(row.layout + " " + row.key);
    MediaMakeRequest request = {
        .payload = world_.Path(row.payload),
        .is_presorted = row.layout != "single",
        .directory = world_.Path("media"),
        .layout = LayoutNamed(row.layout),
        .tag = "T",
        .systems = {{.installer = world_.Path("setup"), .launcher = world_.Path("setup")}},
        .inst = world_.Path("needs"),
        .key = row.key,
        .time = {}};
    const MediaPlan plan = PlanMedia(request);
    const Room room = RoomFor(plan, kBlock);
    MakeMedia(request, plan,
              {[](std::size_t, const std::string&, std::uint64_t) {},
               [](std::uint64_t, std::uint64_t) {}});
    std::uint64_t entries = 1, blocks = 1;
    for (const auto& entry : fs::recursive_directory_iterator(request.directory)) {
      ++entries;
      blocks += entry.is_directory() ? 1 : (entry.file_size() + kBlock - 1) / kBlock;
    }
    EXPECT_EQ(room.entries, entries);
    EXPECT_EQ(room.bytes % kBlock, 0U);
    EXPECT_GE(room.bytes, blocks * kBlock);
    EXPECT_LE(room.bytes, (blocks + 8) * kBlock);
    fs::remove_all(request.directory);
    world_.Change("dir media");
  }
}

}  // namespace
}  // namespace kvl::test
