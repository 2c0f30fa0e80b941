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

/// Who starts a media.
enum class Starter { kOurselves, kOrdinaryUser };

/// Both for the superuser; an ordinary user cannot be anybody else.
std::vector<Starter> AllStarters();

class CarrierWorld : public LaunchWorld {
 public:
  /// Makes a media in that directory; `options` are further ones for "kvl-media make".
  void Make(const std::string& directory, const std::vector<std::string>& options = {}) const;
  /// Makes the media in {set}, of three volumes, in that layout.
  void MakeSet(const std::string& layout = "sibling") const;

  /// Runs a program that has to succeed, with texts as in MediaWorld; its working directory is the
  /// world's own. Its streams are only for the exception when it fails.
  void RunTool(const std::vector<std::string>& command) const;

  /// Why this starter cannot be had; empty when it can.
  std::string WhyNot(Starter starter) const;

  /// The plan of a run of a start script. The environment is that of a LaunchPlan without what the
  /// script sets.
  LaunchPlan StartOf(const std::string& script, Starter starter, LaunchPlan plan = {}) const;

  /// Runs StartTUI.sh of the first volume, and claims that the run changed nothing but {tmp}.
  LaunchSeen Start(Starter starter, const LaunchPlan& plan = {});
};

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

/// As ExpectRun of LaunchWorld, for a run by that starter.
void ExpectRunBy(Starter starter, const LaunchWorld& world, const LaunchSeen& seen,
                 const ExpectedRun& expected);

}  // namespace kvl::test
