// Runs a command that is given as text, and writes the messages about it.
#pragma once

#include <string>

namespace kvl {

class Logger;
class SignalScope;

/// Sets PANELV2ODOTOP to the empty text, for the command's environment.
void ExportToCommand();

/// Calls ExportToCommand, starts `command`, split by the rules of SplitCommand, and waits for it
/// unless `wait` is false.
///
/// Returns the child's exit code, 0 to 250. Returns -1 if the child cannot be started or waited
/// for, is killed by a signal, or ends with a code above 250. Returns 0 at once if `wait` is false.
/// If no child could be started, waits for any other child of the process and returns its exit
/// code.
///
/// When it waits, lets `signals` leave the keyboard to the child, to the end of `signals`, so that
/// the caller can end with the child's result whatever somebody types meanwhile.
///
/// Writes the error "Cannot create process " + command if there is no child, and the error "Cannot
/// wait for process " + command if the result of a wait is negative. On purpose the second also
/// follows the first, and also reports a killed child and a child whose program is missing.
int RunCommand(const std::string& command, bool wait, Logger& logger, SignalScope& signals);

}  // namespace kvl
