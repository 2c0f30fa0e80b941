#include "tests/conditions/own_mounts.h"

#include <future>

#include "tests/insio/surroundings.h"
#include "tests/support/outcome.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// In a build chroot the root directory may not be a mount point, and mounts below it would show
/// outside. So this mounts the root directory, with everything mounted below it, once more on
/// /proc, which is a mount point, and makes that the root. All paths stay the same.
void MakeTheRootAMountPoint() {
  constexpr char kPlace[] = "/proc/sys";
  const fs::path working_directory = fs::current_path();
  RequireDone(::mount("none", "/proc", nullptr, MS_PRIVATE, nullptr) == 0 &&
                  ::mount("/", kPlace, nullptr, MS_BIND | MS_REC, nullptr) == 0 &&
                  ::mount("none", kPlace, nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                  ::chroot(kPlace) == 0,
              "have a root directory of its own");
  fs::current_path(working_directory);
}

/// Gives the calling thread a copy of the mounts, and hides its changes from others.
void LeaveTheMountsOfOthers() {
  RequireDone(::unshare(CLONE_NEWNS) == 0, "have mounts of its own");
  if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) MakeTheRootAMountPoint();
}

void Mount(const std::string& directory, const std::string& options, unsigned long flags) {
  // Asks for single pages; the system may not know this option.
  for (const std::string& pages : {std::string("huge=never,"), std::string()}) {
    if (::mount("none", directory.c_str(), "tmpfs", flags, (pages + options).c_str()) == 0) return;
  }
  RequireDone(false, "mount " + options + " on " + directory);
}

}  // namespace

std::string WhyNoOwnMounts() {
  try {
    RunWithOwnMounts([] { const MemoryMount probe("/", "size=4k"); });
  } catch (const std::exception& failure) {
    return std::string("a mount is not permitted here: ") + failure.what();
  }
  return {};
}

void RunWithOwnMounts(const std::function<void()>& action) {
  std::packaged_task<void()> task([&] {
    LeaveTheMountsOfOthers();
    action();
  });
  std::thread(std::ref(task)).join();
  task.get_future().get();  // throws the thread's exception
}

MemoryMount::MemoryMount(const std::string& directory, const std::string& options,
                         unsigned long flags)
    : Undo([directory] { ::umount2(directory.c_str(), MNT_DETACH); }), directory_(directory) {
  Mount(directory, "mode=0755," + options, flags);
}

OverlayMount::OverlayMount(const std::string& directory, const std::string& place)
    : Undo([directory] { ::umount2(directory.c_str(), MNT_DETACH); }), memory_(place, "size=64m") {
  const std::string upper = place + "/upper", work = place + "/work";
  for (const std::string& path : {upper, work}) fs::create_directory(path);
  const std::string options = "lowerdir=" + directory + ",upperdir=" + upper + ",workdir=" + work;
  RequireDone(::mount("none", directory.c_str(), "overlay", 0, options.c_str()) == 0,
              "mount an overlay on " + directory);
}

FuseMount::FuseMount(const std::string& directory)
    : Undo([directory] { ::umount2(directory.c_str(), MNT_DETACH); }) {
  const Outcome seen =
      RunProgram({.command = {"/usr/bin/bindfs", "-o", "nonempty", directory, directory},
                  .env = {{"PATH", "/usr/bin:/bin"}}});
  if (seen.status != 0) {
    throw std::runtime_error("bindfs: status " + std::to_string(seen.status) + " " + seen.err);
  }
}

namespace {

/// Returns why `mount` of a directory, with another one for its own use, fails; the empty text if
/// it works.
std::string WhyNot(const std::function<void(const std::string&, const std::string&)>& mount) {
  const TestDirectory directory, place;
  try {
    RunWithOwnMounts([&] { mount(directory.Path(), place.Path()); });
  } catch (const std::exception& failure) {
    return failure.what();
  }
  return {};
}

}  // namespace

void OwnOverlayTest::SetUp() {
  OwnMountsTest::SetUp();
  if (IsSkipped()) return;
  const std::string why = WhyNot([](const std::string& directory, const std::string& place) {
    const OverlayMount overlay(directory, place);
  });
  if (!why.empty()) GTEST_SKIP() << "there is no overlayfs here: " << why;
}

void OwnFuseTest::SetUp() {
  OwnMountsTest::SetUp();
  if (IsSkipped()) return;
  const std::string why = WhyNot(
      [](const std::string& directory, const std::string&) { const FuseMount fuse(directory); });
  if (!why.empty()) GTEST_SKIP() << "there is no FUSE here: " << why;
}

void MemoryMount::MakeReadOnly() const {
  RequireDone(::mount("none", directory_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0,
              "make " + directory_ + " read-only");
}

}  // namespace kvl::test
