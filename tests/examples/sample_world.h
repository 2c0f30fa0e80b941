// SampleWorld: a MediaWorld with media that "kvl-media make" writes from examples/sample-payload.
// Their start scripts start the built launcher, and that starts examples/sample-installer.
//
// {tmp} is TMPDIR. All texts are as in MediaWorld, but without {staging}.
#pragma once

#include "tests/support/media_world.h"
#include "tests/support/messages.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

/// How a test makes a media.
struct MediaPlan {
  std::string layout = {};  ///< empty: single or sibling
  int volumes = layout.empty() ? 1 : 2;
  std::string tag = "SAMPLE-1";
  std::string directory = "media";
  std::string launcher = BuiltProgram("kvl-launcher");
};

/// How a test runs a start script.
struct StartPlan {
  Environment env = {};               ///< on top of TMPDIR={tmp} and PATH=/usr/bin:/bin
  std::string input = {};             ///< the installer's standard input
  std::function<void()> before = {};  ///< see ProgramStart
};

/// The expected contents of the target.
struct Installation {
  std::vector<std::string> volumes = {};  ///< directories of the installed volumes, in order
  std::size_t of = 0;                     ///< number of volumes; 0: all are installed
  std::string tag = "SAMPLE-1";
  std::string state = of > volumes.size() ? "incomplete" : "installed";
};

/// The expected status and messages of a run, besides the messages of every installation.
struct Told {
  int status = 0;
  std::string search = {};  ///< the launcher's messages about volumes
  std::string asked = {};   ///< on standard output, behind the lines about installed volumes
  std::string err = {};
};

class SampleWorld : public MediaWorld {
 public:
  /// Makes a media. Throws std::runtime_error if that fails.
  void Media(const MediaPlan& plan = {}) const;

  void Remove(const std::string& name) const { fs::remove_all(Path(name)); }

  /// Runs StartTUI.sh of the media whose volume 1 lies in that directory. The working directory is
  /// the world's own.
  Outcome Start(const std::string& first_volume, const std::vector<std::string>& arguments,
                const StartPlan& plan = {}) const;
  /// Does the same, and compares the status and both streams. Adds the launcher's messages about
  /// the installer to the expected ones.
  void Expect(const std::string& first_volume, const std::vector<std::string>& arguments,
              const Outcome& expected, const StartPlan& plan = {}) const;
  /// Does the same, but compares only the status and the last line of standard error.
  void ExpectFailure(const std::string& first_volume, const std::vector<std::string>& arguments,
                     int status, const std::string& last_line, const StartPlan& plan = {}) const;
  void ExpectOutcome(const Outcome& seen, const Outcome& expected) const;

  /// Returns the whole expected tree of the target, see DescribeTree.
  std::vector<std::string> TreeOf(const Installation& installation) const;

  /// Installs the media into {target}, and compares the messages and the contents of {target}.
  void ExpectInstallation(const std::string& first_volume, const Told& told,
                          const Installation& left, const StartPlan& plan = {}) const;
};

/// Returns the launcher's messages about the installer of a media whose volume 1 lies in that
/// directory.
std::string FindsInstallerIn(const std::string& first_volume);

/// Returns the installer's messages about an installation, without its questions.
std::string SaysInstalled(const Installation& installation);

/// The installer's last message if it cannot write into the target, without the target.
constexpr char kCannotWriteInto[] = "cannot write into the target directory: ";

}  // namespace kvl::test
