#include "tests/carriers/carrier.h"

#include "tests/conditions/own_mounts.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr char kImage[] = "{images/set}";
constexpr char kSet[] = "{set}";
constexpr char kInserted[] = "{carrier}";

void MountImage(const CarrierWorld& world, const std::string& type) {
  world.RunTool({"/bin/mount", "-t", type, "-o", "loop,ro", kImage, kInserted});
}

void MountReadOnly(const CarrierWorld& world) {
  const std::string set = world.Path("set"), inserted = world.Path("carrier");
  if (::mount(set.c_str(), inserted.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
      ::mount("none", inserted.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0) {
    throw std::runtime_error(std::string("a read-only bind mount: ") + std::strerror(errno));
  }
}

/// The directory that a mount would have covered is in the way of some tools.
void RemovePlace(const CarrierWorld& world) {
  fs::remove(world.Path("carrier"));
}

bool IsThere(const std::string& tool) {
  return fs::exists("/usr/bin/" + tool) || fs::exists("/bin/" + tool);
}

}  // namespace

Carrier IsoImage() {
  Carrier iso = {.name = "IsoImage", .tools = {"xorriso"}};
  iso.make = [](const CarrierWorld& world) {
    world.RunTool({"/usr/bin/xorriso", "-as", "mkisofs", "-quiet", "--stdio_sync", "off", "-r",
                   "-V", "SET_A", "-o", kImage, kSet});
  };
  iso.mount = [](const CarrierWorld& world) { MountImage(world, "iso9660"); };
  iso.unpack = [](const CarrierWorld& world) {
    RemovePlace(world);
    world.RunTool(
        {"/usr/bin/xorriso", "-osirrox", "on", "-indev", kImage, "-extract", "/", kInserted});
  };
  return iso;
}

Carrier SquashfsImage() {
  Carrier squashfs = {.name = "SquashfsImage", .tools = {"mksquashfs", "unsquashfs"}};
  squashfs.make = [](const CarrierWorld& world) {
    // It is not the compression that is tested.
    world.RunTool({"/usr/bin/mksquashfs", kSet, kImage, "-quiet", "-no-progress", "-noI", "-noD",
                   "-noF", "-noX"});
  };
  squashfs.mount = [](const CarrierWorld& world) { MountImage(world, "squashfs"); };
  squashfs.unpack = [](const CarrierWorld& world) {
    RemovePlace(world);
    world.RunTool({"/usr/bin/unsquashfs", "-quiet", "-no-progress", "-dest", kInserted, kImage});
  };
  return squashfs;
}

Carrier ReadOnlyMount() {
  return {.name = "ReadOnlyMount", .make = [](const CarrierWorld&) {}, .mount = MountReadOnly};
}

Carrier ReadOnlyModes() {
  Carrier modes = {.name = "ReadOnlyModes"};
  modes.make = [](const CarrierWorld& world) { world.RunTool({"/bin/chmod", "-R", "a=rX", kSet}); };
  modes.unpack = [](const CarrierWorld& world) {
    RemovePlace(world);
    fs::rename(world.Path("set"), world.Path("carrier"));
  };
  return modes;
}

void PrintTo(const Carrier& carrier, std::ostream* stream) {
  *stream << carrier.name;
}

std::string WhyNoTools(const std::vector<std::string>& tools) {
  const auto missing = std::find_if_not(tools.begin(), tools.end(), IsThere);
  return missing == tools.end() ? std::string() : *missing + " is not installed";
}

std::string WhyNoMountOf(const Carrier& carrier, const CarrierWorld& world) {
  if (!carrier.mount) return "it is not mounted";
  if (std::string why = WhyNoOwnMounts(); !why.empty()) return why;
  try {
    RunWithOwnMounts([&] { carrier.mount(world); });
  } catch (const std::exception& failure) {
    return failure.what();
  }
  return {};
}

void PutOn(const Carrier& carrier, const CarrierWorld& world) {
  for (const char* name : {"carrier", "images"}) world.Directory().MakeDir(name);
  carrier.make(world);
}

void WithCarrier(const Carrier& carrier, const CarrierWorld& world,
                 const std::function<void()>& action) {
  PutOn(carrier, world);
  const std::string why_not = WhyNoMountOf(carrier, world);
  testing::Test::RecordProperty("carrier", why_not.empty() ? "mounted" : "unpacked: " + why_not);
  if (why_not.empty()) {
    RunWithOwnMounts([&] {
      carrier.mount(world);
      action();
    });
  } else {
    carrier.unpack(world);
    action();
  }
}

std::vector<std::string> TreeWithoutModes(const std::string& directory) {
  std::vector<std::string> lines = DescribeTree(directory);
  for (std::string& line : lines) {
    const bool is_link = line.starts_with("l ");  // it has no mode
    if (!is_link) line.erase(2, line.find(' ', 2) - 1);
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace kvl::test
