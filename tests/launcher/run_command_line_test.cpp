// Whole runs with a bad command line.

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

TEST(RunCommandLine, ABadOneEndsTheRunBeforeAnythingElse) {
  struct Row {
    std::vector<std::string> arguments;
    std::string message;
  };
  const std::vector<Row> rows = {
      {{"-env"}, "Bad -env argument"},
      {{"--uninst", "-installerPath"}, "Bad -installerPath argument"},
      {{"-SoftMgt"},
       "-SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback)."},
      {{"-List"}, "-List must be used with the -SoftMgt flag."},
      {{"-Check"}, "-Check must be used with the -SoftMgt flag."},
      {{"-Commit"}, "-Commit must be used with the -SoftMgt flag."},
      {{"-Rollback"}, "-Rollback must be used with the -SoftMgt flag."},
  };
  LaunchWorld world;
  world.VolumeMissing();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.message);
    const LaunchSeen seen = world.Run({.arguments = row.arguments});
    ExpectRun(world, seen, {.status = 1, .err = "ERROR: " + row.message + "\n"});
  }
}

}  // namespace
}  // namespace kvl::test
