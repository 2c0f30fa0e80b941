#include "tests/conditions/ordinary_user.h"

#include "tests/insio/surroundings.h"
#include "tests/support/test.h"

namespace kvl::test {

std::string WhyNoOrdinaryUser(const LaunchWorld& world) {
  try {
    for (const char* directory : {".", "tmp"}) GiveToOrdinaryUser(world.Path(directory));
  } catch (const std::exception& failure) {
    return failure.what();
  }
  const std::string program = BuiltProgram("kvl-launcher"), tmp = world.Path("tmp");
  const Outcome outcome = RunIsolated([&] {
    BecomeOrdinaryUser(world);
    if (::access(program.c_str(), X_OK) != 0) return 1;
    return ::access(tmp.c_str(), W_OK) == 0 ? 0 : 2;
  });
  if (outcome.status == 0) return {};
  return "an ordinary user cannot " + (outcome.status == 1   ? "reach " + program
                                       : outcome.status == 2 ? "reach " + tmp
                                                             : std::string("be had here"));
}

void BecomeOrdinaryUser(const LaunchWorld& world) {
  EnterAsOrdinaryUser(world.Directory());
}

}  // namespace kvl::test
