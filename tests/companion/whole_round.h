// A whole round of kvl-media: what it and the launcher make of a payload, from "make" to "clean".
#pragma once

#include "tests/companion/sealed_world.h"

namespace kvl::test {

/// What surrounds the programs.
struct Surroundings {
  std::function<void()> before = {};  ///< see ProgramStart
  Environment env = {};               ///< further variables
};

class RoundWorld : public SealedWorld {
 public:
  RoundWorld();

  /// Makes a media of two volumes with several threads, signs it where minisign is there, checks and
  /// verifies it, starts it by its script, in place and then staged, without its second volume, and
  /// cleans up. Everything that was said, how it ended, and what lay there, one step after the other.
  std::string Round(const Surroundings& surroundings = {});

  /// Compares a round with one in usual surroundings.
  void ExpectTheUsualRound(const Surroundings& surroundings);

 private:
  std::string usual_;
};

}  // namespace kvl::test
