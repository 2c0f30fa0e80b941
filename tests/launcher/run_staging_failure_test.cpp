// Whole runs whose staging fails: the launcher writes two error messages, ends with status 1, and
// starts no installer.

#include "tests/conditions/worlds.h"

namespace kvl::test {
namespace {

/// The expected run, which fails after it has copied these pieces.
ExpectedRun Failed(ExpectedRun run, const std::string& reason,
                   const std::vector<std::string>& pieces = {}) {
  run.status = 1;
  run.err = says::Missing() + says::StagingFailed("{staging}/", reason);
  run.arguments = {};
  run.left = {.media = pieces.empty() ? "" : "1", .pieces = pieces, .script_for = ""};
  return run;
}

TEST(RunStagingFailure, AMissingDescriptionEndsTheRunAndLeavesTheCopies) {
  std::vector<std::string> copied = {"inst"};
  for (const std::string missing :
       {"meta.TOCxml", "media.xml", "media.db", "StartGUI.sh", "StartTUI.sh"}) {
    SCOPED_TRACE(missing);
    LaunchWorld world;
    world.VolumeMissing();
    fs::remove(world.Path("1/" + missing));
    world.Expect(
        Failed(Staged(), "lstat - {1}/" + missing + " - No such file or directory", copied));
    copied.push_back(missing);
  }
}

TEST(RunStagingFailure, ADanglingDescriptionEndsTheRun) {
  LaunchWorld world;
  world.VolumeMissing();
  fs::remove(world.Path("1/media.xml"));
  world.Volume("1").Link("media.xml", "nowhere");
  world.Expect(Failed(Staged(), "Cannot stat {1}/media.xml - No such file or directory",
                      {"inst", "meta.TOCxml"}));
}

TEST(RunStagingFailure, ADanglingLinkInInstEndsTheRun) {
  LaunchWorld world;
  world.VolumeMissing().Volume("1").Link("inst/common/dangling", "nowhere");
  LaunchSeen seen = world.Run();
  // The file system decides how much of a directory comes before the link.
  EXPECT_THAT(std::exchange(seen.staged, {}),
              testing::Each(testing::ContainsRegex("^[df] [0-7]+ [{]staging[}](/inst|$)")));
  ExpectRun(world, seen,
            Failed(Staged(), "Cannot stat {1}/inst/common/dangling - No such file or directory"));
}

TEST(RunStagingFailure, MoreLinksThanTheSystemFollowsEndTheRun) {
  // The system follows fewer links while somebody mounts a file system. The launcher then meets the
  // limit at another call, so the test runs again.
  for (int left = 5; left > 0; --left) {
    LaunchWorld world;
    world.VolumeMissing().Volume("outside/50").File("lost", "text");
    for (int step = 0; step < 50; ++step) {
      world.Volume("outside/" + std::to_string(step))
          .Link("next", "../" + std::to_string(step + 1));
    }
    world.Volume("1").Link("inst/common/next", "../../../outside/0");
    std::string link = world.Path("1/inst/common/next");
    for (std::error_code ignored; fs::exists(link, ignored);) link += "/next";
    LaunchSeen seen = world.Run();
    if (left > 1 && seen.err.find("Cannot stat " + link) == std::string::npos) continue;
    seen.staged = {};
    ExpectRun(world, seen,
              Failed(Staged(), "Cannot stat " + link + " - Too many levels of symbolic links"));
    return;
  }
}

TEST(RunStagingFailure, AnExternalMediaWithoutCommonEndsTheRun) {
  ExternalWorld world;
  fs::remove_all(world.Path("ext/1/inst/common"));
  ExpectRun(world, world.Run(),
            Failed(StagedFromExternal(), "lstat - {ext}/1/inst//common - No such file or directory",
                   StagedTree().pieces));
}

TEST(RunStagingFailure, ATemporaryDirectoryThatCannotBeMadeEndsTheRun) {
  struct Row {
    std::string name, tmpdir, reason;
  };
  for (const Row& row : {Row{"a file in its place", "{file}", "Not a directory"},
                         Row{"quotes about it", "\"{tmp}\"", "No such file or directory"}}) {
    SCOPED_TRACE(row.name);
    ExternalWorld world;
    world.Volume(".").File("file", "contents");
    LaunchSeen seen = world.Run({.env = {{"TMPDIR", row.tmpdir}}});
    seen.err = WithoutIdentifiers(seen.err);
    ExpectRun(world, seen,
              FailedFromExternal(row.tmpdir + "/<id>/",
                                 "mkdir - " + row.tmpdir + "/<id>/inst - " + row.reason));
  }
}

TEST(RunStagingFailure, AFileSizeLimitEndsTheRunWithAMessage) {
  struct Row {
    rlim_t limit;
    std::string reason;
  };
  // The limit stops one write half-way and the other one before its first byte.
  for (const Row& row : {Row{16384, "No space left on device"}, Row{65536, "File too large"}}) {
    ExternalWorld world;
    world.Volume("1").File("media.db", std::string(200'000, 'x'));
    ExpectedRun expected =
        Failed(StagedFromExternal(), "Cannot write into {staging}/media.db - " + row.reason,
               {"inst", "meta.TOCxml", "media.xml"});
    expected.left.also = {{"media.db", std::string(row.limit, 'x')}};
    const LaunchSeen seen = world.Run({.before = [&] {
      rlimit limit;
      ::getrlimit(RLIMIT_FSIZE, &limit);
      limit.rlim_cur = row.limit;
      ::setrlimit(RLIMIT_FSIZE, &limit);
      ::signal(SIGXFSZ, SIG_DFL);
    }});
    ExpectRun(world, seen, expected);
  }
}

TEST(RunStagingFailure, AReadErrorEndsTheRunWithItsOwnText) {
  ExternalWorld world;
  fs::remove(world.Path("1/StartTUI.sh"));
  world.Volume("1").Link("StartTUI.sh", "/proc/self/mem");
  LaunchSeen seen = world.Run();
  EXPECT_THAT(std::exchange(seen.staged, {}), testing::Contains("f 600 {staging}/StartTUI.sh = "));
  ExpectRun(
      world, seen,
      Failed(StagedFromExternal(), "Cannot write into {staging}/StartTUI.sh - Input/output error"));
}

}  // namespace
}  // namespace kvl::test
