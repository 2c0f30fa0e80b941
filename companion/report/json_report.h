// The reports of `kvl-media check` and `kvl-media make` as JSON.
#pragma once

#include <string>

#include "companion/check/media_report.h"
#include "companion/report/make_report.h"

namespace kvl {

/// Returns one object, indented, with a line feed at the end. It always has these keys, in this
/// order:
///
///   format          1; a change that breaks readers raises it
///   fine            true without findings
///   expectation     the outcome if the launcher is started without the start script:
///                   "installer-runs", "bad-command-line", "no-installer",
///                   "blank-in-installer-media", "abort", "query", "staging-fails", "cannot-start"
///                   or "cannot-be-known"
///   status          the exit status of the launcher, 134 for an abort; null if the installer
///                   decides or the outcome is unknown
///   start           the outcome of a start by StartTUI.sh: "start-script-fails",
///                   "launcher-cannot-start" or the expectation
///   media           the directory of volume 1
///   found_in        the given directory if volume 1 lies below it, else empty
///   os, os_source, installer_name, installer_name_source
///                   the names that the launcher gets, and what gives them: "option" of the call,
///                   "environment", "start-script", "argument" ("-env") or "none"
///   layout          "single", "flat", "sibling", "am", "unknown" or "not-looked-for"
///   volume_count    the number in "volumes.txt"; 1 without the file, 0 if the number is unknown
///   tag             the tag of volume 1
///   volumes         of a media of several volumes: number, directory, tag, and state: "found",
///                   "missing", "other-tag", "unreadable" or "no-tag"
///   installer       path (in the media), source: "media", "argument", "variable" or "none"
///   staged          true if the launcher copies the installer
///   staging         directory, files, directories, bytes, free_bytes, free_entries (of files and
///                   directories; null without a limit), names (relative, sorted; empty beyond
///                   100000); null if the launcher stages nothing
///   command         the path of the installer and its arguments; empty if the run ends before
///   variables       the variables that the launcher sets or changes for the installer
///   messages        the lines of the launcher before it stages and starts the installer
///   findings        code, severity ("error" or "warning"), path (may be empty), text, remedy
///   further         for each code, the number of findings beyond the 100 that are listed
///
/// A tag of more than 256 bytes is Shortened to 256, and so is a variable or a message of more than
/// 131072 bytes, because the system passes no such text to a program.
///
/// The report is UTF-8. ToOneLine writes every text before the rules of JSON apply, so readers can
/// restore its exact bytes, and no text moves a terminal that shows the report.
std::string JsonReport(const MediaReport& report);

/// Returns the same kind of object for a call of make, with these keys:
///
///   format, findings, further    as above
///   made            true if the media was made
///   dry_run         true in a dry run, which writes nothing
///   starts          true if the media starts where it lies
///   message         why the media was not made or is not sound; else empty
///   tag             the tag of the call
///   layout          a name as above; null if the call was refused
///   needed          bytes and entries (files and directories) that the media takes
///   volumes         number, directory, files and bytes (of the payload), image, image_bytes
std::string JsonReport(const MakeReport& report);

}  // namespace kvl
