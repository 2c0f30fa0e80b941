// LaunchWorld: a MediaWorld for whole runs of the program, and the expectations for such runs.
#pragma once

#include "tests/launcher/expected_environment.h"
#include "tests/support/media_world.h"
#include "tests/support/messages.h"
#include "tests/support/test.h"

namespace kvl::test {

/// For a Launcher that does not wait for its installer.
inline constexpr bool kWithoutWaiting = false;

/// What lies below {tmp} after staging: a copy of some pieces of the media, and more. All texts as
/// in MediaWorld.
struct StagedTree {
  std::string media = {};  ///< the staged media; empty if nothing was staged
  std::vector<std::string> pieces = {"inst",     "meta.TOCxml", "media.xml",
                                     "media.db", "StartGUI.sh", "StartTUI.sh"};
  std::string external_inst = {};  ///< "inst" of an external installer media, copied over that
  /// The staging directory in the clean-up script; empty without a script.
  std::string script_for = "{staging}/";
  Environment also = {};  ///< further files by name, with their contents
  /// Unless empty, replaces all of the above: everything below {tmp}, as LaunchSeen::staged
  /// describes it.
  std::vector<std::string> exactly = {};
};

/// The expected run. All texts as in MediaWorld.
struct ExpectedRun {
  int status = 0;
  std::string out = {};
  std::string err = {};
  /// The installer's arguments, its own path first; empty if it should not start.
  std::vector<std::string> arguments = {};
  Prepared env = {};     ///< the input of the installer's environment
  StagedTree left = {};  ///< what lies below {tmp} afterwards

  // Return the same run with one difference.
  ExpectedRun Ends(int with) const {
    return But([&](auto& run) { run.status = with; });
  }
  ExpectedRun Says(const std::string& on_standard_output) const {
    return But([&](auto& run) { run.out = on_standard_output; });
  }
  ExpectedRun Warns(const std::string& on_standard_error) const {
    return But([&](auto& run) { run.err = on_standard_error; });
  }
  ExpectedRun Passes(const std::vector<std::string>& further) const {
    return But([&](auto& run) {
      run.arguments.insert(run.arguments.end(), further.begin(), further.end());
    });
  }
  ExpectedRun Sets(const Environment& by_options) const {
    return But([&](auto& run) { run.env.options = by_options; });
  }
  ExpectedRun Finds(const Environment& by_the_scan) const {
    return But([&](auto& run) { run.env.found = by_the_scan; });
  }
  ExpectedRun But(const std::function<void(ExpectedRun&)>& change) const;
};

class LaunchWorld : public MediaWorld {
 public:
  /// Makes a media in "1" with an installer and no further volume: the installer runs in place.
  LaunchWorld& OneVolume();
  /// Makes a media in "1" with an installer, the first of three volumes of the set SET-A. The
  /// second is in "2", the third is missing: the launcher stages the installer.
  LaunchWorld& VolumeMissing();

  /// Removes what earlier launches left in {tmp}.
  void EmptyTmp() const;

  /// Launches the media in that directory, and expects the run to change only {tmp}. The working
  /// directory is a text, too.
  LaunchSeen Run(const LaunchPlan& plan = {}, const std::string& media = "1");
  /// Does the same, and compares everything.
  LaunchSeen Expect(const ExpectedRun& expected, const LaunchPlan& plan = {},
                    const std::string& media = "1");
};

/// A run of the media in "1" of a new world.
struct RunRow {
  std::string name = {};
  std::function<void(LaunchWorld&)> media = {};  ///< makes it, as &LaunchWorld::OneVolume does
  ExpectedRun expected = {};
  LaunchPlan plan = {};
};
void ExpectRuns(const std::vector<RunRow>& rows);
LaunchPlan WithArguments(const std::vector<std::string>& arguments, const Environment& env = {});
LaunchPlan WithVariables(const Environment& env);

/// The expected run of OneVolume, or of VolumeMissing, without arguments.
ExpectedRun InPlace();
ExpectedRun Staged();

/// Returns the path of the installer in a media.
std::string InstallerOf(const std::string& media);
/// Returns the installer's arguments in normal mode: its path, "-CDpath", the media, and further
/// ones.
std::vector<std::string> StartedFrom(const std::string& media,
                                     const std::vector<std::string>& further = {});
/// Returns the command for an installer with these arguments, as messages show it.
std::string CommandOf(const std::vector<std::string>& arguments);

/// Return the messages for a media with an installer, and for one without.
std::string SaysFoundIn(const std::string& media);
std::string SaysNoneIn(const std::string& media);
/// The messages for a media in {1} of three volumes of which the scan finds the second in {2}.
inline const std::string kTwoOfThree = says::Volumes("3", {"{1}", "{2}"});

/// Returns the text of "remove.bat"; `staging_slash` ends in "/".
std::string CleanUpScriptIn(const std::string& staging_slash);

/// Returns the text with "<id>" for every upper-case identifier of a staging directory.
std::string WithoutIdentifiers(const std::string& text);

/// Returns the tree in the form of LaunchSeen::staged; `os` is the operating-system directory.
std::vector<std::string> LinesOf(const StagedTree& tree, const MediaWorld& world,
                                 const std::string& os);

/// For LaunchPlan::before: prevents a core file after a death by a signal.
void LeaveNoCore();

/// Compares everything.
void ExpectRun(const LaunchWorld& world, const LaunchSeen& seen, const ExpectedRun& expected);

}  // namespace kvl::test
