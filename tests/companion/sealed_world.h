// SealedWorld: a small media with its lists and manifest, made anew for each layout, and what verify
// says of it.
#pragma once

#include "tests/companion/check_world.h"

namespace kvl::test {

class SealedWorld : public CheckWorld {
 public:
  /// A payload of two volumes with odd names, a program and an empty directory; an installer and a
  /// launcher of a few bytes.
  SealedWorld();

  /// Makes a media of two volumes in "media", in the layout single of one.
  void Make(const std::string& layout, const Lines& further = {},
            const std::string& directory = "media");

  /// Makes keys "key" and "key.pub". Without minisign the test is to be skipped.
  static bool HasMinisign() { return fs::exists("/usr/bin/minisign"); }
  void MakeKeys(const std::string& name = "key") const;

  /// Runs it in this process; "{x}" is a path of the world.
  Outcome Verify(const Lines& arguments) const;

  /// Compares what verify says with a report, in which "<n>" stands for the number of bytes.
  void ExpectVerified(const Lines& arguments, int status, const std::string& report) const;

  /// Every file of the media, by its path below the world.
  Lines FilesOf(const std::string& directory = "media") const;
};

}  // namespace kvl::test
