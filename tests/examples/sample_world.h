// SampleWorld: a MediaWorld for media that "kvl-media make" makes of examples/sample-payload, and for
// what examples/sample-installer makes of them when the built launcher starts it through their start
// scripts.
//
// {tmp} is TMPDIR. All texts given to it are as
// in MediaWorld, but {staging} is of no use here, see WithoutStaging.
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
  /// The directories of the volumes installed, in their order.
  std::vector<std::string> volumes = {};
  std::string media = "SAMPLE-1, 2 volume(s)";
  std::string state = "installed";
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

  /// The text with each directory below {tmp} written as "<staging>".
  std::string WithoutStaging(std::string text) const;
};

/// The status and both complete streams; `expected` holds texts as in MediaWorld.
void ExpectOutcome(const SampleWorld& world, const Outcome& seen, const Outcome& expected);

/// The launcher's messages about the installer of a media whose first volume lies in that
/// directory.
std::string FindsInstallerIn(const std::string& first_volume);

/// To be called before a program that is to ask for permissions even when the superuser runs the
/// tests. Where that is impossible, the program is not started and the status is kStillSuper.
void GiveUpSuperpowers();
constexpr int kStillSuper = 99;

/// The last line of a text that ends in a line feed, without it.
std::string LastLineOf(const std::string& text);

}  // namespace kvl::test
