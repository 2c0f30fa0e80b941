// Random media from a seed, many with something that makes a launch fail.
#pragma once

#include "tests/companion/check_world.h"
#include "tests/models/byte_source.h"

namespace kvl::test {

/// The exit status of an installer that starts.
inline constexpr int kInstallerStatus = 7;
/// An argument of some calls.
inline constexpr char kTmpOption[] = "TMPDIR={tmp}/of/option";

/// Copies of the programs in a place where every user can start them.
class Programs {
 public:
  Programs() {
    fs::permissions(directory_.Path(), fs::perms(0755));
    for (const char* name : {"kvl-launcher", "kvl-media", "fake_installer"}) {
      fs::copy_file(BuiltProgram(name), Path(name));
    }
  }
  std::string Path(const std::string& name) const { return directory_.Path(name); }

 private:
  TestDirectory directory_;
};

/// A random media and a random call of its launcher.
class RandomMedia {
 public:
  RandomMedia(unsigned seed, const Programs& programs);

  /// Chooses another call of the launcher.
  void MakeCall();

  CheckWorld& World() { return world_; }
  const std::string& Media() const { return media_; }
  const LaunchPlan& Plan() const { return plan_; }
  mode_t Umask() const { return umask_; }

  /// Removes what a launch has left in the temporary directories.
  void MakeTemporaryDirectoriesAnew();

 private:
  bool Percent(unsigned chance) { return source_.Chance(chance * 256 / 100); }
  void MakeVolumes();
  void MakeInstaller(const std::string& directory, bool is_there);
  void MakeDescriptions();
  void MakeExtras();
  void MakeExternal();
  void Argue(unsigned chance, const Lines& arguments);
  /// Makes start scripts, which a launcher that is started without a script ignores.
  void MakeStart();
  void MakeInstallerThatCannotRun();
  /// Makes tags so long that the system may pass no variable with them to the installer.
  void MakeLongTexts();
  /// Makes long paths in the media, or a temporary directory too deep for the staged files.
  void MakeLongPaths();
  /// Takes permissions of an entry away from ordinary users.
  void CloseSomething();
  Lines OddPlaces();

  const Programs& programs_;
  std::vector<std::uint8_t> bytes_;
  ByteSource source_{bytes_.data(), bytes_.size()};
  CheckWorld world_;
  std::string media_;
  std::string external_;
  std::string deep_;
  LaunchPlan plan_;
  mode_t umask_ = 022;
};

}  // namespace kvl::test
