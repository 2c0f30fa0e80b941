#include "console/run_command.h"

#include "console/child_process.h"
#include "console/command_split.h"
#include "console/logger.h"
#include "console/signals.h"
#include "environment/environment.h"
#include "environment/variables.h"

namespace kvl {

void ExportToCommand() {
  SetEnv(variables::kPanel, "");
}

int RunCommand(const std::string& command, bool wait, Logger& logger, SignalScope& signals) {
  ExportToCommand();
  if (wait) signals.LeaveTheKeyboardToTheChild();
  ChildProcess child;
  if (!child.Start(SplitCommand(command), signals)) {
    logger.Message("Cannot create process " + command, kError, kMarked);
  }
  if (!wait) return 0;
  const int code = child.Wait();
  if (code < 0) logger.Message("Cannot wait for process " + command, kError, kMarked);
  return code;
}

}  // namespace kvl
