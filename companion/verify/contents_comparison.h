// Comparing the contents of a volume's files with their digests, several files at a time.
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
  /// Reports a file of more than `most_bytes` as damaged without reading it. Reads `jobs` files at
  /// a time, at least 1. Calls `see` with the number of bytes that were read, from one thread at a
  /// time.
  ContentsComparison(std::uint64_t most_bytes, unsigned jobs, std::function<void(std::size_t)> see);

  /// Compares a file, now or later. Waits while TaskQueue::Run waits. `size` is the present size of
  /// the file; it only weighs the task.
  void Compare(const std::shared_ptr<const KVLInsIO::OpenDirectory>& directory,
               const std::string& name, std::uint64_t size, const Digest& digest);

  struct Result {
    std::uint64_t files = 0;  ///< number of calls of Compare
    std::uint64_t bytes = 0;  ///< that were read
    std::vector<Flaw> flaws;  ///< files that are damaged or cannot be read, in any order
  };
  /// Waits until all files are compared, and returns the result.
  const Result& Finish();

 private:
  void Read(const KVLInsIO::OpenDirectory& directory, const std::string& name,
            const Digest& digest);
  void Add(const Flaw& flaw);

  const std::uint64_t most_bytes_;
  const std::function<void(std::size_t)> see_;
  std::shared_ptr<const KVLInsIO::OpenDirectory> last_directory_;
  std::mutex mutex_;  // guards result_ and see_
  Result result_;
  TaskQueue tasks_;  // last, so that the tasks end before the other members are destroyed
};

}  // namespace kvl
