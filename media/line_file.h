// LineFile: the lines of a text file on a media. Anybody may have put that file there, so it is
// opened without waiting, and a line of any length takes a bounded amount of memory.
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
  /// The most bytes of a line that are kept. The system refuses a variable of that length anyway.
  static constexpr std::size_t kLongestLine = 1'048'576;

  /// Opens the file, links followed. Error() tells a failure.
  explicit LineFile(const std::string& path);

  /// Reads the next line, and drops its line feed and one carriage return at its end. The last line
  /// needs no line feed. A longer line is cut at kLongestLine, and its rest is passed over. The file
  /// ends where it ended when it was opened, and one that claims to be empty after as many bytes.
  /// False at the end of the file and after a failure: half a line is none.
  bool Next(std::string& line);

  /// Why the file cannot be opened or read, as an errno: EISDIR for a directory, EOPNOTSUPP for
  /// anything else that is no regular file, EAGAIN when a read would have to wait. 0 without a
  /// failure.
  int Error() const { return error_; }

 private:
  bool Fill();
  std::string_view TakePart(std::size_t most_bytes, bool& ends_line);
  void PassOverCutRest();
  void SkipHole();

  KVLInsIO::internal::FileDescriptor file_;
  int error_;
  std::uint64_t bytes_left_ = 0;  // that may still be read
  bool is_cut_ = false;           // the rest of the last line is still to be passed over
  std::string_view unread_;       // a part of the buffer
  std::array<char, 16'384> buffer_;
};

}  // namespace kvl
