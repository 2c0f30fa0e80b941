// SampleWorld: a MediaWorld for media that "kvl-media make" makes of examples/sample-payload, and for
// what examples/sample-installer makes of them when the built launcher starts it through their start
// scripts.
//
// {tmp} is TMPDIR. All texts given to it are as in MediaWorld, but {staging} is of no use here.
#pragma once

#include "tests/support/media_world.h"
#include "tests/support/messages.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

/// How a media is made.
struct MediaPlan {
  std::string layout = {};  ///< empty: single or sibling
  int volumes = layout.empty() ? 1 : 2;
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

class SampleWorld : public MediaWorld {
 public:
  /// Makes a media; trouble with it is an exception.
  void Media(const MediaPlan& plan = {}) const;

  void Remove(const std::string& name) const { fs::remove_all(Path(name)); }

  /// Runs StartTUI.sh of the media whose first volume lies in that directory; the working directory
  /// is the world's own.
  Outcome Start(const std::string& first_volume, const std::vector<std::string>& arguments,
                const StartPlan& plan = {}) const;
  /// The same, and claims the status and both complete streams; that the launcher finds its installer
  /// goes without saying.
  void Expect(const std::string& first_volume, const std::vector<std::string>& arguments,
              const Outcome& expected, const StartPlan& plan = {}) const;
  /// The same, but of the streams only what the last line of standard error says.
  void ExpectFailure(const std::string& first_volume, const std::vector<std::string>& arguments,
                     int status, const std::string& last_line, const StartPlan& plan = {}) const;
  void ExpectOutcome(const Outcome& seen, const Outcome& expected) const;

  /// The whole tree that the target of such an installation is to hold, see DescribeTree.
  std::vector<std::string> TreeOf(const Installation& installation) const;

  /// Installs the media into {target}, and claims what that says and leaves there.
  void ExpectInstallation(const std::string& first_volume, const Told& told,
                          const Installation& left, const StartPlan& plan = {}) const;
};

/// The launcher's messages about the installer of a media whose first volume lies in that
/// directory.
std::string FindsInstallerIn(const std::string& first_volume);

/// What the installer says of an installation, its questions left out.
std::string SaysInstalled(const Installation& installation);

/// The last line of what the installer says of a target where it cannot write, but for the target.
constexpr char kCannotWriteInto[] = "cannot write into the target directory: ";

}  // namespace kvl::test
