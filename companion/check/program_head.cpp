#include "companion/check/program_head.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "companion/check/special_file.h"
#include "companion/names/path_state.h"

namespace kvl {
namespace {

constexpr std::size_t kMostBytes = 256;  // the system looks at no more bytes

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
  if (line.size() == kMostBytes) return {};  // the line may be longer
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

BinaryCheck AddBinaryFault(const std::string& path, FindingKind other_machine, Findings& findings) {
  BinaryCheck check = CheckBinary(path);
  switch (check.fault) {
    case BinaryFault::kNone:
      break;
    case BinaryFault::kOtherMachine:
      findings.Add(other_machine, path, {check.machine, check.own_machine});
      break;
    case BinaryFault::kDamaged:
      findings.Add(FindingKind::kProgramCutOff, path, {check.damage});
      break;
    case BinaryFault::kNoLoader:
      findings.Add(FindingKind::kLoaderMissing, path, {check.loader});
      break;
    case BinaryFault::kUnread:
      AddUnread(check.unread, check.error, Severity::kError, findings);
      break;
  }
  return check;
}

int AddMissingInterpreter(const std::string& path, const ProgramHead& head, Findings& findings) {
  const int error = head.WhyNoInterpreter();
  if (error == 0 || head.Interpreter().ends_with('\r')) return error;
  if (AddUnseen(head.Interpreter(), error, Severity::kError, findings)) return error;
  findings.Add(FindingKind::kInterpreterMissing, path, {head.Interpreter()});
  return error;
}

}  // namespace kvl
