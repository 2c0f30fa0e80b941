// MediaWorld: installation media for a test, described volume by volume, and runs of the whole
// launcher on them.
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
// In every text for it, and in Text(), "{}" stands for the world's own directory, "{x}" for the
// path of x in it, and "{staging}" for the staging directory of the last launch, without "/" at its
// end.
#pragma once

#include "tests/support/child_report.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

class MediaWorld;

/// Describes one volume, or any directory of the world.
class VolumeBuilder {
 public:
  /// Writes "inst/volumes.txt" with this first line.
  VolumeBuilder& Announces(const std::string& line);
  /// Writes the marker of a volume: "<number>.txt" with the line "MTBDIR=<tag>".
  VolumeBuilder& Marker(int number, const std::string& tag);
  /// Adds the fake installer as inst/<os>/code/bin/<name>, a file in the operating-system
  /// directory, and one in inst/common.
  VolumeBuilder& Installer(const std::string& os = "linux", const std::string& name = "installer");
  /// Adds the description files and start scripts beside "inst".
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

/// How a test starts the launcher in a world.
struct LaunchPlan {
  std::vector<std::string> arguments = {};
  /// The program to start instead of the built launcher, with its arguments: a start script.
  std::vector<std::string> command = {};
  /// Further or changed variables. The usual ones are CurrentMediaDir={<media>}, KVL_OS=linux,
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
  /// The tree below the directory of TMPDIR, or below {tmp} if that is no directory; see
  /// DescribeTree. "{staging}" stands for the staging directory's own name.
  std::vector<std::string> staged;
};

class MediaWorld {
 public:
  MediaWorld();

  /// Makes directories, separated by "; ": "m/1: volumes=3 1=SET-A; m/2: 2=SET-A; m/empty:". Each
  /// begins with its name; then "volumes=3" announces volumes, and "1=SET-A" is the marker of
  /// volume 1.
  void Make(const std::string& directories);

  /// Returns a directory of the world, made if missing; "." is the world's own.
  VolumeBuilder Volume(const std::string& name);

  const TestDirectory& Directory() const { return directory_; }
  std::string Path(const std::string& name) const;
  std::vector<std::string> Paths(const std::vector<std::string>& names) const;
  std::string Text(std::string text) const;
  Environment Text(Environment variables) const;

  /// Runs the built launcher on the media in that directory.
  LaunchSeen Launch(const std::string& name, const LaunchPlan& plan = {});

 private:
  /// Gives new files the modes 644 and 755, whoever runs the tests; programs also start with this
  /// umask.
  const ScopedUmask umask_{022};
  TestDirectory directory_;
  std::string staging_;
};

}  // namespace kvl::test
