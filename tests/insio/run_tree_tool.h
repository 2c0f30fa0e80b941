// Runs the library in a small program of its own, where its use of memory shows.
#pragma once

#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

struct ToolSeen {
  int status = 0;
  int result = 0;   ///< what the operation gave back
  long memory = 0;  ///< the most that was resident at any time, in KiB
  std::string err;  ///< the message of a failure
};

/// Runs tree_tool with these words; see tree_tool.cpp. The new process first calls `before`.
inline ToolSeen RunTreeTool(std::vector<std::string> words,
                            const std::function<void()>& before = {}) {
  words.insert(words.begin(), BuiltProgram("tree_tool"));
  const Outcome outcome = RunProgram({.command = words, .before = before});
  ToolSeen seen = {.status = outcome.status, .err = outcome.err};
  std::istringstream(outcome.out) >> seen.result >> seen.memory;
  return seen;
}

}  // namespace kvl::test
