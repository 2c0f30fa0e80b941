#include "tests/conditions/own_mounts.h"

#include <future>

#include "tests/insio/surroundings.h"

namespace kvl::test {
namespace {

/// In a build chroot the root directory may be no mount point, and mounts below it would show
/// outside. /proc is one: the root directory, with all that is mounted below it, is put there once
/// more, and made the root. Its paths are the same.
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

/// Gives the calling thread a copy of the mounts, and keeps its changes to itself.
void LeaveTheMountsOfOthers() {
  RequireDone(::unshare(CLONE_NEWNS) == 0, "have mounts of its own");
  if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) MakeTheRootAMountPoint();
}

void Mount(const std::string& directory, const std::string& options, unsigned long flags) {
  // Pages are taken one by one, where the system can be told; it may not know the option.
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
  task.get_future().get();  // throws what was thrown there
}

MemoryMount::MemoryMount(const std::string& directory, const std::string& options,
                         unsigned long flags)
    : Undo([directory] { ::umount2(directory.c_str(), MNT_DETACH); }), directory_(directory) {
  Mount(directory, "mode=0755," + options, flags);
}

void MemoryMount::MakeReadOnly() const {
  RequireDone(::mount("none", directory_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0,
              "make " + directory_ + " read-only");
}

}  // namespace kvl::test
