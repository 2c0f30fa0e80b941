// Media that are made up from a seed, with all that can go wrong with a launch in some of them.
#pragma once

#include "tests/companion/check_world.h"
#include "tests/models/byte_source.h"

namespace kvl::test {

/// What an installer ends with, if it is started.
inline constexpr int kInstallerStatus = 7;
/// An argument in some of the calls.
inline constexpr char kTmpOption[] = "TMPDIR={tmp}/of/option";

/// Programs where every user can start them.
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

/// A media, and how its launcher is started.
class RandomMedia {
 public:
  RandomMedia(unsigned seed, const Programs& programs);

  /// Starts its launcher in another way from now on.
  void MakeCall();

  CheckWorld& World() { return world_; }
  const std::string& Media() const { return media_; }
  const LaunchPlan& Plan() const { return plan_; }
  mode_t Umask() const { return umask_; }

  /// Whatever a launch has left there.
  void MakeTemporaryDirectoriesAnew();

 private:
  bool Percent(unsigned chance) { return source_.Chance(chance * 256 / 100); }
  void MakeVolumes();
  void MakeInstaller(const std::string& directory, bool is_there);
  void MakeDescriptions();
  void MakeExtras();
  void MakeExternal();
  void Argue(unsigned chance, const Lines& arguments);
  /// What the launcher itself, which is started without a script, does not care about.
  void MakeStart();
  void MakeInstallerThatCannotRun();
  /// The system hands no variable to the installer that is as long.
  void MakeLongTexts();
  /// In the media, or in a temporary directory: one that the staged files are too deep for.
  void MakeLongPaths();
  /// To an ordinary user.
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
