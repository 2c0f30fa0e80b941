// Benchmarks of the library: paths, line replacement, one small file, one directory.
#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>
#include <string>

#include "insio/copy.h"
#include "insio/delete.h"
#include "insio/finder.h"
#include "insio/path.h"
#include "insio/path_text.h"
#include "insio/replace_in_lines.h"

namespace {

namespace fs = std::filesystem;

/// A fresh directory below the system's temporary one. The destructor removes it.
class Workplace {
 public:
  Workplace() {
    std::string name = (fs::temp_directory_path() / "kvl-benchmark.XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
  }
  ~Workplace() { fs::remove_all(path_); }
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

  std::string Path(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

std::string Repeated(const std::string& piece, std::int64_t length) {
  std::string text;
  while (text.size() < static_cast<std::size_t>(length)) text += piece;
  return text;
}

void Normalize(benchmark::State& state, const std::string& piece) {
  const std::string text = Repeated(piece, state.range(0));
  for ([[maybe_unused]] auto round : state) {
    benchmark::DoNotOptimize(KVLInsIO::NormalizeString(text));
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK_CAPTURE(Normalize, names, "dir/")->Range(64, 1 << 20)->Complexity();
BENCHMARK_CAPTURE(Normalize, slashes, "/")->Range(64, 1 << 20)->Complexity();
BENCHMARK_CAPTURE(Normalize, backslashes, "\\")->Range(64, 1 << 20)->Complexity();
BENCHMARK_CAPTURE(Normalize, quotes, "\"")->Range(64, 1 << 20)->Complexity();

void Join(benchmark::State& state) {
  for ([[maybe_unused]] auto round : state) {
    benchmark::DoNotOptimize(KVLInsIO::Join("/media/suite/1", "inst"));
  }
}
BENCHMARK(Join);

/// Replaces one match in each line of a file.
void ReplaceInLines(benchmark::State& state) {
  const Workplace place;
  const std::string file = place.Path("file");
  const std::string text = Repeated("a line with the old word in it\n", state.range(0));
  for ([[maybe_unused]] auto round : state) {
    state.PauseTiming();
    std::ofstream(file) << text;
    state.ResumeTiming();
    benchmark::DoNotOptimize(KVLInsIO::ReplaceInLines(file, "old", "new"));
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(ReplaceInLines)->Range(1 << 10, 1 << 22)->Complexity();

/// Replaces in one line that consists of matches.
void ReplaceInOneLine(benchmark::State& state) {
  const Workplace place;
  const std::string file = place.Path("file");
  const std::string text = Repeated("a", state.range(0));
  for ([[maybe_unused]] auto round : state) {
    state.PauseTiming();
    std::ofstream(file) << text;
    state.ResumeTiming();
    benchmark::DoNotOptimize(KVLInsIO::ReplaceInLines(file, "a", "bb"));
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(ReplaceInOneLine)->Range(1 << 10, 1 << 20)->Complexity();

void CopySmallFile(benchmark::State& state) {
  const Workplace place;
  std::ofstream(place.Path("from")) << Repeated("x", 4096);
  for ([[maybe_unused]] auto round : state) {
    KVLInsIO::CopyFile(place.Path("from"), place.Path("to"));
    state.PauseTiming();
    fs::remove(place.Path("to"));
    state.ResumeTiming();
  }
}
BENCHMARK(CopySmallFile);

void ListDirectory(benchmark::State& state) {
  const Workplace place;
  for (int i = 0; i < state.range(0); ++i) std::ofstream(place.Path(std::to_string(i))).put('x');
  for ([[maybe_unused]] auto round : state) {
    auto finder = KVLInsIO::FindFirstFile(place.Path(""), KVLInsIO::kFile);
    for (; !finder.AtEnd(); FindNextFile(finder)) benchmark::DoNotOptimize(finder.FullPath());
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(ListDirectory)->Range(8, 8192)->Complexity();

}  // namespace
