#include "companion/verify/contents_comparison.h"

#include <array>
#include <exception>
#include <utility>

#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

/// Large enough for a disc to be read without stops. Aligned to a page, because copying to an
/// address a few bytes behind the beginning of a page takes three times as long.
struct alignas(4096) Buffer {
  std::array<char, 1U << 20U> bytes;
};

}  // namespace

ContentsComparison::ContentsComparison(std::uint64_t most_bytes, unsigned jobs,
                                       std::function<void(std::size_t)> see)
    : most_bytes_(most_bytes), see_(std::move(see)), tasks_(jobs) {}

void ContentsComparison::Compare(const std::shared_ptr<const OpenDirectory>& directory,
                                 const std::string& name, std::uint64_t size,
                                 const Digest& digest) {
  ++result_.files;
  // Keeps the number of open directories small.
  if (std::exchange(last_directory_, directory) != directory) tasks_.HandOver();
  const auto compare = [this, directory, name, digest] {
    try {
      Read(*directory, name, digest);
    } catch (const std::exception& failure) {
      Add({FlawKind::kUnreadable, PathBelow(directory->Path(), name), MessageOf(failure)});
    }
  };
  tasks_.Run(compare, size);
}

const ContentsComparison::Result& ContentsComparison::Finish() {
  tasks_.Wait();
  return result_;
}

/// Reads as many bytes as the file had when it was opened, because it may grow without end.
void ContentsComparison::Read(const OpenDirectory& directory, const std::string& name,
                              const Digest& digest) {
  thread_local const auto buffer = std::make_unique_for_overwrite<Buffer>();
  const KVLInsIO::OpenFile file = directory.File(name);
  const std::uint64_t size = file.State().size;
  const auto see = [this](std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    result_.bytes += bytes;
    see_(bytes);
  };
  file.ExpectReading();
  if (size > most_bytes_ || DigestOf(file, size, buffer->bytes, see) != digest) {
    Add({FlawKind::kDamaged, file.Path()});
  }
}

void ContentsComparison::Add(const Flaw& flaw) {
  const std::lock_guard lock(mutex_);
  result_.flaws.push_back(flaw);
}

}  // namespace kvl
