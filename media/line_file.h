// LineFile reads the lines of a text file on a media. Anybody may have put that file there, so
// LineFile opens it without waiting and bounds the memory for a line.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "insio/file_descriptor.h"

namespace kvl {

class LineFile {
 public:
  /// The maximum number of bytes kept of a line. The system refuses a variable of that length.
  static constexpr std::size_t kLongestLine = 1'048'576;

  /// Opens the file and follows links. After a failure, Error() is not 0.
  explicit LineFile(const std::string& path);

  /// Reads the next line, without its line feed and without one carriage return at its end. The
  /// last line needs no line feed. Cuts a line at kLongestLine and skips its rest. Reads at most as
  /// many bytes as the file had when it was opened, or kLongestLine bytes if that is more. Returns
  /// false at the end of the file and after a failure; it never returns half a line.
  bool Next(std::string& line);

  /// The errno of the failure to open or read the file: EISDIR for a directory, EOPNOTSUPP for
  /// anything else but a regular file, EAGAIN if a read would have to wait. 0 without a failure.
  int Error() const { return error_; }

 private:
  bool Fill();
  std::string_view TakePart(std::size_t most_bytes, bool& ends_line);
  void PassOverCutRest();
  void SkipHole();

  KVLInsIO::internal::FileDescriptor file_;
  int error_;
  std::uint64_t bytes_left_ = 0;  // how many bytes may still be read
  bool is_cut_ = false;           // the rest of the last line still has to be skipped
  std::string_view unread_;       // a part of the buffer
  std::array<char, 16'384> buffer_;
};

}  // namespace kvl
