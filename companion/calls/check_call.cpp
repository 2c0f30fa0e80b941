#include "companion/calls/check_call.h"

#include <CLI/CLI.hpp>

#include "companion/calls/console_output.h"
#include "companion/check/media_check.h"
#include "companion/report/json_report.h"
#include "companion/report/text_report.h"
#include "console/signals.h"

namespace kvl {

void AddCheck(CLI::App& app, CheckCall& call) {
  CLI::App* check = app.add_subcommand(
      "check",
      "Says what the launcher would do with a media, and what is wrong with it.\n"
      "Changes nothing and starts nothing. What follows \"--\" are arguments for the launcher;\n"
      "the environment counts, too. Without --os and --installer, KVL_OS and KVL_Installer_EXE\n"
      "are taken from the environment, or else from StartTUI.sh of the media.");
  check
      ->add_option("DIR", call.directory,
                   "Directory of volume 1 of the media, or of directories 1, 2, ...")
      ->required();
  check->add_option("--os", call.os_name, "Name of the operating-system directory below inst");
  check->add_option("--installer", call.installer_name, "File name of the installer");
  check->add_flag("--json", call.as_json, "Write one JSON object instead of text");
  check->add_flag("--verbose", call.is_verbose,
                  "Show command, variables and messages, too (JSON always has them)");
  for (CLI::Option* option : check->get_options()) option->take_last();
  check->footer("Exit status: 0 fine, 1 problems, 2 bad call.");
}

int RunCheck(const CheckCall& call, const std::vector<std::string>& launcher_arguments) {
  const SignalScope signals;
  const std::string directory = MediaDirectory(call.directory);
  if (directory.empty()) return BadCall("not a directory: " + call.directory);
  const MediaReport report =
      CheckMedia({directory, call.os_name, call.installer_name, launcher_arguments});
  const Detail detail = call.is_verbose ? Detail::kVerbose : Detail::kShort;
  if (!Write(call.as_json ? JsonReport(report) : TextReport(report, detail))) {
    return BadCall(kCannotWrite);
  }
  return report.findings.Count() == 0 ? kFine : kProblems;
}

}  // namespace kvl
