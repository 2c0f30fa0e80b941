// CarrierWorld: a media of three volumes, made by "kvl-media make" to be put on what people use,
// and what a run of its start script is to look like.
//
// It is made in {set/1}, {set/2} and {set/3}; its installer is the fake one.
#pragma once

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {

/// Where the first volume lies for those who start it.
inline constexpr char kFirst[] = "{carrier/1}";

class CarrierWorld : public LaunchWorld {
 public:
  /// Whether its media is started by an ordinary user, or by ourselves.
  explicit CarrierWorld(bool ordinary_user = false) : ordinary_user_(ordinary_user) {}

  /// Makes a media in that directory; `options` are further ones for "kvl-media make".
  void Make(const std::string& directory, const std::vector<std::string>& options = {}) const;
  /// Makes the media in {set}, in that layout: all three volumes, or the first two.
  void MakeSet(int volumes, const std::string& layout = "sibling") const;

  /// Runs a program that has to succeed, with texts as in MediaWorld; its working directory is the
  /// world's own. Its streams are only for the exception when it fails.
  void RunTool(const std::vector<std::string>& command) const;

  /// The plan of a run of a start script. The environment is that of a LaunchPlan without what the
  /// script sets.
  LaunchPlan StartOf(const std::string& script, LaunchPlan plan = {}) const;

  /// Runs StartTUI.sh of the first volume, and claims that the run changed nothing but {tmp}.
  LaunchSeen Start(const LaunchPlan& plan = {});

  bool IsStartedByOrdinaryUser() const { return ordinary_user_ || ::geteuid() != 0; }

  /// As ExpectRun of LaunchWorld.
  void Expect(const LaunchSeen& seen, const ExpectedRun& expected) const;

 private:
  bool ordinary_user_;
};

/// Calls `check` with a world of its own for everybody who may start a media: ourselves, and, where
/// the superuser runs the tests, an ordinary user. The test is skipped where that one cannot be
/// had.
void ForAllStarters(const std::function<void(CarrierWorld&)>& check);

/// Adds to what was given what the script sets for the launcher, and takes from what the child got
/// what only the shell needs: as if the launcher had been started without a script.
void TakeAwayTheScript(LaunchSeen& seen, const std::string& media);

/// What is expected of the three volumes when all of them are there, and without the third.
ExpectedRun InPlaceFromCarrier();
ExpectedRun StagedFromCarrier();

/// Everything that a staging of the media in that directory leaves, worked out from the media: new
/// directories, files that keep their modes, both less the umask.
std::vector<std::string> StagedCopyOf(const MediaWorld& world, const std::string& media,
                                      unsigned umask = 022);

}  // namespace kvl::test
