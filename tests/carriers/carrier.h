// What a media is put on, and read from: images, read-only mounts, read-only files.
#pragma once

#include "tests/carriers/carrier_world.h"
#include "tests/support/test.h"

namespace kvl::test {

struct Carrier {
  std::string name;
  /// Programs that it takes, by their names.
  std::vector<std::string> tools = {};
  /// Puts {set} on it.
  std::function<void(const CarrierWorld&)> make = {};
  /// Mounts it on {carrier}, within RunWithOwnMounts. Throws where that is impossible.
  std::function<void(const CarrierWorld&)> mount = {};
  /// Makes {carrier} without a mount.
  std::function<void(const CarrierWorld&)> unpack = {};
};

/// ISO 9660 with Rock Ridge, as for a disc: owner root, nothing may be written.
Carrier IsoImage();
Carrier SquashfsImage();
/// A read-only view of a directory.
Carrier ReadOnlyMount();
/// Directories of mode 555, files of mode 444, programs of mode 555.
Carrier ReadOnlyModes();

/// For the messages of the tests' framework.
void PrintTo(const Carrier& carrier, std::ostream* stream);

/// The first tool that is missing, as a reason to skip a test; empty when all are there.
std::string WhyNoTools(const std::vector<std::string>& tools);
/// Why it cannot be mounted here: the system's own words for an attempt. Empty when it can.
std::string WhyNoMountOf(const Carrier& carrier, const CarrierWorld& world);

/// Puts {set} on the carrier: an image is in {images} then.
void PutOn(const Carrier& carrier, const CarrierWorld& world);

/// Does so, and calls `action` while it can be read in {carrier}: mounted where that is possible, else
/// unpacked. The test's property "carrier" tells which.
void WithCarrier(const Carrier& carrier, const CarrierWorld& world,
                 const std::function<void()>& action);

/// A tree as DescribeTree gives it, without the modes.
std::vector<std::string> TreeWithoutModes(const std::string& directory);

}  // namespace kvl::test
