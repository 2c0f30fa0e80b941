// The first bytes of a program, which tell the system how to run it.
#pragma once

#include <string>

#include "companion/check/binary_head.h"
#include "companion/check/disc_access.h"
#include "companion/check/findings.h"

namespace kvl {

class ProgramHead {
 public:
  explicit ProgramHead(const std::string& path);
  /// Takes the first bytes of a program. `start` may hold more bytes than the system looks at.
  explicit ProgramHead(FileStart start);

  /// Returns why the file could not be read, see FileStart. All else is then as for an empty file.
  int Error() const { return start_.error; }
  bool IsEmpty() const { return start_.bytes.empty(); }
  bool IsScript() const { return start_.bytes.starts_with("#!"); }
  /// Returns true if the first line of a script ends with a carriage return.
  bool HasCarriageReturn() const { return FirstLine().ends_with('\r'); }
  /// Returns the program that the first line of a script names, as the system reads it: it may end
  /// with a carriage return. Returns an empty text if the line names no program.
  std::string Interpreter() const;
  /// Returns the error of the system if it cannot start the interpreter of the script, else 0.
  int WhyNoInterpreter() const;
  bool IsBinary() const { return kvl::IsBinary(start_.bytes); }

 private:
  std::string FirstLine() const;

  FileStart start_;
};

/// Returns a warning if only read permission is missing, because the program may still start, else
/// an error.
Severity SeverityOfUnread(const ProgramHead& head);

/// Returns true, and adds a finding, if the program could not be read.
bool AddUnreadHead(const std::string& path, const ProgramHead& head, Severity severity,
                   Findings& findings);

/// Adds an error if the first line of a script ends with a carriage return.
void AddCarriageReturn(const std::string& path, const ProgramHead& head, Findings& findings);

/// Checks a binary, adds a finding for its fault, and returns the result. `other_machine` is the
/// kind of the finding about a binary for another machine.
BinaryCheck AddBinaryFault(const std::string& path, FindingKind other_machine, Findings& findings);

/// Adds an error if the interpreter of a script is missing, unless a carriage return is the reason.
/// Returns the result of WhyNoInterpreter. Asks only once: a disc may give another answer later.
int AddMissingInterpreter(const std::string& path, const ProgramHead& head, Findings& findings);

}  // namespace kvl
