// The environment that an installer should get, computed step by step from the launcher's
// environment, without any code of the product.
#pragma once

#include "tests/support/media_world.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test.h"

namespace kvl::test {

/// The input of the computation. All texts as in MediaWorld.
struct Prepared {
  std::string media = "{1}";  ///< the staging directory when staged
  std::string external = {};  ///< "inst" of an external installer media, ending in "/"
  std::string os = "linux";   ///< the operating-system directory
  std::string original = {};  ///< the media before staging; empty when run in place
  Environment options = {};   ///< set by "-env"
  Environment found = {};     ///< set, and not to the empty text, by the scan of the media
  bool software_management = false;
};

/// Returns `env` after the setup of the installer's environment alone.
Environment AfterSetup(Environment env, const Prepared& from);

/// Returns the installer's whole environment.
Environment InstallerEnvironment(const MediaWorld& world, const Environment& given, Prepared from);

}  // namespace kvl::test
