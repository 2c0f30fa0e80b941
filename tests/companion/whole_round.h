// A whole round of kvl-media and the launcher with one payload, from "make" to "clean".
#pragma once

#include "tests/companion/sealed_world.h"

namespace kvl::test {

/// The surroundings of the programs.
struct Surroundings {
  std::function<void()> before = {};  ///< see ProgramStart
  Environment env = {};               ///< further variables
  /// The output and status of "clean"; empty for the usual ones.
  std::string cleaning = {};
};

class RoundWorld : public SealedWorld {
 public:
  RoundWorld();

  /// Makes a media of two volumes with several threads, signs it if minisign is installed, checks
  /// and verifies it, starts it in place by its script, and then staged by a link without its
  /// second volume. Returns the output and status of each step, and the tree of the media.
  std::string Round(const Surroundings& surroundings = {});

  /// Compares a round, and then the cleaning up, with those in the usual surroundings.
  void ExpectTheUsualRound(const Surroundings& surroundings);

 private:
  std::string CleanUp(const Surroundings& surroundings = {}) const;
  Environment EnvIn(const Surroundings& surroundings) const;

  std::string usual_, usual_cleaning_;
};

}  // namespace kvl::test
