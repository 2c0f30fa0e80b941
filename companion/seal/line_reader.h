// The lines of a file that may be long, one after the other, in little memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "companion/seal/digest.h"
#include "insio/open_directory.h"

namespace kvl {

class LineReader {
 public:
  /// `file` must outlive the reader. No line is taken that is longer than so many bytes.
  LineReader(const KVLInsIO::OpenFile& file, std::size_t longest);

  /// The next line with its line feed, which the last one may lack, until the next call; the empty text at
  /// the end. Throws TooLong, and as OpenFile::Read does.
  std::string_view Next();

  /// Of all that was read; nothing can be read after that.
  Digest Finish() { return hasher_.Finish(); }

 private:
  const KVLInsIO::OpenFile& file_;
  const std::size_t longest_;
  std::string bytes_;  // that are read, in part given
  std::size_t given_ = 0;
  Hasher hasher_;
};

}  // namespace kvl
