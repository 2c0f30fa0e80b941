// What a media is put on, and read from: images, read-only mounts, read-only files.
#pragma once

#include "tests/carriers/carrier_world.h"
#include "tests/support/test.h"

namespace kvl::test {

struct Carrier {
  std::string name;
  // Commands for CarrierWorld::RunTool.
  std::vector<std::string> make = {};    ///< puts {set} on it, into {images/set}; may be empty
  std::vector<std::string> mount = {};   ///< mounts it on {carrier}; empty where there is no mount
  std::vector<std::string> unpack = {};  ///< makes {carrier} without a mount; may be empty

  friend void PrintTo(const Carrier& carrier, std::ostream* stream) { *stream << carrier.name; }
};

/// ISO 9660 with Rock Ridge, as for a disc: owner root, nothing may be written.
Carrier IsoImage();
Carrier SquashfsImage();
/// A read-only view of a directory.
Carrier ReadOnlyMount();
/// Directories of mode 555, files of mode 444, programs of mode 555.
Carrier ReadOnlyModes();

/// The first program of its commands that is missing, as a reason to skip a test; empty when all
/// are there.
std::string WhyNoTools(const Carrier& carrier);
/// Why it cannot be mounted here: the system's own words for an attempt. Empty when it can.
std::string WhyNoMountOf(const Carrier& carrier, const CarrierWorld& world);

/// Puts {set} on the carrier.
void PutOn(const Carrier& carrier, const CarrierWorld& world);

/// Does so, and calls `action` while it can be read in {carrier}: mounted where that is possible,
/// else unpacked. The test's property "carrier" tells which.
void WithCarrier(const Carrier& carrier, const CarrierWorld& world,
                 const std::function<void()>& action);

}  // namespace kvl::test
