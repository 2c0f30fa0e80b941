#include "tests/conditions/memory_group.h"

#include "tests/insio/surroundings.h"

namespace kvl::test {
namespace {

/// The place where the system counts the memory of this process: the directory of its group, and
/// the name of the limit.
std::pair<std::string, std::string> OwnGroup() {
  std::ifstream groups("/proc/self/cgroup");
  std::pair<std::string, std::string> found;
  for (std::string line; std::getline(groups, line);) {
    const std::size_t first = line.find(':'), second = line.find(':', first + 1);
    const std::string kind = line.substr(first + 1, second - first - 1),
                      path = line.substr(second + 1);
    if (kind == "memory") return {"/sys/fs/cgroup/memory" + path, "memory.limit_in_bytes"};
    if (kind.empty()) found = {"/sys/fs/cgroup" + path, "memory.max"};
  }
  return found;
}

bool WriteInto(const std::string& path, const std::string& text) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  const bool is_written =
      file >= 0 && ::write(file, text.data(), text.size()) == ssize_t(text.size());
  if (file >= 0) ::close(file);
  return is_written;
}

}  // namespace

MemoryGroup::MemoryGroup(long bytes) {
  const auto [own, limit] = OwnGroup();
  std::string wanted = own + "/kvl-test-XXXXXX";
  if (own.empty() || ::mkdtemp(wanted.data()) == nullptr) {
    why_not_ = "no group of processes can be made in " + own;
    return;
  }
  directory_ = wanted;
  if (!WriteInto(directory_ + "/" + limit, std::to_string(bytes))) {
    why_not_ = "the memory of a group of processes cannot be limited here";
  }
}

MemoryGroup::~MemoryGroup() {
  if (!directory_.empty()) ::rmdir(directory_.c_str());
}

void MemoryGroup::Enter() const {
  if (!WriteInto(directory_ + "/cgroup.procs", "0")) ::_exit(kImpossibleHere);
}

}  // namespace kvl::test
