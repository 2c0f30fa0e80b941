// Worlds for whole runs under hard conditions.
#pragma once

#include "tests/insio/surroundings.h"
#include "tests/launcher/launch_world.h"

namespace kvl::test {

/// Calls `check` with a world whose installer runs in place, and with one whose installer is
/// staged.
inline void InPlaceAndStaged(const std::function<void(LaunchWorld&, ExpectedRun)>& check) {
  for (const bool staged : {false, true}) {
    SCOPED_TRACE(staged ? "staged" : "in place");
    LaunchWorld world;
    check(staged ? world.VolumeMissing() : world.OneVolume(), staged ? Staged() : InPlace());
  }
}

/// Gives the world's own directory and {tmp} to the user of EnterAsOrdinaryUser. Returns why that
/// user still cannot launch anything there; the empty text if it can.
inline std::string WhyNoOrdinaryUser(const LaunchWorld& world) {
  try {
    for (const char* directory : {".", "tmp"}) GiveToOrdinaryUser(world.Path(directory));
  } catch (const std::exception& failure) {
    return failure.what();
  }
  const std::string program = BuiltProgram("kvl-launcher"), tmp = world.Path("tmp");
  const Outcome outcome = RunIsolated([&] {
    EnterAsOrdinaryUser(world.Directory());
    return ::access(program.c_str(), X_OK) == 0 && ::access(tmp.c_str(), W_OK) == 0 ? 0 : 1;
  });
  return outcome.status == 0 ? "" : "no ordinary user can reach " + program + " and " + tmp;
}

/// Returns the same run with an installer that the system does not start.
inline ExpectedRun NotStarted(ExpectedRun expected) {
  expected.status = 255;
  expected.err += says::CannotWait(CommandOf(expected.arguments));
  expected.arguments = {};
  return expected;
}

/// A world whose installer is in another media, so that the order of the first copies is known. The
/// media in "1" is the first of three volumes, the third of which is missing. Its "inst" contains a
/// single file; the installer is in the media "ext".
class ExternalWorld : public LaunchWorld {
 public:
  ExternalWorld() {
    Make("1: volumes=3 1=SET-A; 2: 2=SET-A");
    Volume("1").Descriptions();
    Volume("ext/1").Installer();
  }

  LaunchSeen Run(LaunchPlan plan = {}) {
    plan.arguments = {"-installerPath", "{ext}"};
    return LaunchWorld::Run(plan);
  }
};

/// Returns its expected run.
inline ExpectedRun StagedFromExternal() {
  ExpectedRun expected = Staged();
  expected.out = SaysNoneIn("{1}") + says::ArgumentNames("{ext}") +
                 says::InstallerMedia(InstallerOf("{ext}/1")) + kTwoOfThree;
  expected.env.external = "{ext}/1/inst/";
  expected.left.external_inst = "ext/1/inst";
  return expected;
}

/// Returns its expected run if nothing is staged, for this reason.
inline ExpectedRun FailedFromExternal(const std::string& staging_slash, const std::string& reason) {
  ExpectedRun expected = StagedFromExternal().Ends(1);
  expected.err = says::Missing() + says::StagingFailed(staging_slash, reason);
  expected.arguments = {};
  expected.left = {};
  return expected;
}

}  // namespace kvl::test
