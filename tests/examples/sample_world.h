// SampleWorld: a MediaWorld for media that "kvl-media make" makes of examples/sample-payload, and for
// what examples/sample-installer makes of them when the built launcher starts it through their start
// scripts.
//
// {tmp} is TMPDIR. All texts given to it are as in MediaWorld, but {staging} is of no use here, see WithoutStaging.
#pragma once

#include "tests/support/media_world.h"
#include "tests/support/messages.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"

namespace kvl::test {

/// How a media is made.
struct MediaPlan {
  std::string layout = {};  ///< empty: single or sibling
  int volumes = 0;          ///< 0: two, or one without a layout
  std::string tag = "SAMPLE-1";
  std::string directory = "media";
  std::string launcher = BuiltProgram("kvl-launcher");
};

/// How a start script is run.
struct StartPlan {
  Environment env = {};               ///< on top of TMPDIR={tmp} and PATH=/usr/bin:/bin
  std::string input = {};             ///< what the installer reads on standard input
  std::function<void()> before = {};  ///< see ProgramStart
};

/// What an installation is to have left in its target.
struct Installation {
  std::vector<std::string> volumes = {};  ///< the directories of those installed, in their order
  std::size_t of = 0;                     ///< so many there are; 0: all are installed
  std::string tag = "SAMPLE-1";
  std::string state = of > volumes.size() ? "incomplete" : "installed";
};

/// What a run is to say, besides what every installation says, and its status.
struct Told {
  int status = 0;
  std::string search = {};  ///< of the launcher, about volumes
  std::string asked = {};   ///< on standard output, behind the volumes installed
  std::string err = {};
};

/// New files in it have the modes 644 and 755, whoever runs the tests, and all programs are started
/// with the same umask.
class SampleWorld : private ScopedUmask, public MediaWorld {
 public:
  SampleWorld() : ScopedUmask(022) {}

  /// Makes a media; trouble with it is an exception.
  void Media(const MediaPlan& plan = {}) const;
  /// Makes a media with the fake installer in place of the launcher, to see what that is given.
  void MediaWithFakeLauncher(const std::string& directory = "media") const;

  /// Runs StartTUI.sh of the media whose first volume lies in that directory; the working directory
  /// is the world's own.
  Outcome Start(const std::string& first_volume, const std::vector<std::string>& arguments,
                const StartPlan& plan = {}) const;

  /// The whole tree that the target of such an installation is to hold, see DescribeTree.
  std::vector<std::string> TreeOf(const Installation& installation) const;

  /// Installs the media into {target}, and claims what that says and leaves there.
  void ExpectInstallation(const std::string& first_volume, const Told& told,
                          const Installation& left, const StartPlan& plan = {}) const;

  /// The text with each directory below {tmp} written as "<staging>".
  std::string WithoutStaging(std::string text) const;
};

/// The status and both complete streams; `expected` holds texts as in MediaWorld.
void ExpectOutcome(const SampleWorld& world, const Outcome& seen, const Outcome& expected);

/// The launcher's messages about the installer of a media whose first volume lies in that
/// directory.
std::string FindsInstallerIn(const std::string& first_volume);

/// What the installer says of an installation, its questions left out.
std::string SaysInstalled(const Installation& installation);

/// To be called before a program that is to ask for permissions even when the superuser runs the
/// tests. Where that is impossible, the program is not started and the status is kStillSuper.
void GiveUpSuperpowers();
constexpr int kStillSuper = 99;

/// The last line of a text that ends in a line feed, without it.
std::string LastLineOf(const std::string& text);

}  // namespace kvl::test
