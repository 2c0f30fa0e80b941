// Reading the files of a volume to their ends, several at a time, and comparing what they hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "companion/seal/digest.h"
#include "companion/tasks/task_queue.h"
#include "companion/verify/flaw.h"
#include "insio/open_directory.h"

namespace kvl {

inline constexpr unsigned kMostJobs = 64;

class ContentsComparison {
 public:
  /// A file that is longer than `most_bytes` is damaged, and not read. So many files are read at a time
  /// as there are jobs, at least 1. `see` is told of bytes that were read, by one thread at a time.
  ContentsComparison(std::uint64_t most_bytes, unsigned jobs, std::function<void(std::size_t)> see);

  /// Has a file compared, at once or later. Waits as long as there is more to do than jobs for it.
  /// `size` is what it seems to have.
  void Compare(const std::shared_ptr<const KVLInsIO::OpenDirectory>& directory,
               const std::string& name, std::uint64_t size, const Digest& digest);

  struct Result {
    std::uint64_t files = 0;  ///< that were to be compared
    std::uint64_t bytes = 0;  ///< that were read
    std::vector<Flaw> flaws;  ///< in any order: files that are damaged or cannot be read
  };
  /// Waits for them all.
  const Result& Finish();

 private:
  void Read(const KVLInsIO::OpenDirectory& directory, const std::string& name,
            const Digest& digest);
  void Add(const Flaw& flaw);

  const std::uint64_t most_bytes_;
  const std::function<void(std::size_t)> see_;
  std::shared_ptr<const KVLInsIO::OpenDirectory> last_directory_;
  std::mutex mutex_;  // of what follows
  Result result_;
  TaskQueue tasks_;  // which end before the rest goes
};

}  // namespace kvl
