#include "companion/calls/check_call.h"

#include <CLI/CLI.hpp>

#include "companion/calls/console_output.h"
#include "companion/calls/media_directories.h"
#include "companion/check/media_check.h"
#include "companion/report/json_report.h"
#include "companion/report/text_report.h"
#include "console/signals.h"

namespace kvl {

void AddCheck(CLI::App& app, CheckCall& call) {
  CLI::App* check = app.add_subcommand(
      "check",
      "Says what the launcher would do with a media, and what is wrong with the media.\n"
      "Changes nothing and starts nothing. Arguments behind \"--\" are for the launcher.\n"
      "The environment counts as it does for the launcher.");
  check
      ->add_option("DIR", call.directory,
                   "Directory of volume 1, or the directory that holds volumes as 1, 2, ...")
      ->required();
  check->add_option("--os", call.os_name,
                    "Name of the operating-system directory below inst\n"
                    "(default: KVL_OS from the environment, or else from StartTUI.sh)");
  check->add_option("--installer", call.installer_name,
                    "File name of the installer\n"
                    "(default: KVL_Installer_EXE from the environment, or else from StartTUI.sh)");
  check->add_flag("--json", call.as_json, "Write one JSON object instead of text");
  check->add_flag("--verbose", call.is_verbose,
                  "Also show the installer's command, the variables and the launcher's messages\n"
                  "(JSON always has them)");
  for (CLI::Option* option : check->get_options()) option->take_last();
  check->footer("Exit status: 0 no problems, 1 problems, 2 bad call.");
}

int RunCheck(const CheckCall& call, const std::vector<std::string>& launcher_arguments) {
  const SignalScope signals;
  const std::string directory = MediaDirectory(call.directory);
  if (directory.empty()) return BadCall(NotAMediaDirectory(call.directory));
  const MediaReport report =
      CheckMedia({directory, call.os_name, call.installer_name, launcher_arguments});
  const Detail detail = call.is_verbose ? Detail::kVerbose : Detail::kShort;
  if (!Write(call.as_json ? JsonReport(report) : TextReport(report, detail))) {
    return BadCall(kCannotWrite);
  }
  return report.findings.Count() == 0 ? kFine : kProblems;
}

}  // namespace kvl
