#include "companion/check/binary_head.h"

#include <errno.h>
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <elf.h>
#include <optional>
#include <vector>

#include "companion/check/disc_access.h"
#include "companion/check/special_file.h"
#include "companion/names/path_state.h"

namespace kvl {
namespace {

/// The machine of this process, known without /proc, which may be missing.
#if defined(__x86_64__)
constexpr std::uint16_t kOwnMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr std::uint16_t kOwnMachine = EM_AARCH64;
#elif defined(__powerpc64__)
constexpr std::uint16_t kOwnMachine = EM_PPC64;
#elif defined(__s390x__)
constexpr std::uint16_t kOwnMachine = EM_S390;
#elif defined(__riscv)
constexpr std::uint16_t kOwnMachine = EM_RISCV;
#else
constexpr std::uint16_t kOwnMachine = EM_NONE;  // unknown: any binary may run
#endif

constexpr char kHeaderCutOff[] = "the file ends within its headers";
constexpr char kHeaderWrong[] = "the headers make no sense";
constexpr char kSegmentCutOff[] = "the file ends before its last segment";

/// What the headers of 32 and of 64 bits both begin with.
struct BinaryKind {
  unsigned char width = 0, byte_order = 0;
  std::uint16_t machine = 0;  // in the byte order of the binary

  /// The system ignores these numbers, other programs do not.
  bool MakesSense() const {
    return (width == ELFCLASS32 || width == ELFCLASS64) &&
           (byte_order == ELFDATA2LSB || byte_order == ELFDATA2MSB);
  }
};

unsigned char OwnByteOrder() {
  const std::uint16_t one = 1;
  unsigned char first = 0;
  std::memcpy(&first, &one, sizeof first);
  return first == 1 ? ELFDATA2LSB : ELFDATA2MSB;
}

std::optional<BinaryKind> KindOf(std::string_view bytes) {
  Elf32_Ehdr header;  // up to the machine, it is the same with 64 bits
  constexpr std::size_t kNeeded = offsetof(Elf32_Ehdr, e_machine) + sizeof header.e_machine;
  if (bytes.size() < kNeeded) return {};
  std::memcpy(&header, bytes.data(), kNeeded);
  const unsigned char order = header.e_ident[EI_DATA];
  const unsigned machine = header.e_machine;
  const bool is_turned = order != OwnByteOrder();
  return BinaryKind{
      header.e_ident[EI_CLASS], order,
      static_cast<std::uint16_t>(is_turned ? machine >> 8U | machine << 8U : machine)};
}

bool Runs(const BinaryKind& ours, const BinaryKind& other) {
  if (ours.machine == EM_NONE) return true;
  if (ours.byte_order != other.byte_order) return false;
  if (ours.machine == other.machine) return ours.width == other.width;
  const bool is_older = (ours.machine == EM_X86_64 && other.machine == EM_386) ||
                        (ours.machine == EM_AARCH64 && other.machine == EM_ARM);
  return is_older && other.width == ELFCLASS32;
}

/// Returns the name that people use for the machine.
std::string NameOf(const BinaryKind& kind) {
  struct Machine {
    std::uint16_t number;
    const char *of_32_bits, *of_64_bits;
  };
  static constexpr Machine kMachines[] = {
      {EM_386, "i386", "i386"},         {EM_X86_64, "x32", "x86_64"},
      {EM_ARM, "arm", "arm"},           {EM_AARCH64, "arm64", "arm64"},
      {EM_PPC, "ppc", "ppc"},           {EM_PPC64, "ppc64", "ppc64"},
      {EM_S390, "s390", "s390x"},       {EM_SPARC, "sparc", "sparc"},
      {EM_SPARCV9, "sparc", "sparc64"}, {EM_MIPS, "mips", "mips64"},
      {EM_RISCV, "riscv32", "riscv64"}, {EM_IA_64, "ia64", "ia64"},
  };
  const auto* const machine =
      std::find_if(std::begin(kMachines), std::end(kMachines),
                   [&](const Machine& known) { return known.number == kind.machine; });
  std::string name = machine == std::end(kMachines) ? "machine " + std::to_string(kind.machine)
                     : kind.width == ELFCLASS32     ? machine->of_32_bits
                                                    : machine->of_64_bits;
  if (kind.byte_order != OwnByteOrder()) name += " in the other order of bytes";
  return name;
}

/// A part of the file that the system maps into memory.
struct Segment {
  std::uint32_t type = 0;
  std::uint64_t offset = 0, size = 0;  // in the file
  std::uint64_t address = 0;           // in memory

