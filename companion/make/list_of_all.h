// The list of all files of a payload, which is written while they are copied. Each line has the
// number of the file's volume, a blank, and the file's line in the list of that volume.
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

/// Keeps only lines without a digest in memory, so a list of millions of files takes little.
class ListOfAll {
 public:
  struct Line {
    std::size_t volume;
    ListedFile file;
    bool is_known = false;
  };

  /// Makes the file. Throws what OpenDirectory::MakeFile throws.
  ListOfAll(const KVLInsIO::OpenDirectory& directory, const std::string& name)
      : file_(directory, name) {}

  /// Adds a line behind the others; SetDigest sets its digest later. Writes the lines whose digests
  /// are set. Throws what NewFile throws.
  Line& Add(std::size_t volume, const std::string& path);
  /// May be called in any thread.
  void SetDigest(Line& line, const Digest& digest);
  /// Returns whether so many lines are kept that the caller should wait until all digests are set.
  bool IsFull() const { return lines_.size() >= kMostLines; }

  /// Finishes the file with this time. All digests must be set.
  void Finish(std::int64_t time);
  /// Returns the finished file.
  const SummedFile& File() const { return file_; }

 private:
  static constexpr std::size_t kMostLines = 4096;

  void WriteKnown();

  SummedFile file_;
  std::mutex setting_;
  std::deque<Line> lines_;  // a deque keeps references valid while lines are added
};

/// Reads such a list back, from its beginning to its end.
class ListOfAllReader {
 public:
  /// `list` must be finished, and must outlive the reader. Throws what OpenDirectory::File throws.
  ListOfAllReader(const KVLInsIO::OpenDirectory& directory, const std::string& name,
                  const ListOfAll& list);
  ListOfAllReader(const ListOfAllReader&) = delete;
  ListOfAllReader& operator=(const ListOfAllReader&) = delete;

  /// Calls `see` with the next `count` lines, in the form that the list of their volume has. Throws
  /// what `see` throws, and std::runtime_error if there are fewer lines.
  void ShowLines(std::uint64_t count, const std::function<void(std::string_view line)>& see);
  /// Throws std::runtime_error if the list is not what was written.
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
