// Running a command given as text, with its messages.
#pragma once

#include <string>

namespace kvl {

class Logger;
class SignalScope;

/// Sets what every command finds in its environment: PANELV2ODOTOP, to the empty text.
void ExportToCommand();

/// Starts `command`, split by the rules of SplitCommand, and waits for it unless `wait` is false.
/// Calls ExportToCommand before. Returns the child's exit code, 0 to 250; -1 when it
/// could not be started or waited for, was killed by a signal or ended with a code above 250; 0 at
/// once when it does not wait. Without a child of its own it waits for any other that the process may
/// have, and its exit code is then the result.
/// When it waits, `signals` leaves the keyboard to the child. It does so to its end, so that the
/// caller can end with the child's result, whatever is typed meanwhile.
/// Errors are messages: "Cannot create process " + command when no child could be made, and "Cannot
/// wait for process " + command whenever the result of a wait is negative. On purpose the first does
/// not spare the second, and a killed child or one whose program is missing gets the second.
int RunCommand(const std::string& command, bool wait, Logger& logger, SignalScope& signals);

}  // namespace kvl
