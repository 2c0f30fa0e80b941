#include "console/descriptors.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>
#include <memory>

namespace kvl {
namespace {

constexpr int kFirstBehindStreams = STDERR_FILENO + 1;
constexpr int kUsualLimit = 1024;

void OccupyClosedStreams() {
  std::array<pollfd, kFirstBehindStreams> streams = {
      {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {STDERR_FILENO, 0, 0}}};
  if (::poll(streams.data(), streams.size(), /*timeout=*/0) <= 0) return;
  for (const pollfd& stream : streams) {
    // The system hands out the lowest free number, and the streams are looked at in that order. (One
    // that the caller opened with O_PATH is taken for closed, at the price of a spare descriptor.)
    if ((stream.revents & POLLNVAL) != 0) ::open("/", O_PATH | O_CLOEXEC);
  }
}

void Mark(int number) {
  ::fcntl(number, F_SETFD, FD_CLOEXEC);
}

/// For systems older than close_range.
void MarkOneByOne() {
  struct Closer {
    void operator()(DIR* stream) const { ::closedir(stream); }
  };
  const std::unique_ptr<DIR, Closer> open_ones(::opendir("/proc/self/fd"));
  if (open_ones == nullptr) {
    // No list either: the numbers that a process has by default.
    for (int number = kFirstBehindStreams; number < kUsualLimit; ++number) Mark(number);
    return;
  }
  while (const dirent* entry = ::readdir(open_ones.get())) {
    const int number = std::atoi(entry->d_name);
    if (number >= kFirstBehindStreams) Mark(number);
  }
}

}  // namespace

void PrepareDescriptors() {
  OccupyClosedStreams();
  if (::close_range(kFirstBehindStreams, UINT_MAX, CLOSE_RANGE_CLOEXEC) != 0) MarkOneByOne();
}

}  // namespace kvl
