// The first bytes of a program, from which the system sees how to run it.
#pragma once

#include <optional>
#include <string>

#include "companion/findings.h"

namespace kvl {

class ProgramHead {
 public:
  /// Nothing for what is no regular file or cannot be read.
  static std::optional<ProgramHead> Read(const std::string& path);

  bool IsEmpty() const { return bytes_.empty(); }
  bool IsScript() const { return bytes_.starts_with("#!"); }
  /// Of a script.
  bool HasCarriageReturn() const { return FirstLine().ends_with('\r'); }
  /// The program that a script names, exactly as the system reads it, so that a carriage return may
  /// be its end; empty when it names none.
  std::string Interpreter() const;
  /// False when the system would not start the script for want of its interpreter.
  bool HasInterpreter() const;
  /// True for a binary of the kind that this process was started from, or of its 32-bit relative.
  bool IsBinaryOfThisMachine() const;

 private:
  explicit ProgramHead(std::string bytes) : bytes_(std::move(bytes)) {}
  std::string FirstLine() const;

  std::string bytes_;
};

/// The carriage return at the end of its first line is an error of a script.
void AddCarriageReturn(const std::string& path, const ProgramHead& head, Findings& findings);

/// That the interpreter of a script is missing; nothing when the carriage return is the reason.
void AddMissingInterpreter(const std::string& path, const ProgramHead& head, Findings& findings);

}  // namespace kvl
