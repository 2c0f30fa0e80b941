#include "tests/insio/run_tree_tool.h"

#include <sstream>

#include "tests/support/outcome.h"

namespace kvl::test {

ToolSeen RunTreeTool(const std::vector<std::string>& words, const std::function<void()>& before) {
  ProgramStart start;
  start.command = {BuiltProgram("tree_tool")};
  start.command.insert(start.command.end(), words.begin(), words.end());
  start.before = before;
  const Outcome outcome = RunProgram(start);
  ToolSeen seen;
  seen.status = outcome.status;
  seen.err = outcome.err;
  std::istringstream(outcome.out) >> seen.result >> seen.memory;
  return seen;
}

}  // namespace kvl::test
