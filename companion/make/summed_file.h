// A file that is written piece by piece, with the digest of what it holds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "companion/seal/digest.h"
#include "insio/open_directory.h"

namespace kvl {

class SummedFile {
 public:
  /// Makes the file. Throws as OpenDirectory::MakeFile does.
  SummedFile(const KVLInsIO::OpenDirectory& directory, const std::string& name)
      : file_(directory.MakeFile(name)) {}

  /// Adds to the text, which is written in large pieces. Throws as NewFile::Write does.
  void Add(std::string_view text);
  /// Writes the rest, and gives the file this time. Throws as NewFile does.
  void Finish(std::int64_t time);

  // Of the finished file.
  const Digest& Sum() const { return sum_; }
  std::uint64_t Size() const { return size_; }

 private:
  void Write();

  KVLInsIO::NewFile file_;
  std::string text_;  // to be written
  Hasher hasher_;
  std::uint64_t size_ = 0;
  Digest sum_;
};

}  // namespace kvl
