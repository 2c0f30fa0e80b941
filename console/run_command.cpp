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
    // Message: ERROR: Cannot create process [...]
    // Cause: The limit of processes or of memory is reached. The next message follows, too.
    // Remedy: End other programs, or raise the limit (`ulimit -u`).
    logger.Message("Cannot create process " + command, kError, kMarked);
  }
  if (!wait) return 0;
  const int code = child.Wait();
  // Message: ERROR: Cannot wait for process [...]
  // Cause: The installer could not be started, a signal killed it, or its exit code was above
  // 250. It cannot be started if it has no execute permission, if its file system is mounted
  // `noexec`, if its `#!` line names a program that is missing or ends in a carriage return, if
  // its library loader is missing, if the path of `TMPDIR` holds a double quote, or if a policy
  // of the system (SELinux) forbids it.
  // Remedy: If the installer has printed something, it ran: read its output, and the log of the
  // system for a lack of memory (`dmesg`). Else ask `kvl-media check`, copy volume 1 again with
  // its permissions, set `TMPDIR` to a directory without `noexec`, or read the log of refusals
  // (`ausearch -m avc`).
  if (code < 0) logger.Message("Cannot wait for process " + command, kError, kMarked);
  return code;
}

}  // namespace kvl
