// What a piece of code or a program said and how it ended.
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

/// Runs `action` in this process with both streams caught. The status is always 0.
Outcome Catch(const std::function<void()>& action);

/// Runs `action` in a child of its own, so that it may end the process, change ids or variables.
/// The status is what it ended the child with; when it returns, its result. An exception that
/// leaves it ends the child by SIGABRT. No child leaves a core file.
Outcome RunIsolated(const std::function<int()>& action);

/// How a program is started.
struct ProgramStart {
  std::vector<std::string> command;  ///< the program's path and its arguments
  Environment env = {};              ///< its whole environment
  std::string directory = {};        ///< its working directory; empty for ours
  std::string input = {};            ///< what it reads on standard input
  /// Called in the child right before the program, streams set up. What it changes in memory, the
  /// test sees.
  std::function<void()> before = {};
};

/// Runs a program to its end. Of our descriptors it gets the three standard streams only; `before`
/// may open more.
Outcome RunProgram(const ProgramStart& start);

/// A program built beside the running one, such as "kvl-launcher".
std::string BuiltProgram(const std::string& name);

/// A file of the source tree: below $KVL_SOURCE_DIR, or where the tests were compiled.
std::string SourceFile(const std::string& relative);

}  // namespace kvl::test
