// The list of all files of a payload, written while they are copied: a line for each, its volume's
// number, a blank, and the line of that volume's list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <string_view>

#include "companion/make/summed_file.h"
#include "companion/seal/digest.h"
#include "companion/seal/file_list.h"
#include "companion/seal/line_reader.h"
#include "insio/open_directory.h"

namespace kvl {

/// Only files whose digests are not known yet are kept, so that a list of millions takes no memory.
class ListOfAll {
 public:
  struct Line {
    std::size_t volume;
    ListedFile file;
    bool is_known = false;
  };

  /// Makes the file. Throws as OpenDirectory::MakeFile does.
  ListOfAll(const KVLInsIO::OpenDirectory& directory, const std::string& name)
      : file_(directory, name) {}

  /// The lines stand in the order in which files are added, each with the digest that is set later.
  /// Writes those that are known. Throws as NewFile does.
  Line& Add(std::size_t volume, const std::string& path);
  /// In any thread.
  void SetDigest(Line& line, const Digest& digest);
  /// So much is kept that it is better to wait until all digests are set.
  bool IsFull() const { return lines_.size() >= kMostLines; }

  /// To be called when all digests are set. The file gets this time.
  void Finish(std::int64_t time);
  /// The finished file.
  const SummedFile& File() const { return file_; }

 private:
  static constexpr std::size_t kMostLines = 4096;

  void WriteKnown();

  SummedFile file_;
  std::mutex setting_;
  std::deque<Line> lines_;  // stay where they are while more are added
};

/// Reads such a list back from its beginning to its end.
class ListOfAllReader {
 public:
  /// `list` is finished, and must outlive the reader. Throws as OpenDirectory::File does.
  ListOfAllReader(const KVLInsIO::OpenDirectory& directory, const std::string& name,
                  const ListOfAll& list);
  ListOfAllReader(const ListOfAllReader&) = delete;
  ListOfAllReader& operator=(const ListOfAllReader&) = delete;

  /// Shows the next lines, so many, as they stand in the list of their volume. Throws what `see`
  /// throws, and std::runtime_error "changed while the media was made: " + path when there are not
  /// so many.
  void ShowLines(std::uint64_t count, const std::function<void(std::string_view line)>& see);
  /// Throws the same when all lines together are not what was written.
  void Finish();

 private:
  std::size_t Read(std::span<char> room);
  [[noreturn]] void RefuseAsChanged() const;

  const ListOfAll& list_;
  KVLInsIO::OpenFile file_;
  std::uint64_t read_ = 0;
  LineReader lines_;
};

}  // namespace kvl
