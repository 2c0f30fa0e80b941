// The report on a media for programs.
#pragma once

#include <string>

#include "companion/check/media_report.h"
#include "companion/report/make_report.h"

namespace kvl {

/// One object, indented, with a line feed at the end. Its keys are always there, in this order:
///
///   format          1; a change that breaks readers raises it
///   fine            true when there are no findings
///   expectation     of a launcher that is started without the start script: "installer-runs",
///                   "bad-command-line", "no-installer", "blank-in-installer-media", "abort", "query",
///                   "staging-fails", "cannot-start"
///   status          the launcher's exit status, 134 for an abort; null when the installer decides
///   start           of a start by StartTUI.sh: "start-script-fails", "launcher-cannot-start", or else
///                   as the expectation
///   media           the directory of volume 1
///   found_in        the directory that was given when that of volume 1 lies below it, else empty
///   os, os_source, installer_name, installer_name_source    what the launcher is told, and by what:
///                   "option" of the call, "environment", "start-script", "argument" ("-env") or "none"
///   layout          "single", "flat", "sibling", "am", "unknown", "not-looked-for"
///   volume_count    as in "volumes.txt", 1 without it, 0 when it has no number
///   tag             of volume 1
///   volumes         of a media of several: number, directory, tag, and state "found", "missing",
///                   "other-tag", "unreadable" or "no-tag"
///   installer       path (as found), source: "media", "argument", "variable" or "none"
///   staged          true when the launcher copies the installer
///   staging         directory, files, directories, bytes, free_bytes, free_entries (files and
///                   directories; null without a limit), names (relative, sorted; empty beyond 100000); null when nothing is to be staged
///   command         the installer as it would be started, and its arguments; empty when the run
///                   ends before
///   variables       what the launcher sets or changes for it
///   messages        the launcher's lines before it stages and starts
///   findings        code, severity ("error" or "warning"), path (may be empty), text, remedy
///   further         by code, how many findings there are beyond the 100 that are listed
///
/// A tag of more than 256 bytes is Shortened to them, as is a variable or a message of more than
/// 131072 bytes, which the system would hand to no program.
///
/// All is UTF-8. Every text is written as ToOneLine does it, before JSON's own rules, so that its
/// bytes can be told exactly and none of them moves a terminal that shows the report.
std::string JsonReport(const MediaReport& report);

/// The same of a call of make; the keys:
///
///   format, findings, further    as above
///   made            true when the media was made
///   dry_run         true when nothing was to be written
///   starts          true when the media can be started where it lies
///   message         why it was not made or is not sound; else empty
///   tag             as in the call
///   layout          a name as above; null when the call was refused
///   needed          bytes and entries (files and directories) that it takes on its file system
///   volumes         number, directory, and of its payload files and bytes
std::string JsonReport(const MakeReport& report);

}  // namespace kvl