  bool EndsWithin(std::uint64_t file_size) const {
    return offset <= file_size && size <= file_size - offset;
  }
};

class BinaryReader {
 public:
  BinaryReader(const std::string& path, std::uint64_t file_size)
      : path_(path), file_size_(file_size) {}

  BinaryCheck Run() {
    const FileStart start = ReadStart(path_, sizeof(Elf64_Ehdr));
    if (start.error != 0) return Unread(start.error);
    const std::optional<BinaryKind> kind = KindOf(start.bytes);
    if (!kind) return Damaged(kHeaderCutOff, BinaryEnd::kCannotBeKnown);
    if (!kind->MakesSense()) return Damaged(kHeaderWrong, BinaryEnd::kCannotBeKnown);
    if (!Runs(ours_, *kind)) {
      return {.fault = BinaryFault::kOtherMachine,
              .end = BinaryEnd::kCannotBeKnown,
              .machine = NameOf(*kind),
              .own_machine = NameOf(ours_)};
    }
    return kind->width == ELFCLASS32 ? Look<Elf32_Ehdr, Elf32_Phdr>(start.bytes)
                                     : Look<Elf64_Ehdr, Elf64_Phdr>(start.bytes);
  }

 private:
  BinaryCheck Unread(int error) const {
    return {.fault = BinaryFault::kUnread, .unread = path_, .error = error};
  }

  /// Reports a loader that this process cannot read, although the system may be able to.
  static BinaryCheck UnreadBeside(const std::string& path, int error) {
    return {.fault = BinaryFault::kUnread,
            .end = BinaryEnd::kCannotBeKnown,
            .unread = path,
            .error = error};
  }

  static BinaryCheck Damaged(std::string_view damage, BinaryEnd end) {
    return {.fault = BinaryFault::kDamaged, .end = end, .damage = damage};
  }

  /// The end of a file with bad headers is unknown: the system leaves such a file to a shell.
  template <typename Header, typename ProgramHeader>
  BinaryCheck Look(const std::string& start) {
    Header header;
    if (start.size() < sizeof header) return Damaged(kHeaderCutOff, BinaryEnd::kCannotBeKnown);
    std::memcpy(&header, start.data(), sizeof header);
    const bool makes_sense = (header.e_type == ET_EXEC || header.e_type == ET_DYN) &&
                             header.e_phentsize == sizeof(ProgramHeader) && header.e_phnum != 0;
    if (!makes_sense) return Damaged(kHeaderWrong, BinaryEnd::kCannotBeKnown);
    const std::size_t size = std::size_t{header.e_phnum} * sizeof(ProgramHeader);
    const FileStart table = ReadPiece(path_, header.e_phoff, size);
    if (table.error != 0) return Unread(table.error);
    if (table.bytes.size() < size) return Damaged(kHeaderCutOff, BinaryEnd::kCannotBeKnown);
    for (std::size_t at = 0; at < size; at += sizeof(ProgramHeader)) {
      ProgramHeader entry;
      std::memcpy(&entry, table.bytes.data() + at, sizeof entry);
      segments_.push_back({entry.p_type, entry.p_offset, entry.p_filesz, entry.p_vaddr});
    }
    return LookAtSegments(header.e_entry);
  }

  BinaryCheck LookAtSegments(std::uint64_t entry) {
    const Segment* const interpreter = Find(PT_INTERP);
    BinaryCheck loader;
    if (interpreter != nullptr) loader = LookAtLoader(*interpreter);
    if (loader.fault != BinaryFault::kNone && loader.fault != BinaryFault::kNoLoader) return loader;
    const bool is_whole = std::all_of(segments_.begin(), segments_.end(), [&](const Segment& part) {
      return part.type != PT_LOAD || part.EndsWithin(file_size_);
    });
    if (is_whole) return loader;
    const bool is_refused = loader.fault == BinaryFault::kNoLoader || DiesAtOnce(entry);
    return Damaged(kSegmentCutOff, is_refused ? BinaryEnd::kRefused : BinaryEnd::kCannotBeKnown);
  }

