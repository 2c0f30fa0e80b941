// CarrierWorld: a LaunchWorld with a media that "kvl-media make" writes, and the expectations for
// runs of its start script from a carrier.
//
// The media has three volumes, in {set/1}, {set/2} and {set/3}, and the fake installer.
#pragma once

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {

/// The place of volume 1 on the carrier.
inline constexpr char kFirst[] = "{carrier/1}";

class CarrierWorld : public LaunchWorld {
 public:
  /// Starts the media as an ordinary user, or as the user who runs the tests.
  explicit CarrierWorld(bool ordinary_user = false) : ordinary_user_(ordinary_user) {}

  /// Makes a media in that directory, with further options for "kvl-media make".
  void Make(const std::string& directory, const std::vector<std::string>& options = {}) const;
  /// Makes the media in {set}, with all three volumes or with the first two.
  void MakeSet(int volumes, const std::string& layout = "sibling") const;

  /// Runs a program in the world's own directory. Each word is a MediaWorld::Text. Throws
  /// std::runtime_error with the output if the program fails.
  void RunTool(const std::vector<std::string>& command) const;

  /// Returns the plan for a run of a start script. The environment has none of the variables that
  /// the script sets.
  LaunchPlan StartOf(const std::string& script, LaunchPlan plan = {}) const;

  /// Runs StartTUI.sh of volume 1, and expects the run to change only {tmp}.
  LaunchSeen Start(const LaunchPlan& plan = {});

  bool IsStartedByOrdinaryUser() const { return ordinary_user_ || ::geteuid() != 0; }

  /// Compares with the expected run, see ExpectRun.
  void Expect(const LaunchSeen& seen, const ExpectedRun& expected) const;

 private:
  bool ordinary_user_;
};

/// Calls `check` for the user who runs the tests and, if that is the superuser, for an ordinary
/// user, each with a new world. Skips the test if there is no ordinary user.
void ForAllStarters(const std::function<void(CarrierWorld&)>& check);

/// Makes a run of a start script look like one of the launcher alone: adds the variables that the
/// script sets to `given`, and removes those of the shell from the installer's environment.
void TakeAwayTheScript(LaunchSeen& seen, const std::string& media);

/// The expected run with all three volumes, and the one without the third.
ExpectedRun InPlaceFromCarrier();
ExpectedRun StagedFromCarrier();

/// Returns the tree that staging of the media in that directory leaves: directories of mode 755 and
/// files with the modes of the media, all less the umask.
std::vector<std::string> StagedCopyOf(const MediaWorld& world, const std::string& media,
                                      unsigned umask = 022);

}  // namespace kvl::test
