#include "tests/conditions/own_root.h"

#include "tests/insio/surroundings.h"
#include "tests/support/outcome.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

void OwnRoot::Enter() const {
  if (::chroot(path_.c_str()) != 0 || ::chdir(writable_.c_str()) != 0) ::_exit(kImpossibleHere);
}

bool OwnRoot::Has(const std::string& path) const {
  return fs::exists(fs::symlink_status(PathIn(path)));
}

bool OwnRoot::IsMountPoint() const {
  return ::mount("none", path_.c_str(), nullptr, MS_PRIVATE, nullptr) == 0;
}

void OwnRoot::Show(const std::string& path, unsigned long flags) const {
  const std::string place = PathIn(path);
  if (fs::is_symlink(path)) {
    fs::create_directories(fs::path(place).parent_path());
    return fs::copy_symlink(path, place);
  }
  if (fs::is_directory(path)) {
    fs::create_directories(place);
  } else {
    fs::create_directories(fs::path(place).parent_path());
    WriteFile(place, "");
  }
  RequireDone(
      ::mount(path.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
          ::mount("none", place.c_str(), nullptr, MS_BIND | MS_REMOUNT | flags, nullptr) == 0,
      "show " + path);
}

void RunWithOwnRoot(const std::string& writable, const std::vector<std::string>& shown,
                    const std::function<void(const OwnRoot&)>& action) {
  // Removed only after the mounts are gone, so that nothing is removed through them.
  const TestDirectory directory;
  RunWithOwnMounts([&] {
    OwnRoot root(directory.MakeDir("root"));
    root.writable_ = writable;
    std::vector<std::string> system = {"/usr", "/bin", "/lib", "/lib64", BuiltProgram("")};
    system.insert(system.end(), shown.begin(), shown.end());
    for (const std::string& path : system) {
      if (fs::exists(path)) root.Show(path, MS_RDONLY);
    }
    root.Show(writable, 0);
    action(root);
  });
}

}  // namespace kvl::test
