// A whole round of kvl-media: what it and the launcher make of a payload, from "make" to "clean".
#pragma once

#include "tests/companion/sealed_world.h"

namespace kvl::test {

/// What surrounds the programs.
struct Surroundings {
  std::function<void()> before = {};  ///< see ProgramStart
  Environment env = {};               ///< further variables
  /// What "clean" says there, and its status, when that is not the usual.
  std::string cleaning = {};
};

class RoundWorld : public SealedWorld {
 public:
  RoundWorld();

  /// Makes a media of two volumes with several threads, signs it where minisign is there, checks and
  /// verifies it, and starts it by its script, in place, and then by a link, staged, without its
  /// second volume.
  /// Everything that was said, how it ended, and what lay there, one step after the other.
  std::string Round(const Surroundings& surroundings = {});

  /// Compares a round, and then the cleaning up, with those in usual surroundings.
  void ExpectTheUsualRound(const Surroundings& surroundings);

 private:
  std::string CleanUp(const Surroundings& surroundings = {}) const;
  Environment EnvIn(const Surroundings& surroundings) const;

  std::string usual_, usual_cleaning_;
};

}  // namespace kvl::test
