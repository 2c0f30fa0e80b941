// SealedWorld: a CheckWorld in which a test makes small media with lists and manifests, and
// compares the reports of kvl-media verify about them.
#pragma once

#include "tests/companion/check_world.h"

namespace kvl::test {

class SealedWorld : public CheckWorld {
 public:
  /// Makes a payload for two volumes with odd names, a program and an empty directory, and an
  /// installer and a launcher of a few bytes.
  SealedWorld();

  /// Makes a media of two volumes, or of one in the single layout.
  void Make(const std::string& layout, const Lines& further = {},
            const std::string& directory = "media");

  static bool HasMinisign() { return fs::exists("/usr/bin/minisign"); }
  /// Makes a secret key with minisign, and the public key in a file with this name and ".pub".
  void MakeKeys(const std::string& name = "key") const;

  /// Runs kvl-media verify in this process. Each argument is a MediaWorld::Text.
  Outcome Verify(const Lines& arguments) const;

  /// Runs kvl-media verify and compares its output with a report that has "<n>" for the number of
  /// bytes.
  void ExpectVerified(const Lines& arguments, int status, const std::string& report) const;

  /// Returns the path of every file of the media, relative to the world's own directory.
  Lines FilesOf(const std::string& directory = "media") const;
};

}  // namespace kvl::test
