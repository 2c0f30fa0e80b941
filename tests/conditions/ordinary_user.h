// Launches by an ordinary user, whoever runs the tests.
#pragma once

#include "tests/launcher/launch_world.h"
#include "tests/support/test.h"

namespace kvl::test {

/// Gives the world's own directory and {tmp} to the user that EnterAsOrdinaryUser turns into. Why
/// that user cannot launch anything there all the same; empty when it can.
std::string WhyNoOrdinaryUser(const LaunchWorld& world);

/// For LaunchPlan::before: from here on the launcher is that user's, and the world's own directory
/// is its working directory.
void BecomeOrdinaryUser(const LaunchWorld& world);

}  // namespace kvl::test
