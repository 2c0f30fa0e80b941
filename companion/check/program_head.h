// The first bytes of a program, from which the system sees how to run it.
#pragma once

#include <string>

#include "companion/check/binary_head.h"
#include "companion/check/disc_access.h"
#include "companion/check/findings.h"

namespace kvl {

class ProgramHead {
 public:
  explicit ProgramHead(const std::string& path);
  /// Of a program whose first bytes, these or more, have been read already.
  explicit ProgramHead(FileStart start);

  /// Why nothing is known of it, see FileStart; then it is like an empty file.
  int Error() const { return start_.error; }
  bool IsEmpty() const { return start_.bytes.empty(); }
  bool IsScript() const { return start_.bytes.starts_with("#!"); }
  /// Of a script.
  bool HasCarriageReturn() const { return FirstLine().ends_with('\r'); }
  /// The program that a script names, exactly as the system reads it, so that a carriage return may
  /// be its end; empty when it names none.
  std::string Interpreter() const;
  /// Why the system would not start the script for want of its interpreter: an error, or 0.
  int WhyNoInterpreter() const;
  bool IsBinary() const { return kvl::IsBinary(start_.bytes); }

 private:
  std::string FirstLine() const;

  FileStart start_;
};

/// A warning for a program that may be executed although it may not be read, else an error.
Severity SeverityOfUnread(const ProgramHead& head);

/// True when nothing is known of it, which is added to the findings.
bool AddUnreadHead(const std::string& path, const ProgramHead& head, Severity severity,
                   Findings& findings);

/// The carriage return at the end of its first line is an error of a script.
void AddCarriageReturn(const std::string& path, const ProgramHead& head, Findings& findings);

/// Adds what keeps a binary from being started, of one for another machine as `other_machine`, and
/// gives it back.
BinaryCheck AddBinaryFault(const std::string& path, FindingKind other_machine, Findings& findings);

/// That the interpreter of a script is missing; nothing when the carriage return is the reason. Gives
/// back what WhyNoInterpreter says, which is asked once: a disc may answer otherwise the next time.
int AddMissingInterpreter(const std::string& path, const ProgramHead& head, Findings& findings);

}  // namespace kvl
