// MediaWorld: installation media made for a test, described volume by volume, and what the whole
// launcher makes of them.
//
//   MediaWorld world;
//   world.Volume("1").Announces("3").Marker(1, "SET-A");
//   world.Volume("2").Marker(2, "SET-A");
//   const LaunchSeen seen = world.Launch("1");
//
// The same in one text, and the first two volumes of a media in AM volumes:
//
//   world.Make("1: volumes=3 1=SET-A; 2: 2=SET-A");
//   world.Make("am/4/sets/1: volumes=2 1=S; am/4: 4=A; am/5: 5=A; am/5/sets/2: 2=S");
//
// In every text given to it, and in Text(), "{}" stands for the world's own directory, "{x}" for
// the path of x in it, "{staging}" for the staging directory of the last launch (without "/" at the
// end).
#pragma once

#include "tests/support/child_report.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

class MediaWorld;

/// One volume, or any directory of the world, being described.
class VolumeBuilder {
 public:
  /// "inst/volumes.txt" with this first line.
  VolumeBuilder& Announces(const std::string& line);
  /// The marker of a volume: "<number>.txt" with the line "MTBDIR=<tag>".
  VolumeBuilder& Marker(int number, const std::string& tag);
  /// The fake installer, as inst/<os>/code/bin/<name>, a file in the operating-system directory and
  /// one in inst/common.
  VolumeBuilder& Installer(const std::string& os = "linux", const std::string& name = "installer");
  /// The description files and start scripts beside "inst".
  VolumeBuilder& Descriptions();
  VolumeBuilder& File(const std::string& name, const std::string& contents);
  VolumeBuilder& Dir(const std::string& name);
  VolumeBuilder& Link(const std::string& name, const std::string& target);

 private:
  friend class MediaWorld;
  VolumeBuilder(MediaWorld& world, std::string name) : world_(world), name_(std::move(name)) {}
  std::string Inside(const std::string& name) const;

  MediaWorld& world_;
  std::string name_;
};

/// How the launcher is started in a world.
struct LaunchPlan {
  std::vector<std::string> arguments = {};
  /// What is started in place of the built launcher, with the arguments behind it: a start script.
  std::vector<std::string> command = {};
  /// On top of, or instead of, the usual ones: CurrentMediaDir={<media>}, KVL_OS=linux,
  /// KVL_Installer_EXE=installer, TMPDIR={tmp}, PATH=/usr/bin:/bin, FAKE_REPORT={report}.
  Environment env = {};
  std::vector<std::string> without = {};  ///< usual variables that are not set
  std::function<void()> before = {};      ///< see ProgramStart
  std::string directory = {};             ///< see ProgramStart
};

struct LaunchSeen {
  int status = 0;
  std::string out;
  std::string err;
  ChildReport child;
  Environment given;  ///< the environment that the launcher was started with
  /// What lies below the directory of TMPDIR, or below {tmp} when that is none, see DescribeTree;
  /// the staging directory's own name is written as "{staging}".
  std::vector<std::string> staged;
};

class MediaWorld {
 public:
  MediaWorld();

  /// Makes directories, apart by "; ": "m/1: volumes=3 1=SET-A; m/2: 2=SET-A; m/empty:". Each begins
  /// with its name; behind it "volumes=3" announces volumes, and "1=SET-A" is the marker of volume 1.
  void Make(const std::string& directories);

  /// A directory of the world, made when missing; "." is the world's own.
  VolumeBuilder Volume(const std::string& name);

  const TestDirectory& Directory() const { return directory_; }
  std::string Path(const std::string& name) const;
  std::vector<std::string> Paths(const std::vector<std::string>& names) const;
  std::string Text(std::string text) const;
  Environment Text(Environment variables) const;

  /// Runs the built launcher on the media in that directory.
  LaunchSeen Launch(const std::string& name, const LaunchPlan& plan = {});

 private:
  /// New files in it have the modes 644 and 755, whoever runs the tests; programs start with it too.
  const ScopedUmask umask_{022};
  TestDirectory directory_;
  std::string staging_;
};

}  // namespace kvl::test
