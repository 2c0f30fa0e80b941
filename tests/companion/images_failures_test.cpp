// kvl-media make --iso when something fails: it leaves no partial image, and removes nothing else.
#include "tests/companion/images_world.h"

namespace kvl::test {
namespace {

const std::string kReal = "exec " + std::string(kXorriso) + " \"$@\"\n";

TEST_F(MakeIso, RemovesOnlyWhatItHasMade) {
  PutInItsPlace("echo mine >'" + world_.Path("media/1/payload/1/stranger") + "'\n" + kReal);
  const Outcome seen = Make("sibling", {"--iso-only"});
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(
      seen.err,
      world_.Text("kvl-media: the directory cannot be removed: {media/1/payload/1}: Directory not "
                  "empty; all disc images are whole, remove the rest yourself\n"));
  EXPECT_EQ(ReadFile(world_.Path("media/1/payload/1/stranger")), "mine\n");
  EXPECT_TRUE(fs::exists(world_.Path("media/2/media.manifest")));
}

TEST_F(MakeIso, DoesNotRemoveVolumesThatSomebodyChangesMeanwhile) {
  for (const std::string changed : {"media/1/media.manifest", "media/1/1.sha256"}) {
    SCOPED_TRACE(changed);
    PutInItsPlace("echo changed >>'" + world_.Path(changed) + "'\n" + kReal);
    const Outcome seen = Make("sibling", {"--iso-only"});
    EXPECT_EQ(seen.status, 1);
    EXPECT_EQ(seen.err,
              world_.Text("kvl-media: the volume was not removed, because this was changed: {" +
                          changed + "}; all disc images are whole, remove the rest yourself\n"));
    EXPECT_TRUE(fs::exists(world_.Path("media/1/payload/1/a")));
    world_.Change("remove media");
  }
}

TEST_F(MakeIso, NamesEachImageThatItWrites) {
  const Outcome seen = Make("sibling", {"--iso", "--verbose"});
  EXPECT_EQ(seen.status, 0);
  EXPECT_TRUE(
      seen.err.ends_with(world_.Text("\nImage of volume 1: {media/1.iso}\n"
                                     "Image of volume 2: {media/2.iso}\n")))
      << seen.err;
}

TEST_F(MakeIso, RefusesADirectoryBesideWhichItMayNotWrite) {
  world_.Change("dir closed/media; mode 777 closed/media; mode 555 closed");
  world_.ExpectRefused(Make("single", {"--iso"}, "closed/media", {}, GiveUpPermissions),
                       "you have no permission to write the disc image there: {closed}/; name "
                       "another DIR");
}

TEST_F(MakeIso, RefusesPathsAndFilesBeyondTheLimitsOfAnImage) {
  // A path in "{media}/payload/1" is six bytes longer than the same path in "{payload/2}".
  std::string deep = world_.Path("payload/2");
  while (deep.size() + 201 < 3800) deep += "/" + std::string(200, 'd');
  fs::create_directories(deep);
  const std::string name(4092 - deep.size() - 1 < 250 ? 4092 - deep.size() - 1 : 250, 'f');
  deep += "/" + std::string(4092 - deep.size() - name.size() - 2, 'e');
  fs::create_directories(deep);
  std::ofstream(deep + "/" + name).put('x');
  const std::string inside = deep.substr(world_.Path("payload/2").size()) + "/" + name;
  world_.ExpectRefused(Make("single", {"--iso"}),
                       "a path is too long for a disc image: {media}/payload/1" + inside +
                           "; shorten it to 4095 bytes");
  fs::remove(deep + "/" + name);

  constexpr std::uint64_t kMost = (400ULL << 30U) - (200ULL << 10U);
  world_.Change("file payload/2/large");
  fs::resize_file(world_.Path("payload/2/large"), kMost + 1);
  world_.ExpectRefused(Make("single", {"--iso"}),
                       "a file is too large for a disc image: {media}/payload/1/large; split it "
                       "into files of up to " +
                           std::to_string(kMost) + " bytes");
}

TEST_F(MakeIso, RefusesInvalidCallsBeforeItWrites) {
  struct Row {
    std::string change, layout, line;
    Environment env = {};
  };
  const std::string is_there =
      "the path of the disc image exists already: {media.iso}; remove it, or name another DIR";
  const std::vector<Row> rows = {
      {"",
       "single",
       "the program that writes disc images is not on PATH: xorriso; install it",
       {{"PATH", "/nowhere"}}},
      {"", "flat",
       "--layout flat puts all volumes into one directory, and a disc image needs a directory for "
       "each volume; use sibling or am, or leave --iso out"},
      {"file media.iso", "single", is_there},
      {"link media.iso nowhere", "single", is_there},
      {"dir media/lost+found", "single",
       "DIR is not empty, and its contents would be on the disc image, too: {media}; name a "
       "directory in it"},
      {"dir payload/2/" + std::string(250, 'd') + "; link payload/2/l " + std::string(250, 'd') +
           Replaced(std::string(400, 'x'), "x", "/."),
       "single",
       "the target of a link is too long for a disc image: {media}/payload/1/l; shorten it to 1023 "
       "bytes"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    world_.Change(row.change);
    const Lines before = DescribeTreeExactly(world_.Path("."));
    world_.ExpectRefused(Make(row.layout, {"--iso"}, "media", row.env), row.line);
    EXPECT_EQ(DescribeTreeExactly(world_.Path(".")), before);
    world_.Change("remove media; remove media.iso");
  }
}

TEST_F(MakeIso, LeavesNoPartialImage) {
  const std::string last =
      "for last; do :; done; while [ \"$1\" != -o ]; do shift; done; image=${2#stdio:}\n";
  const std::string partial = "xorriso wrote only a part of it";
  struct Row {
    std::string lines, why;
  };
  const std::vector<Row> rows = {
      {"exit 32\n", "xorriso ended with status 32"},
      {last + "head -c 99999 /dev/zero >\"$image\"; echo ' : FAILURE : no luck' >&2; exit 5\n",
       "FAILURE : no luck"},
      {"kill -KILL $$\n", "xorriso ended with status -1"},
      {"exit 0\n", partial},
      {last + "rm \"$image\"; exit 5\n", "xorriso ended with status 5"},
      {last + "head -c 99999 /dev/zero >\"$image\"\n", partial},
      {std::string(kXorriso) + " \"$@\" 2>&- ; " + last + "truncate -s -2048 \"$image\"\n",
       partial},
      {last + "exec " + kXorriso + " -as mkisofs -o \"$image\" -pad \"$last\"\n",
       "it has <n> bytes, more than --volume-size"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.lines);
    PutInItsPlace(row.lines);
    for (const std::string option : {"--iso", "--iso-only"}) {
      Outcome seen = Make("sibling", {option, "--volume-size", "200K"});
      seen.err = Replaced(seen.err, "it has [0-9]+ bytes", "it has <n> bytes");
      EXPECT_EQ(seen,
                (Outcome{1,
                         world_.Text("Made a media with tag T 1, layout sibling, volumes: 2.\n"
                                     "First volume: '{media/1}'\n"
                                     "Start it with: '{media/1}/StartTUI.sh'\n"),
                         world_.Text("kvl-media: the disc image was not written: {media/1.iso}: " +
                                     row.why + "; the media in the directories is whole\n")}));
      ExpectOnlyTheMedia("{media}");
      world_.Change("remove media");
    }
  }
}

TEST_F(MakeIso, LeavesNoImageOnAFullDisk) {
  // Another program takes the room meanwhile.
  PutInItsPlace("head -c 99999999 /dev/zero 2>&- >'" + world_.Path("mount/filler") + "'\n" + kReal);
  world_.Change("dir mount");
  const Outcome seen = Make("sibling", {"--iso"}, "mount/media", {}, [&] {
    const bool is_possible =
        ::unshare(CLONE_NEWNS) == 0 &&
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        ::mount("none", world_.Path("mount").c_str(), "tmpfs", 0, "size=8M") == 0;
    if (!is_possible) ::_exit(kImpossibleHere);
  });
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(
      Replaced(seen.err, "1\\.iso: .*space.*;", "1.iso: <no space>;"),
      world_.Text("kvl-media: the disc image was not written: {mount/media/1.iso}: <no space>; "
                  "the media in the directories is whole\n"));
}

TEST_F(MakeIso, LeavesNoImageWhenASignalEndsIt) {
  world_.Change("pipe never");
  PutInItsPlace("kill -TERM $PPID; read -r line <'" + world_.Path("never") + "'\n");
  for (const std::string option : {"--iso", "--iso-only"}) {
    const Outcome seen =
        Make("sibling", {option}, "media", {}, [] { std::signal(SIGTERM, SIG_DFL); });
    EXPECT_EQ(seen, (Outcome{-SIGTERM, "", ""}));
    ExpectOnlyTheMedia("{media}");
    world_.Change("remove media");
  }
}

}  // namespace
}  // namespace kvl::test
