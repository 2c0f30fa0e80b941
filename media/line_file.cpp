#include "media/line_file.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace kvl {
namespace {

constexpr char kLineFeed = '\n';

/// Returns 0 for a regular file; otherwise the errno that says why it is not read.
int WhyNotToRead(const struct stat& status) {
  if (S_ISREG(status.st_mode)) return 0;
  return S_ISDIR(status.st_mode) ? EISDIR : EOPNOTSUPP;
}

}  // namespace

LineFile::LineFile(const std::string& path) : file_(path, KVLInsIO::internal::kReadWithoutWaiting) {
  struct stat status;
  if (!file_.IsOpen() || ::fstat(file_.Number(), &status) != 0) {
    error_ = errno;
    return;
  }
  error_ = WhyNotToRead(status);
  // Some files of the system claim to be empty but deliver bytes without end.
  bytes_left_ = std::max<std::uint64_t>(static_cast<std::uint64_t>(status.st_size), kLongestLine);
}

bool LineFile::Next(std::string& line) {
  PassOverCutRest();
  line.clear();
  bool has_line = false;
  bool is_whole = false;
  while (!is_whole && line.size() < kLongestLine && Fill()) {
    has_line = true;
    line.append(TakePart(kLongestLine - line.size(), is_whole));
  }
  if (error_ != 0) return false;
  is_cut_ = !is_whole && line.size() == kLongestLine;
  if (line.ends_with('\r')) line.pop_back();
  return has_line;
}

/// Reads the next bytes if the buffer is empty. Returns false at the end and after a failure.
bool LineFile::Fill() {
  if (!unread_.empty()) return true;
  if (error_ != 0) return false;
  const std::size_t most = std::min<std::uint64_t>(buffer_.size(), bytes_left_);
  const ssize_t length = ::read(file_.Number(), buffer_.data(), most);
  if (length < 0) error_ = errno;
  if (length <= 0) return false;
  bytes_left_ -= static_cast<std::uint64_t>(length);
  unread_ = {buffer_.data(), static_cast<std::size_t>(length)};
  return true;
}

/// Takes the unread part of the line, at most `most_bytes`. Consumes the line feed but does not
/// return it.
std::string_view LineFile::TakePart(std::size_t most_bytes, bool& ends_line) {
  const std::string_view part = unread_.substr(0, std::min(unread_.find(kLineFeed), most_bytes));
  unread_.remove_prefix(part.size());
  ends_line = unread_.starts_with(kLineFeed);
  if (ends_line) unread_.remove_prefix(1);
  return part;
}

void LineFile::PassOverCutRest() {
  for (bool is_over = !is_cut_; !is_over;) {
    if (unread_.empty()) SkipHole();
    if (!Fill()) return;
    TakePart(unread_.size(), is_over);
  }
}

/// Skips a hole: it reads as zeros, which end no line, and a sparse file may claim any size.
void LineFile::SkipHole() {
  const off_t here = ::lseek(file_.Number(), 0, SEEK_CUR);
  if (::lseek(file_.Number(), here, SEEK_DATA) >= 0 || errno != ENXIO) return;
  ::lseek(file_.Number(), 0, SEEK_END);
}

}  // namespace kvl
