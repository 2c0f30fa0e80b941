#include "companion/check/program_head.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <elf.h>
#include <optional>
#include <utility>

#include "companion/check/special_file.h"
#include "companion/names/path_state.h"

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

ProgramHead::ProgramHead(const std::string& path) : ProgramHead(ReadStart(path, kMostBytes)) {}

ProgramHead::ProgramHead(FileStart start) : start_(std::move(start)) {
  start_.bytes.resize(std::min(start_.bytes.size(), kMostBytes));
}

std::string ProgramHead::FirstLine() const {
  return IsScript() ? start_.bytes.substr(0, start_.bytes.find('\n')) : std::string();
}

std::string ProgramHead::Interpreter() const {
  const std::string line = FirstLine();
  if (line.size() == kMostBytes) return {};  // it may go on
  const std::size_t begin = line.find_first_not_of(" \t", 2);
  if (begin == std::string::npos) return {};
  return line.substr(begin, line.find_first_of(" \t", begin) - begin);
}

int ProgramHead::WhyNoInterpreter() const {
  const std::string interpreter = Interpreter();
  if (interpreter.empty()) return 0;
  const PathState state = StateAt(interpreter);
  if (!state.IsThere()) return state.error;
  return state.IsFile() ? WhyNotAllowed(interpreter, X_OK) : EACCES;
}

bool ProgramHead::IsBinary() const {
  return KindOf(start_.bytes).has_value();
}

bool ProgramHead::IsBinaryOfThisMachine() const {
  const std::optional<BinaryKind> kind = KindOf(start_.bytes);
  if (!kind) return false;
  const std::optional<BinaryKind> ours = KindOf(ProgramHead(kSelf).start_.bytes);
  return !ours || Runs(*ours, *kind);
}

Severity SeverityOfUnread(const ProgramHead& head) {
  return head.Error() == EACCES ? Severity::kWarning : Severity::kError;
}

bool AddUnreadHead(const std::string& path, const ProgramHead& head, Severity severity,
                   Findings& findings) {
  if (head.Error() == 0) return false;
  if (head.Error() == EACCES) {
    findings.Add(FindingKind::kClosedFile, severity, path);
  } else {
    AddUnread(path, head.Error(), severity, findings);
  }
  return true;
}

void AddCarriageReturn(const std::string& path, const ProgramHead& head, Findings& findings) {
  if (head.HasCarriageReturn()) findings.Add(FindingKind::kCarriageReturn, Severity::kError, path);
}

int AddMissingInterpreter(const std::string& path, const ProgramHead& head, Findings& findings) {
  const int error = head.WhyNoInterpreter();
  if (error == 0 || head.Interpreter().ends_with('\r')) return error;
  if (AddUnseen(head.Interpreter(), error, Severity::kError, findings)) return error;
  findings.Add(FindingKind::kInterpreterMissing, path, {head.Interpreter()});
  return error;
}

}  // namespace kvl
