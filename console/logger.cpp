#include "console/logger.h"

#include <errno.h>
#include <poll.h>
#include <unistd.h>

#include <string>

#include "console/text.h"

namespace kvl {
namespace {

constexpr std::string_view kIndentedLineFeed = "\n       ";

std::string_view Prefix(int level) {
  switch (level) {
    case kError:
      return "ERROR: ";
    case kWarning:
      return " WARN: ";
    case kInformation:
      return " INFO: ";
    default:
      return "       ";
  }
}

/// Waits for a stream that somebody opened non-blocking and that is full at the moment.
bool WaitUntilWritable(int stream) {
  pollfd wanted = {stream, POLLOUT, 0};
  return ::poll(&wanted, 1, /*timeout=*/-1) == 1 || errno == EINTR;
}

void WriteWhole(int stream, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(stream, text.data(), text.size());
    if (written > 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
      continue;
    }
    const bool is_worth_another_try =
        written < 0 && (errno == EINTR || (errno == EAGAIN && WaitUntilWritable(stream)));
    if (!is_worth_another_try) return;
  }
}

}  // namespace

void Logger::Message(std::string text, int level, bool /*marked*/) {
  if (level == kError || level == kWarning) LogToErrorStream = true;
  if (level == kInformation) LogToErrorStream = false;

  text.insert(0, Prefix(level));
  ReplaceAll(text, "\n", kIndentedLineFeed, 0);
  text.push_back('\n');
  if (collect_) {
    collect_(text);
    return;
  }
  WriteWhole(LogToErrorStream ? STDERR_FILENO : STDOUT_FILENO, text);
}

}  // namespace kvl
