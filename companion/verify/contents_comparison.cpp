#include "companion/verify/contents_comparison.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <thread>

#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;
using KVLInsIO::OpenFile;

/// Large enough for a disc to be read in one go, and at the beginning of a page: a system copies three
/// times as long to a place that lies a few bytes behind one.
struct alignas(4096) Buffer {
  std::array<char, 1U << 20U> bytes;
};

/// Shared by all threads.
class Comparison {
 public:
  Comparison(const OpenDirectory& top, const ExpectedEntries& entries,
             const std::vector<std::size_t>& files, std::vector<Flaw>& flaws)
      : top_(top), entries_(entries), files_(files), flaws_(flaws) {}

  /// Takes one file after the other until none is left.
  void Work(std::span<char> buffer) {
    OpenTree tree(top_, OpenTree::Missing::kFails);
    for (std::size_t i = 0; (i = next_++) < files_.size();) {
      Compare(tree, entries_.All()[files_[i]], buffer);
    }
  }

  std::uint64_t BytesRead() const { return bytes_; }

 private:
  void Compare(OpenTree& tree, const ExpectedEntry& entry, std::span<char> buffer) {
    try {
      const Place place(entry.path);
      const OpenFile file = tree.At(place.directory).File(place.name);
      const std::uint64_t size = file.State().size;
      if (size > entries_.Bytes() || DigestOf(file, size, buffer) != entry.digest) {
        Add(FlawKind::kDamaged, entry);
      }
    } catch (const std::exception& failure) {
      Add(FlawKind::kUnreadable, entry, MessageOf(failure));
    }
  }

  /// Of as many bytes as the file had when it was opened: it may grow for ever.
  Digest DigestOf(const OpenFile& file, std::uint64_t size, std::span<char> buffer) {
    file.ExpectReading();
    Hasher hasher;
    while (hasher.Size() < size) {
      const std::uint64_t left = size - hasher.Size();
      const std::span<char> room = buffer.first(std::min<std::uint64_t>(left, buffer.size()));
      const std::size_t length = file.Read(hasher.Size(), room);
      if (length == 0) break;
      hasher.Add({room.data(), length});
    }
    bytes_ += hasher.Size();
    return hasher.Finish();
  }

  void Add(FlawKind kind, const ExpectedEntry& entry, const std::string& detail = "") {
    const std::lock_guard lock(adding_);
    flaws_.push_back({kind, PathBelow(top_.Path(), entry.path), detail});
  }

  const OpenDirectory& top_;
  const ExpectedEntries& entries_;
  const std::vector<std::size_t>& files_;
  std::atomic<std::size_t> next_ = 0;
  std::atomic<std::uint64_t> bytes_ = 0;
  std::mutex adding_;
  std::vector<Flaw>& flaws_;
};

}  // namespace

std::uint64_t CompareContents(const OpenDirectory& directory, const ExpectedEntries& entries,
                              const std::vector<std::size_t>& files, unsigned jobs,
                              std::vector<Flaw>& flaws) {
  Comparison comparison(directory, entries, files, flaws);
  const auto buffers = std::make_unique_for_overwrite<Buffer[]>(jobs);
  const auto work = [&](unsigned job) { comparison.Work(buffers[job].bytes); };
  {
    std::vector<std::jthread> further;
    for (unsigned i = 1; i < jobs; ++i) further.emplace_back(work, i);
    work(0);
  }
  return comparison.BytesRead();
}

}  // namespace kvl
