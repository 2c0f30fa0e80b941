#include "companion/program_head.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <elf.h>
#include <fstream>

#include "insio/entry.h"

namespace kvl {
namespace {

constexpr std::size_t kMostBytes = 256;  // the system looks at no more
constexpr char kSelf[] = "/proc/self/exe";

/// What the headers of all widths begin with, in the order of the machine's own bytes.
struct BinaryKind {
  unsigned char byte_order = 0;
  Elf64_Half machine = 0;
};

std::optional<BinaryKind> KindOf(const std::string& bytes) {
  Elf64_Ehdr header;
  if (!bytes.starts_with(ELFMAG) || bytes.size() < sizeof header) return {};
  std::memcpy(&header, bytes.data(), sizeof header);
  return BinaryKind{header.e_ident[EI_DATA], header.e_machine};
}

bool Runs(const BinaryKind& ours, const BinaryKind& other) {
  if (ours.byte_order != other.byte_order) return false;
  return ours.machine == other.machine || (ours.machine == EM_X86_64 && other.machine == EM_386) ||
         (ours.machine == EM_AARCH64 && other.machine == EM_ARM);
}

}  // namespace

std::optional<ProgramHead> ProgramHead::Read(const std::string& path) {
  if (!KVLInsIO::IsRegularFile(path)) return {};
  std::ifstream file(path, std::ios::binary);
  if (!file) return {};
  std::string bytes(kMostBytes, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return ProgramHead(std::move(bytes));
}

std::string ProgramHead::FirstLine() const {
  return IsScript() ? bytes_.substr(0, bytes_.find('\n')) : std::string();
}

std::string ProgramHead::Interpreter() const {
  const std::string line = FirstLine();
  if (line.size() == kMostBytes) return {};  // it may go on
  const std::size_t begin = line.find_first_not_of(" \t", 2);
  if (begin == std::string::npos) return {};
  return line.substr(begin, line.find_first_of(" \t", begin) - begin);
}

bool ProgramHead::HasInterpreter() const {
  const std::string interpreter = Interpreter();
  return interpreter.empty() || (KVLInsIO::IsRegularFile(interpreter) &&
                                 ::faccessat(AT_FDCWD, interpreter.c_str(), X_OK, AT_EACCESS) == 0);
}

bool ProgramHead::IsBinaryOfThisMachine() const {
  const std::optional<BinaryKind> kind = KindOf(bytes_);
  if (!kind) return false;
  const std::optional<ProgramHead> self = Read(kSelf);
  const std::optional<BinaryKind> ours = self ? KindOf(self->bytes_) : std::nullopt;
  return !ours || Runs(*ours, *kind);
}

void AddCarriageReturn(const std::string& path, const ProgramHead& head, Findings& findings) {
  if (!head.HasCarriageReturn()) return;
  findings.Add({"carriage-return", Severity::kError, path, "its first line has a carriage return",
                "save it with line feeds alone"});
}

void AddMissingInterpreter(const std::string& path, const ProgramHead& head, Findings& findings) {
  if (head.HasInterpreter() || head.Interpreter().ends_with('\r')) return;
  findings.Add({"interpreter-missing", Severity::kError, path,
                "its first line names a program that is missing or cannot be executed: " +
                    head.Interpreter(),
                "correct the line, or install that program"});
}

}  // namespace kvl
