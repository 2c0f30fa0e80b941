// kvl-media: checks and makes installation media.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "companion/json_report.h"
#include "companion/media_check.h"
#include "companion/plain_text.h"
#include "companion/text_report.h"

namespace {

enum Status : int { kFine = 0, kProblems = 1, kBadCall = 2 };

/// One line on standard error.
int BadCall(const std::string& text) {
  std::fprintf(stderr, "kvl-media: %s\n", kvl::ToOneLine(text).c_str());
  return kBadCall;
}

bool Write(const std::string& text) {
  const bool is_written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  return std::fflush(stdout) == 0 && is_written;
}

struct CheckCall {
  std::string directory;
  std::string os_name;
  std::string installer_name;
  bool as_json = false;
  bool is_verbose = false;
};

void AddCheck(CLI::App& app, CheckCall& call) {
  CLI::App* check = app.add_subcommand(
      "check",
      "Says what the launcher would do with a media, and what is wrong with it.\n"
      "Changes nothing and starts nothing. What follows \"--\" are arguments for the launcher;\n"
      "the environment counts, too. Without --os and --installer, KVL_OS and KVL_Installer_EXE\n"
      "are taken from the environment, or else from StartTUI.sh of the media.");
  check->add_option("DIR", call.directory, "Directory of volume 1 of the media")->required();
  check->add_option("--os", call.os_name, "Name of the operating-system directory below inst");
  check->add_option("--installer", call.installer_name, "File name of the installer");
  check->add_flag("--json", call.as_json, "Write one JSON object instead of text");
  check->add_flag("--verbose", call.is_verbose,
                  "Show command, variables and messages, too (JSON always has them)");
  for (CLI::Option* option : check->get_options()) option->take_last();
  check->footer("Exit status: 0 fine, 1 problems, 2 bad call.");
}

int Check(const CheckCall& call, const std::vector<std::string>& launcher_arguments) {
  const std::string directory = kvl::MediaDirectory(call.directory);
  if (directory.empty()) return BadCall("not a directory: " + call.directory);
  const kvl::MediaReport report =
      kvl::CheckMedia({directory, call.os_name, call.installer_name, launcher_arguments});
  const kvl::Detail detail = call.is_verbose ? kvl::Detail::kVerbose : kvl::Detail::kShort;
  if (!Write(call.as_json ? kvl::JsonReport(report) : kvl::TextReport(report, detail))) {
    return BadCall("the report cannot be written");
  }
  return report.findings.Count() == 0 ? kFine : kProblems;
}

int Run(std::vector<std::string> arguments) {
  CLI::App app("Checks and makes installation media.", "kvl-media");
  app.set_version_flag("--version", "kvl-media " KVL_VERSION);
  app.set_help_flag("--help", "Print this text");
  app.require_subcommand(1);
  CheckCall check;
  AddCheck(app, check);

  const auto end = std::find(arguments.begin(), arguments.end(), "--");
  const std::vector<std::string> rest(end == arguments.end() ? end : end + 1, arguments.end());
  arguments.erase(end, arguments.end());
  std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
  try {
    app.parse(arguments);
  } catch (const CLI::Success& asked_for) {  // --help and --version
    app.exit(asked_for);
    return kFine;
  } catch (const CLI::ParseError& error) {
    return BadCall(std::string(error.what()) + " (see --help)");
  }
  return Check(check, rest);
}

}  // namespace

int main(int argc, char** argv) try {
  return Run(std::vector<std::string>(argv + std::min(argc, 1), argv + argc));
} catch (const std::exception& failure) {
  return BadCall(failure.what());
}
