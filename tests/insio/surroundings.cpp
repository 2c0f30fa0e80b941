#include "tests/insio/surroundings.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace kvl::test {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;

void Require(bool done, const std::string& what) {
  if (!done) throw std::runtime_error("cannot " + what);
}

}  // namespace

void Enter(const TestDirectory& directory) {
  Require(::chdir(directory.Path().c_str()) == 0, "enter " + directory.Path());
}

void EnterAsOrdinaryUser(const TestDirectory& directory) {
  fs::permissions(directory.Path(), fs::perms(0555), fs::perm_options::add);
  Enter(directory);
  if (::geteuid() != 0) return;
  Require(::setgroups(0, nullptr) == 0, "leave the groups");
  Require(::setresgid(kNobody, kNobody, kNobody) == 0, "change the group");
  Require(::setresuid(kNobody, kNobody, kNobody) == 0, "change the user");
}

void LimitDescriptors(unsigned further) {
  // The limit is the first number that cannot be had; the lower ones that are free are used up.
  const int lowest_free = ::fcntl(STDERR_FILENO, F_DUPFD, 0);
  if (lowest_free < 0 || ::close(lowest_free) != 0)
    throw std::runtime_error("no descriptor is free");
  const rlim_t limit = static_cast<rlim_t>(lowest_free) + further;
  const rlimit limits = {limit, limit};
  if (::setrlimit(RLIMIT_NOFILE, &limits) != 0) throw std::runtime_error("setrlimit failed");
}

void LimitFileSize(unsigned bytes) {
  const rlimit limit = {bytes, bytes};
  Require(::setrlimit(RLIMIT_FSIZE, &limit) == 0, "limit the size of files");
  Require(::signal(SIGXFSZ, SIG_IGN) != SIG_ERR, "ignore a signal");
}

std::vector<std::string> OpenDescriptors() {
  std::vector<std::string> descriptors;
  const fs::path own = "/proc/self/fd";
  for (const fs::directory_entry& entry : fs::directory_iterator(own)) {
    std::error_code ignored;
    const fs::path target = fs::read_symlink(entry.path(), ignored);
    // The descriptor by which this list is read.
    if (target.parent_path().filename() == std::to_string(::getpid())) continue;
    descriptors.push_back(entry.path().filename().string() + " -> " + target.string());
  }
  std::sort(descriptors.begin(), descriptors.end());
  return descriptors;
}

struct stat StatusOf(const std::string& path) {
  struct stat status;
  Require(::stat(path.c_str(), &status) == 0, "stat " + path);
  return status;
}

std::string MakeSocket(const TestDirectory& directory, const std::string& name) {
  const std::string path = directory.Path(name);
  Require(::mknod(path.c_str(), S_IFSOCK | 0600, 0) == 0, "make " + path);
  return path;
}

std::string TooLongName() {
  return std::string(300, 'n');
}

}  // namespace kvl::test
