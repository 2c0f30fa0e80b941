// CheckWorld: a MediaWorld for kvl-media.
#pragma once

#include "tests/support/media_world.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"

namespace kvl::test {

/// New files in it have the modes 644 and 755, whoever runs the tests, and all programs are started
/// with the same umask.
class CheckWorld : private ScopedUmask, public MediaWorld {
 public:
  CheckWorld() : ScopedUmask(022) {}

  /// A volume with an installer, description files and start scripts that can be executed, but start
  /// no launcher.
  VolumeBuilder FirstVolume(const std::string& name);
  /// A media in "1" with an installer, and the second of its two volumes in "2".
  CheckWorld& TwoVolumes();
  /// The same without the second volume.
  CheckWorld& VolumeMissing();

  /// Runs kvl-media with these arguments and exactly this environment. Texts as in MediaWorld.
  Outcome Companion(const std::vector<std::string>& arguments, const Environment& env = {},
                    const std::function<void()>& before = {}) const;

  /// Checks the media in {1} as a launcher would be started by MediaWorld::Launch.
  Outcome Check(const std::vector<std::string>& further = {}, const Environment& env = {},
                const std::function<void()>& before = {}) const;
};

/// What lies before the findings: of TwoVolumes, and of VolumeMissing.
extern const char kTwoVolumes[];
extern const char kVolumeMissing[];

/// The numbers of bytes, which depend on the machine, written as "<n>".
std::string WithoutBytes(const std::string& text);
/// The number of free bytes in a report for programs, which depends on the machine, written as 0.
std::string WithoutFreeBytes(const std::string& json);

}  // namespace kvl::test
