// Tests what the files of the programs require of the system that runs them.

#include <elf.h>

#include "tests/support/outcome.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// The headers of ELF files for the processor of the tests, which is that of the programs.
#if __SIZEOF_POINTER__ == 8
using Header = Elf64_Ehdr;
using Segment = Elf64_Phdr;
#else
using Header = Elf32_Ehdr;
using Segment = Elf32_Phdr;
#endif
using Note = Elf64_Nhdr;  // the same in both

template <typename Piece>
Piece PieceAt(const std::string& file, std::size_t offset) {
  Piece piece;
  if (offset > file.size() || file.size() - offset < sizeof piece) {
    throw std::runtime_error("the file ends at " + std::to_string(file.size()));
  }
  std::memcpy(&piece, file.data() + offset, sizeof piece);
  return piece;
}

class ProgramFile : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const std::string path = BuiltProgram(GetParam());
    if (!fs::exists(path)) GTEST_SKIP() << path << " is not built";
    file_ = ReadFile(path);
    const auto header = PieceAt<Header>(file_, 0);
    for (std::size_t i = 0; i < header.e_phnum; ++i) {
      segments_.push_back(PieceAt<Segment>(file_, header.e_phoff + i * sizeof(Segment)));
    }
  }

  std::string file_;
  std::vector<Segment> segments_;
};

INSTANTIATE_TEST_SUITE_P(Built, ProgramFile, testing::Values("kvl-launcher", "kvl-media"),
                         [](const auto& program) {
                           return std::string(program.param) == "kvl-media" ? "Companion"
                                                                            : "Launcher";
                         });

/// The system can map a segment if its places in memory and in the file have the same offset within
/// a page. No page may contain parts of two segments, because their permissions differ.
TEST_P(ProgramFile, AllowsPagesOf4And16And64KiB) {
  int loaded = 0;
  for (const std::size_t page : {4096U, 16384U, 65536U}) {
    SCOPED_TRACE(page);
    std::size_t last_page = 0;
    for (const Segment& segment : segments_) {
      if (segment.p_type != PT_LOAD) continue;
      EXPECT_EQ(segment.p_align % page, 0U);
      EXPECT_EQ(segment.p_vaddr % page, segment.p_offset % page);
      if (loaded++ > 0) {
        EXPECT_GT(segment.p_vaddr / page, last_page);
      }
      last_page = (segment.p_vaddr + segment.p_memsz - 1) / page;
    }
    EXPECT_GE(loaded, 2);
    loaded = 0;
  }
}

/// Returns the oldest kernel that the C library was built for; "" if the file does not say.
std::string OldestKernel(const std::string& file, const std::vector<Segment>& segments) {
  const auto padded = [](std::size_t size) { return (size + 3) / 4 * 4; };
  for (const Segment& segment : segments) {
    if (segment.p_type != PT_NOTE || segment.p_align > 4) continue;
    for (std::size_t at = segment.p_offset; at < segment.p_offset + segment.p_filesz;) {
      const Note note = PieceAt<Note>(file, at);
      const std::size_t name = at + sizeof note, contents = name + padded(note.n_namesz);
      at = contents + padded(note.n_descsz);
      if (note.n_type != NT_GNU_ABI_TAG || file.compare(name, 4, std::string("GNU\0", 4)) != 0) {
        continue;
      }
      const auto tag = PieceAt<std::array<Elf32_Word, 4>>(file, contents);
      if (tag[0] != ELF_NOTE_OS_LINUX) continue;
      return std::to_string(tag[1]) + "." + std::to_string(tag[2]) + "." + std::to_string(tag[3]);
    }
  }
  return "";
}

TEST_P(ProgramFile, NamesTheOldestKernelThatTheDocumentsName) {
#if defined(__x86_64__) || defined(__s390x__)
  const std::string documented = "3.2.0";
#elif defined(__aarch64__)
  const std::string documented = "3.7.0";
#elif defined(__powerpc64__)
  const std::string documented = "3.10.0";
#elif defined(__riscv)
  const std::string documented = "4.15.0";
#endif
  EXPECT_EQ(OldestKernel(file_, segments_), documented);
}

}  // namespace
}  // namespace kvl::test
