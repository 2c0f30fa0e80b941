#include "console/descriptors.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <charconv>

namespace kvl {
namespace {

constexpr int kFirstBehindStreams = STDERR_FILENO + 1;

void OccupyClosedStreams() {
  std::array<pollfd, kFirstBehindStreams> streams = {
      {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {STDERR_FILENO, 0, 0}}};
  if (::poll(streams.data(), streams.size(), /*timeout=*/0) <= 0) return;
  for (const pollfd& stream : streams) {
    // The system hands out the lowest free number, and this loop takes the streams in that order. A
    // stream that the caller opened with O_PATH looks closed; that only costs a spare descriptor.
    if ((stream.revents & POLLNVAL) != 0) ::open("/", O_PATH | O_CLOEXEC);
  }
}

void CloseOwnProgram(std::string_view own_name) {
  constexpr std::string_view kDescriptors = "/proc/self/fd/";
  if (!own_name.starts_with(kDescriptors)) return;
  own_name.remove_prefix(kDescriptors.size());
  int number = -1;
  const char* const end = own_name.data() + own_name.size();
  const auto [behind, error] = std::from_chars(own_name.data(), end, number);
  if (error != std::errc() || behind != end) return;
  if (number >= kFirstBehindStreams) ::close(number);
}

}  // namespace

void PrepareDescriptors(std::string_view own_name) {
  CloseOwnProgram(own_name);
  OccupyClosedStreams();
}

}  // namespace kvl
