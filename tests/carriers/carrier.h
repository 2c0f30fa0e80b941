// Carriers that a test puts a media on and starts it from: images, read-only mounts and files.
#pragma once

#include "tests/carriers/carrier_world.h"
#include "tests/support/test.h"

namespace kvl::test {

struct Carrier {
  std::string name;
  // Commands for CarrierWorld::RunTool.
  std::vector<std::string> make = {};    ///< prepares {set} or {images/set}; may be empty
  std::vector<std::string> mount = {};   ///< mounts it on {carrier}; may be empty
  std::vector<std::string> unpack = {};  ///< makes {carrier} without a mount; may be empty

  friend void PrintTo(const Carrier& carrier, std::ostream* stream) { *stream << carrier.name; }
};

/// An image of ISO 9660 with Rock Ridge, as for a disc: root owns all files, and none is writable.
Carrier IsoImage();
Carrier SquashfsImage();
/// A read-only view of a directory.
Carrier ReadOnlyMount();
/// Directories of mode 555, files of mode 444, programs of mode 555.
Carrier ReadOnlyModes();

/// Returns which program of the commands is missing, as a reason to skip a test, or an empty text.
std::string WhyNoTools(const Carrier& carrier);
/// Tries to mount the carrier. Returns why that fails, or an empty text.
std::string WhyNoMountOf(const Carrier& carrier, const CarrierWorld& world);

/// Puts the media in {set} on the carrier.
void PutOn(const Carrier& carrier, const CarrierWorld& world);

/// Puts the media in {set} on the carrier, and calls `action` while {carrier} shows it. Mounts the
/// carrier, or unpacks it if it cannot be mounted; the test's property "carrier" says which.
void WithCarrier(const Carrier& carrier, const CarrierWorld& world,
                 const std::function<void()>& action);

}  // namespace kvl::test
