// LaunchWorld: a MediaWorld for whole runs of the program, and what such a run is to look like.
#pragma once

#include "tests/launcher/expected_environment.h"
#include "tests/support/media_world.h"
#include "tests/support/messages.h"
#include "tests/support/test.h"

namespace kvl::test {

/// For a Launcher that does not wait for what it starts.
inline constexpr bool kWithoutWaiting = false;

/// What lies below {tmp} after a media was staged: a copy of some pieces of it, and more. All texts
/// as in MediaWorld.
struct StagedTree {
  std::string media = {};  ///< the media that was staged; empty when nothing was
  std::vector<std::string> pieces = {"inst",     "meta.TOCxml", "media.xml",
                                     "media.db", "StartGUI.sh", "StartTUI.sh"};
  std::string external_inst = {};  ///< "inst" of an external installer media, copied over that
  /// The staging directory in the clean-up script; empty when there is no script.
  std::string script_for = "{staging}/";
  Environment also = {};  ///< further files by name, with their contents
  /// When not empty, everything there is, described as by LaunchSeen::staged, instead of all this.
  std::vector<std::string> exactly = {};
};

/// What a run is to look like. All texts as in MediaWorld.
struct ExpectedRun {
  int status = 0;
  std::string out = {};
  std::string err = {};
  /// Of the installer, its own path first; empty when it is not to be started.
  std::vector<std::string> arguments = {};
  Prepared env = {};     ///< what the installer's environment is made from
  StagedTree left = {};  ///< what lies below {tmp} afterwards

  // The same run with one thing different.
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
  /// A media in "1" with an installer and no further volume: the installer runs in place.
  LaunchWorld& OneVolume();
  /// A media in "1" with an installer, the first of three volumes of the set SET-A. The second is
  /// in "2", the third is missing: the installer is staged.
  LaunchWorld& VolumeMissing();

  /// Removes what earlier launches left in {tmp}.
  void EmptyTmp() const;

  /// Launches the media in that directory, and claims that the run changed nothing but {tmp}. The
  /// working directory is a text, too.
  LaunchSeen Run(const LaunchPlan& plan = {}, const std::string& media = "1");
  /// The same, and compares everything.
  LaunchSeen Expect(const ExpectedRun& expected, const LaunchPlan& plan = {},
                    const std::string& media = "1");
};

/// One run of the media in "1" of a new world.
struct RunRow {
  std::string name = {};
  std::function<void(LaunchWorld&)> media = {};  ///< describes it, as &LaunchWorld::OneVolume does
  ExpectedRun expected = {};
  LaunchPlan plan = {};
};
void ExpectRuns(const std::vector<RunRow>& rows);
LaunchPlan WithArguments(const std::vector<std::string>& arguments, const Environment& env = {});
LaunchPlan WithVariables(const Environment& env);

/// What a run of OneVolume, or of VolumeMissing, without any arguments is to look like.
ExpectedRun InPlace();
ExpectedRun Staged();

/// The path of the installer in a media.
std::string InstallerOf(const std::string& media);
/// The installer's arguments in normal mode: its path, "-CDpath", the media, and the further ones.
std::vector<std::string> StartedFrom(const std::string& media,
                                     const std::vector<std::string>& further = {});
/// The command, as messages name it, of an installer with these arguments.
std::string CommandOf(const std::vector<std::string>& arguments);

/// The messages of a media whose installer is found, and of one without an installer.
std::string SaysFoundIn(const std::string& media);
std::string SaysNoneIn(const std::string& media);
/// The messages of a media in {1} of three volumes that finds the second in {2}.
inline const std::string kTwoOfThree = says::Volumes("3", {"{1}", "{2}"});

/// The text of "remove.bat"; `staging_slash` ends in "/".
std::string CleanUpScriptIn(const std::string& staging_slash);

/// The text with every upper-case identifier of a staging directory written as "<id>".
std::string WithoutIdentifiers(const std::string& text);

/// The tree as LaunchSeen::staged is to have it; `os` is the operating-system directory.
std::vector<std::string> LinesOf(const StagedTree& tree, const MediaWorld& world,
                                 const std::string& os);

/// For LaunchPlan::before: a death by a signal leaves no core file.
void LeaveNoCore();

/// Compares everything.
void ExpectRun(const LaunchWorld& world, const LaunchSeen& seen, const ExpectedRun& expected);

}  // namespace kvl::test
