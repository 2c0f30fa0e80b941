#include "tests/insio/surroundings.h"

#include <grp.h>

#include <linux/capability.h>

#include "tests/support/outcome.h"

namespace kvl::test {
namespace {

constexpr uid_t kNobody = 65534;

/// Sets the soft limit. The hard limit, up to which a process may raise it again, stays as it is.
bool LimitTo(decltype(RLIMIT_FSIZE) resource, rlim_t most) {
  rlimit limit;
  if (::getrlimit(resource, &limit) != 0) return false;
  limit.rlim_cur = most;
  return ::setrlimit(resource, &limit) == 0;
}

}  // namespace

void RequireDone(bool done, const std::string& what) {
  if (!done) throw std::runtime_error("cannot " + what + ": " + std::strerror(errno));
}

void Enter(const TestDirectory& directory) {
  RequireDone(::chdir(directory.Path().c_str()) == 0, "enter " + directory.Path());
}

void EnterAsOrdinaryUser(const TestDirectory& directory) {
  fs::permissions(directory.Path(), fs::perms(0555), fs::perm_options::add);
  Enter(directory);
  if (::geteuid() == 0) BecomeOrdinaryUser();
}

void BecomeOrdinaryUser() {
  RequireDone(::setgroups(0, nullptr) == 0, "leave the groups");
  RequireDone(::setresgid(kNobody, kNobody, kNobody) == 0, "change the group");
  RequireDone(::setresuid(kNobody, kNobody, kNobody) == 0, "change the user");
}

void GiveUpPermissions() {
  for (const int power : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
    if (::prctl(PR_CAPBSET_DROP, power, 0, 0, 0) != 0 && ::geteuid() == 0) ::_exit(kImpossibleHere);
  }
}

void GiveToOrdinaryUser(const std::string& path) {
  if (::geteuid() != 0) return;
  RequireDone(::chown(path.c_str(), kNobody, kNobody) == 0, "give away " + path);
}

void LimitFileSize(unsigned bytes) {
  RequireDone(LimitTo(RLIMIT_FSIZE, bytes), "limit the size of files");
  RequireDone(::signal(SIGXFSZ, SIG_IGN) != SIG_ERR, "ignore a signal");
}

void LimitDescriptors(unsigned count) {
  RequireDone(LimitTo(RLIMIT_NOFILE, count), "limit the descriptors");
}

std::vector<std::string> OpenDescriptors() {
  std::vector<std::string> descriptors;
  const fs::path own = "/proc/self/fd";
  for (const fs::directory_entry& entry : fs::directory_iterator(own)) {
    std::error_code ignored;
    const fs::path target = fs::read_symlink(entry.path(), ignored);
    // Skips the descriptor through which this list is read.
    if (target.parent_path().filename() == std::to_string(::getpid())) continue;
    descriptors.push_back(entry.path().filename().string() + " -> " + target.string());
  }
  std::sort(descriptors.begin(), descriptors.end());
  return descriptors;
}

std::vector<std::string> NamesInOrder(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  return names;
}

struct stat StatusOf(const std::string& path) {
  struct stat status;
  RequireDone(::stat(path.c_str(), &status) == 0, "stat " + path);
  return status;
}

void RewriteUnnoticed(const std::string& path, const std::string& text) {
  const struct stat before = StatusOf(path);
  do {
    std::ofstream(path) << text;
    SetTimes(path, before.st_atime, before.st_mtime);
  } while (Nanoseconds(StatusOf(path).st_ctim) == Nanoseconds(before.st_ctim));
}

std::string MakeSocket(const TestDirectory& directory, const std::string& name) {
  const std::string path = directory.Path(name);
  RequireDone(::mknod(path.c_str(), S_IFSOCK | 0600, 0) == 0, "make " + path);
  return path;
}

std::string WhileExchanged(const std::string& one, const std::string& other,
                           const std::function<bool()>& action) {
  constexpr int kTimes = 2'000;
  constexpr unsigned kMostSeconds = 30;
  const Outcome outcome = RunIsolated([&] {
    const pid_t exchanging = ::fork();
    if (exchanging == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      while (::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0) {
      }
      ::_exit(0);
    }
    ::alarm(kMostSeconds);  // ends an endless wait
    int good = 0;
    while (good < kTimes && action()) ++good;
    const bool still_exchanged = ::waitpid(exchanging, nullptr, WNOHANG) == 0;
    ::kill(exchanging, SIGKILL);
    ::waitpid(exchanging, nullptr, 0);
    if (!still_exchanged) std::cout << "nothing was exchanged";
    if (good < kTimes) std::cout << "a wrong result after " << good;
    return 0;
  });
  if (outcome.status != 0) return "ended with " + std::to_string(outcome.status) + outcome.err;
  return outcome.out;
}

std::string PathOfLength(std::string beginning, std::size_t length) {
  while (beginning.size() < length) {
    const std::size_t left = length - beginning.size();
    beginning += "/" + std::string(left <= 250 ? left - 1 : 199, 'd');
  }
  return beginning;
}

std::string TooLongName() {
  return std::string(300, 'n');
}

}  // namespace kvl::test
