// A file that is written piece by piece, and the digest of its contents.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "companion/seal/digest.h"
#include "insio/open_directory.h"

namespace kvl {

class SummedFile {
 public:
  /// Makes the file. Throws what OpenDirectory::MakeFile throws.
  SummedFile(const KVLInsIO::OpenDirectory& directory, const std::string& name)
      : file_(directory.MakeFile(name)) {}

  /// Appends to the file, which is written in large pieces. Throws what NewFile::Write throws.
  void Add(std::string_view text);
  /// Writes the rest, and sets the time of the file. Throws what NewFile throws.
  void Finish(std::int64_t time);

  // Call these after Finish.
  const Digest& Sum() const { return sum_; }
  std::uint64_t Size() const { return size_; }

 private:
  void Write();

  KVLInsIO::NewFile file_;
  std::string text_;  // not written yet
  Hasher hasher_;
  std::uint64_t size_ = 0;
  Digest sum_;
};

}  // namespace kvl
