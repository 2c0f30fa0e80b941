// Whole runs whose staging fails: two error messages, status 1, and no installer is started.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// The failed run of VolumeMissing that has copied these pieces.
ExpectedRun Failed(const std::string& reason, const std::vector<std::string>& pieces) {
  ExpectedRun expected = Staged();
  expected.status = 1;
  expected.err = kMissingVolumes + SaysStagingFailed("{staging}/", reason);
  expected.arguments = {};
  expected.left.pieces = pieces;
  expected.left.script_for = "";
  return expected;
}

TEST(RunStagingFailure, AMissingDescriptionEndsItAndWhatWasCopiedStays) {
  std::vector<std::string> copied = {"inst"};
  for (const std::string missing :
       {"meta.TOCxml", "media.xml", "media.db", "StartGUI.sh", "StartTUI.sh"}) {
    SCOPED_TRACE(missing);
    LaunchWorld world;
    world.VolumeMissing();
    std::filesystem::remove(world.Path("1/" + missing));
    const LaunchSeen seen = world.Run();
    ExpectRun(world, seen,
              Failed("lstat - {1}/" + missing + " - No such file or directory", copied));
    copied.push_back(missing);
  }
}

TEST(RunStagingFailure, ADanglingDescriptionEndsIt) {
  LaunchWorld world;
  world.VolumeMissing();
  std::filesystem::remove(world.Path("1/media.xml"));
  world.Volume("1").Link("media.xml", "nowhere");
  const LaunchSeen seen = world.Run();
  ExpectRun(
      world, seen,
      Failed("Cannot stat {1}/media.xml - No such file or directory", {"inst", "meta.TOCxml"}));
}

TEST(RunStagingFailure, ADanglingLinkInInstEndsIt) {
  LaunchWorld world;
  world.VolumeMissing();
  world.Volume("1").Link("inst/common/dangling", "nowhere");
  const LaunchSeen seen = world.Run();
  const ExpectedRun expected =
      Failed("Cannot stat {1}/inst/common/dangling - No such file or directory", {});
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(seen.out, world.Text(expected.out));
  EXPECT_EQ(seen.err, world.Text(expected.err));
  EXPECT_FALSE(seen.child.started);
  // How much of "inst" came before the link is up to the file system.
  EXPECT_THAT(seen.staged,
              testing::Each(testing::ContainsRegex("^[df] [0-7]+ [{]staging[}](/inst|$)")));
}

TEST(RunStagingFailure, MoreLinksOneBehindTheOtherThanTheSystemFollowsEndIt) {
  LaunchWorld world;
  world.VolumeMissing();
  for (int step = 0; step < 50; ++step) {
    world.Volume("outside/" + std::to_string(step)).Link("next", "../" + std::to_string(step + 1));
  }
  world.Volume("outside/50").File("lost", "text");
  world.Volume("1").Link("inst/common/next", "../../../outside/0");
  std::string link = world.Path("1/inst/common/next");
  for (std::error_code ignored; std::filesystem::exists(link, ignored);) link += "/next";
  const LaunchSeen seen = world.Run();
  const ExpectedRun expected =
      Failed("Cannot stat " + link + " - Too many levels of symbolic links", {});
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(seen.out, world.Text(expected.out));
  EXPECT_EQ(seen.err, world.Text(expected.err));
  EXPECT_FALSE(seen.child.started);
}

/// A media in "1" with the smallest "inst" and no installer, which is in "ext".
void SmallMedia(LaunchWorld& world) {
  world.Volume("1").Descriptions().Announces("3").Marker(1, "SET-A");
  world.Volume("2").Marker(2, "SET-A");
  world.Volume("ext/1").Installer();
}

constexpr char kExternalInstaller[] =
    " INFO: Argument \"-installerPath\" found and its value is \"{ext}\".\n"
    " INFO: Installer Media: \"{ext}/1/inst/linux/code/bin/installer\"\n";

/// The failed run of SmallMedia that has copied these pieces.
ExpectedRun FailedSmall(const std::string& reason, const std::vector<std::string>& pieces) {
  ExpectedRun expected = Failed(reason, pieces);
  expected.out = SaysNoneIn("{1}") + kExternalInstaller + kTwoOfThree;
  return expected;
}

const std::vector<std::string> kWithExternal = {"-installerPath", "{ext}"};

TEST(RunStagingFailure, AnExternalMediaWithoutItsCommonDirectoryEndsIt) {
  LaunchWorld world;
  SmallMedia(world);
  std::filesystem::remove_all(world.Path("ext/1/inst/common"));
  const LaunchSeen seen = world.Run({.arguments = kWithExternal});
  ExpectRun(
      world, seen,
      FailedSmall("lstat - {ext}/1/inst//common - No such file or directory", StagedTree().pieces));
}