  const Segment* Find(std::uint32_t type) const {
    const auto found = std::find_if(segments_.begin(), segments_.end(),
                                    [&](const Segment& part) { return part.type == type; });
    return found == segments_.end() ? nullptr : &*found;
  }

  /// Returns true if what the program needs first lies on a page behind the end of the file. The
  /// system kills a program that touches such a page.
  bool DiesAtOnce(std::uint64_t entry) const {
    if (const Segment* const dynamic = Find(PT_DYNAMIC))
      return IsBehindTheLastPage(dynamic->offset);
    return std::any_of(segments_.begin(), segments_.end(), [&](const Segment& part) {
      const bool has_entry =
          part.type == PT_LOAD && entry >= part.address && entry - part.address < part.size;
      return has_entry && IsBehindTheLastPage(part.offset + (entry - part.address));
    });
  }

  bool IsBehindTheLastPage(std::uint64_t offset) const {
    const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    return offset / page > (file_size_ - 1) / page;
  }

  BinaryCheck LookAtLoader(const Segment& name) {
    if (name.size < 2 || name.size > PATH_MAX) {
      return Damaged(kHeaderWrong, BinaryEnd::kCannotBeKnown);
    }
    const FileStart text = ReadPiece(path_, name.offset, static_cast<std::size_t>(name.size));
    if (text.error != 0) return Unread(text.error);
    if (text.bytes.size() < name.size) return Damaged(kSegmentCutOff, BinaryEnd::kRefused);
    if (text.bytes.back() != '\0') return Damaged(kHeaderWrong, BinaryEnd::kCannotBeKnown);
    return LookAtLoader(text.bytes.substr(0, text.bytes.find('\0')));
  }

  BinaryCheck LookAtLoader(const std::string& loader) const {
    const PathState state = StateAt(loader);
    const int refusal = state.error != 0 ? state.error : WhyNotAllowed(loader, X_OK);
    if (refusal != 0 && !IsAboutThePath(refusal)) return UnreadBeside(loader, refusal);
    BinaryCheck missing = {.fault = BinaryFault::kNoLoader, .loader = loader};
    if (refusal != 0 || !state.IsFile()) return missing;
    const FileStart start = ReadStart(loader, sizeof(Elf64_Ehdr));
    if (start.error == EACCES) return {};  // the system needs no read permission to load it
    if (start.error != 0) return UnreadBeside(loader, start.error);
    const std::optional<BinaryKind> kind = KindOf(start.bytes);
    return IsBinary(start.bytes) && kind && Runs(ours_, *kind) ? BinaryCheck() : missing;
  }

  const std::string& path_;
  const std::uint64_t file_size_;
  const BinaryKind ours_ = {sizeof(void*) == sizeof(Elf64_Addr) ? ELFCLASS64 : ELFCLASS32,
                            OwnByteOrder(), kOwnMachine};
  std::vector<Segment> segments_;
};

}  // namespace

bool IsBinary(std::string_view start) {
  return start.starts_with(ELFMAG);
}

bool MayRunOn(const std::string& machine, std::string_view start) {
  struct NamedMachine {
    std::string_view name;
    BinaryKind kind;
  };
  static constexpr NamedMachine kMachines[] = {
      {"x86_64", {ELFCLASS64, ELFDATA2LSB, EM_X86_64}},
      {"arm64", {ELFCLASS64, ELFDATA2LSB, EM_AARCH64}},
      {"aarch64", {ELFCLASS64, ELFDATA2LSB, EM_AARCH64}},
      {"ppc64le", {ELFCLASS64, ELFDATA2LSB, EM_PPC64}},
      {"riscv64", {ELFCLASS64, ELFDATA2LSB, EM_RISCV}},
      {"s390x", {ELFCLASS64, ELFDATA2MSB, EM_S390}},
  };
  const auto* const named =
      std::find_if(std::begin(kMachines), std::end(kMachines),
                   [&](const NamedMachine& known) { return known.name == machine; });
  const std::optional<BinaryKind> kind = KindOf(start);
  return named == std::end(kMachines) || !IsBinary(start) || !kind || Runs(named->kind, *kind);
}

BinaryCheck CheckBinary(const std::string& path) {
  const PathState state = StateAt(path);
  if (!state.IsThere()) {
    return {.fault = BinaryFault::kUnread, .unread = path, .error = state.error};
  }
  return BinaryReader(path, state.size).Run();
}

}  // namespace kvl
