// LaunchWorld: a MediaWorld for whole runs of the program, and what such a run is to look like.
#pragma once

#include "tests/launcher/expected_environment.h"
#include "tests/support/media_world.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"

namespace kvl::test {

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
};

/// New files in it have the modes 644 and 755, whoever runs the tests, and the launcher is started
/// with the same umask.
class LaunchWorld : private ScopedUmask, public MediaWorld {
 public:
  LaunchWorld() : ScopedUmask(022) {}

  /// A media in "1" with an installer and no further volume: the installer runs in place.
  LaunchWorld& OneVolume();
  /// A media in "1" with an installer, the first of three volumes of the set SET-A. The second is
  /// in "2", the third is missing: the installer is staged.
  LaunchWorld& VolumeMissing();

  /// Removes what earlier launches left in {tmp}.
  void EmptyTmp() const;

  /// Launches the media in that directory, and claims that the run changed nothing but {tmp}.
  LaunchSeen Run(const LaunchPlan& plan = {}, const std::string& media = "1");
};

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

/// The messages of a media whose installer is found.
std::string SaysFoundIn(const std::string& media);
/// The messages of a media without an installer.
std::string SaysNoneIn(const std::string& media);
/// The messages of a media in {1} of three volumes that finds the second in {2}.
extern const char kTwoOfThree[];
/// The messages before a staged installer starts.
extern const char kStagedWarning[];
/// The messages of a staging that failed; `staging_slash` ends in "/". The reason ends in a line feed
/// of its own, so the second message ends in a line of seven blanks.
std::string SaysStagingFailed(const std::string& staging_slash, const std::string& reason);
/// The messages for an installer that no process could be made for, by its command.
std::string SaysCannotCreate(const std::string& command);
/// The message for an installer that cannot be run, by its command.
std::string SaysCannotWait(const std::string& command);
/// The text of "remove.bat"; `staging_slash` ends in "/".
std::string CleanUpScriptIn(const std::string& staging_slash);

/// The text with every upper-case identifier of a staging directory written as "<id>".
std::string WithoutIdentifiers(const std::string& text);

/// The tree as LaunchSeen::staged is to have it; `os` is the operating-system directory.
std::vector<std::string> LinesOf(const StagedTree& tree, const MediaWorld& world,
                                 const std::string& os);

/// Compares everything.
void ExpectRun(const LaunchWorld& world, const LaunchSeen& seen, const ExpectedRun& expected);

}  // namespace kvl::test