TEST(RunStagingFailure, AFileInTheTemporaryDirectorysPlaceEndsIt) {
  LaunchWorld world;
  SmallMedia(world);
  world.Volume(".").File("file", "contents");
  LaunchSeen seen = world.Run({.arguments = kWithExternal, .env = {{"TMPDIR", "{file}"}}});
  ExpectedRun expected = FailedSmall("", {});
  expected.err = kMissingVolumes +
                 SaysStagingFailed("{file}/<id>/", "mkdir - {file}/<id>/inst - Not a directory");
  expected.left = {};
  seen.err = WithoutIdentifiers(seen.err);
  ExpectRun(world, seen, expected);
}

TEST(RunStagingFailure, ATemporaryDirectoryInQuotesEndsIt) {
  LaunchWorld world;
  SmallMedia(world);
  LaunchSeen seen = world.Run({.arguments = kWithExternal, .env = {{"TMPDIR", "\"{tmp}\""}}});
  ExpectedRun expected = FailedSmall("", {});
  expected.err = kMissingVolumes +
                 SaysStagingFailed("\"{tmp}\"/<id>/",
                                   "mkdir - \"{tmp}\"/<id>/inst - No such file or directory");
  expected.left = {};
  seen.err = WithoutIdentifiers(seen.err);
  ExpectRun(world, seen, expected);
}

TEST(RunStagingFailure, AFileSizeLimitEndsItWithAMessage) {
  struct Row {
    rlim_t limit;
    std::string reason;
  };
  // The limit stops one write half-way, and the other before its first byte.
  for (const Row& row : {Row{16384, "No space left on device"}, Row{65536, "File too large"}}) {
    LaunchWorld world;
    SmallMedia(world);
    world.Volume("1").File("media.db", std::string(200'000, 'x'));
    const auto set_limit = [&] {
      rlimit limit;
      ::getrlimit(RLIMIT_FSIZE, &limit);
      limit.rlim_cur = row.limit;
      ::setrlimit(RLIMIT_FSIZE, &limit);
      ::signal(SIGXFSZ, SIG_DFL);
    };
    const LaunchSeen seen = world.Run({.arguments = kWithExternal, .before = set_limit});
    ExpectedRun expected = FailedSmall("Cannot write into {staging}/media.db - " + row.reason,
                                       {"inst", "meta.TOCxml", "media.xml"});
    expected.left.also = {{"media.db", std::string(row.limit, 'x')}};
    ExpectRun(world, seen, expected);
  }
}

TEST(RunStagingFailure, AReadErrorEndsItWithItsOwnText) {
  LaunchWorld world;
  SmallMedia(world);
  std::filesystem::remove(world.Path("1/StartTUI.sh"));
  world.Volume("1").Link("StartTUI.sh", "/proc/self/mem");
  const LaunchSeen seen = world.Run({.arguments = kWithExternal});
  const ExpectedRun expected =
      FailedSmall("Cannot write into {staging}/StartTUI.sh - Input/output error", {});
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(seen.out, world.Text(expected.out));
  EXPECT_EQ(seen.err, world.Text(expected.err));
  EXPECT_FALSE(seen.child.started);
  EXPECT_EQ(ReadFile(world.Text("{staging}/StartTUI.sh")), "");
}

TEST(RunStagingFailure, WithoutTMPDIRNamesADirectoryBelowSlashTmp) {
  // A name that is too long as soon as the media's path stands before it ends the staging before
  // anything is made below /tmp.
  LaunchWorld world;
  std::string media = "m";
  while (world.Path(media).size() < 3850) media += "/" + std::string(100, 'm');
  const std::string name(255, 'n');
  const std::string volumes = world.Directory().MakeDir(media + "/inst/volumes.txt");
  const int directory = ::open(volumes.c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_EQ(::mkdirat(directory, name.c_str(), 0755), 0);
  ::close(directory);
  world.Volume("ext/1").Installer();
  const LaunchSeen seen = world.Launch(media, {.arguments = kWithExternal, .without = {"TMPDIR"}});
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(seen.out, world.Text(SaysNoneIn("{" + media + "}") + kExternalInstaller));
  EXPECT_EQ(
      WithoutIdentifiers(seen.err),
      SaysStagingFailed("/tmp/<id>/", "lstat - " + volumes + "/" + name + " - File name too long"));
  EXPECT_FALSE(seen.child.started);
}

}  // namespace
}  // namespace kvl::test
