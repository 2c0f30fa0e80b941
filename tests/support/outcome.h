// The output of a piece of code or a program, and its end.
#pragma once

#include "tests/support/scoped_env.h"
#include "tests/support/test.h"

namespace kvl::test {

struct Outcome {
  int status = 0;        ///< the exit status; minus the signal's number after a death by a signal
  std::string out = {};  ///< everything on standard output
  std::string err = {};  ///< everything on standard error

  bool operator==(const Outcome&) const = default;
  friend void PrintTo(const Outcome& outcome, std::ostream* stream) {
    *stream << "status " << outcome.status << ", out \"" << outcome.out << "\", err \""
            << outcome.err << "\"";
  }
};

/// Runs `action` in this process and catches both streams. The status is always 0.
Outcome Catch(const std::function<void()>& action);

/// Runs `action` in a child, so that it may end the process or change ids or variables. The status
/// is that with which `action` ended the child, or its result. An exception from `action` ends the
/// child by SIGABRT. No child leaves a core file.
Outcome RunIsolated(const std::function<int()>& action);

/// How to start a program.
struct ProgramStart {
  std::vector<std::string> command;  ///< the program's path and its arguments
  Environment env = {};              ///< its whole environment
  std::string directory = {};        ///< its working directory; empty for ours
  std::string input = {};            ///< what it reads on standard input
  /// Called in the child right before the program starts, after the streams are set up. The test
  /// sees its changes to memory.
  std::function<void()> before = {};
};

/// Runs a program to its end. It gets only the three standard streams of this process's
/// descriptors; `before` may open more.
Outcome RunProgram(const ProgramStart& start);

/// Returns the path of a program built beside the running one, such as "kvl-launcher".
std::string BuiltProgram(const std::string& name);

/// Returns the path of a file of the source tree: below $KVL_SOURCE_DIR, or where the tests were
/// compiled.
std::string SourceFile(const std::string& relative);

}  // namespace kvl::test
