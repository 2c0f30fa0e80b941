#include "tests/carriers/carrier.h"

#include "tests/conditions/own_mounts.h"

namespace kvl::test {

Carrier IsoImage() {
  const std::string xorriso = "/usr/bin/xorriso";
  return {.name = "IsoImage",
          .make = {xorriso, "-as", "mkisofs", "-quiet", "--stdio_sync", "off", "-r", "-V", "SET_A",
                   "-o", "stdio:{images/set}", "{set}"},
          .mount = {"/bin/mount", "-t", "iso9660", "-o", "loop,ro", "{images/set}", "{carrier}"},
          .unpack = {xorriso, "-osirrox", "on", "-indev", "stdio:{images/set}", "-extract", "/",
                     "{carrier}"}};
}

Carrier SquashfsImage() {
  // The test does not need compression.
  return {.name = "SquashfsImage",
          .make = {"/usr/bin/mksquashfs", "{set}", "{images/set}", "-quiet", "-no-progress", "-noI",
                   "-noD", "-noF", "-noX"},
          .mount = {"/bin/mount", "-t", "squashfs", "-o", "loop,ro", "{images/set}", "{carrier}"},
          .unpack = {"/usr/bin/unsquashfs", "-quiet", "-no-progress", "-dest", "{carrier}",
                     "{images/set}"}};
}

Carrier ReadOnlyMount() {
  return {.name = "ReadOnlyMount", .mount = {"/bin/mount", "-o", "bind,ro", "{set}", "{carrier}"}};
}

Carrier ReadOnlyModes() {
  return {.name = "ReadOnlyModes",
          .make = {"/bin/chmod", "-R", "a=rX", "{set}"},
          .unpack = {"/bin/mv", "{set}", "{carrier}"}};
}

std::string WhyNoTools(const Carrier& carrier) {
  for (const auto& command : {carrier.make, carrier.mount, carrier.unpack}) {
    if (!command.empty() && !fs::exists(command[0])) return command[0] + " is not installed";
  }
  return {};
}

std::string WhyNoMountOf(const Carrier& carrier, const CarrierWorld& world) {
  if (carrier.mount.empty()) return "this carrier has no mount";
  if (std::string why = WhyNoOwnMounts(); !why.empty()) return why;
  try {
    RunWithOwnMounts([&] { world.RunTool(carrier.mount); });
  } catch (const std::exception& failure) {
    return failure.what();
  }
  return {};
}

void PutOn(const Carrier& carrier, const CarrierWorld& world) {
  for (const char* name : {"carrier", "images"}) world.Directory().MakeDir(name);
  if (!carrier.make.empty()) world.RunTool(carrier.make);
}

void WithCarrier(const Carrier& carrier, const CarrierWorld& world,
                 const std::function<void()>& action) {
  PutOn(carrier, world);
  const std::string why_not = WhyNoMountOf(carrier, world);
  testing::Test::RecordProperty("carrier", why_not.empty() ? "mounted" : "unpacked: " + why_not);
  if (why_not.empty()) {
    RunWithOwnMounts([&] {
      world.RunTool(carrier.mount);
      action();
    });
  } else {
    fs::remove(world.Path("carrier"));  // some tools require that it is missing
    world.RunTool(carrier.unpack);
    action();
  }
}

}  // namespace kvl::test
