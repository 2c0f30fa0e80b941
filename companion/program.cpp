#include "companion/program.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "companion/check/media_check.h"
#include "companion/make/media_maker.h"
#include "companion/make/source_date.h"
#include "companion/make/volume_size.h"
#include "companion/names/layout_name.h"
#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"
#include "companion/report/json_report.h"
#include "companion/report/text_report.h"
#include "console/text.h"
#include "environment/environment.h"
#include "environment/media_names.h"

namespace {

using kvl::kBadCall;
using kvl::kFine;
using kvl::kProblems;

constexpr char kCannotWrite[] = "the report cannot be written";

/// One line on standard error.
int BadCall(const std::string& text) {
  std::fprintf(stderr, "kvl-media: %s\n", kvl::ToOneLine(text).c_str());
  return kBadCall;
}

/// The one text that a call writes to standard output. True when it has arrived as far as the system
/// can say: a network file system may fail as late as on closing, be it of another descriptor.
bool Write(const std::string& text) {
  const bool is_written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  const bool is_flushed = std::fflush(stdout) == 0;
  return is_written && is_flushed && ::close(::dup(STDOUT_FILENO)) == 0;
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
    return BadCall(kCannotWrite);
  }
  return report.findings.Count() == 0 ? kFine : kProblems;
}

/// Where the launcher to put on a media lies unless somebody says otherwise: beside this program.
std::string LauncherBesideUs() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : (self.parent_path() / kvl::names::kLauncher).string();
}

struct MakeCall {
  kvl::MediaMakeRequest request;
  std::optional<std::string> layout;       // as it was given
  std::optional<std::string> volume_size;  // likewise
  bool is_quiet = false;
};

void AddMake(CLI::App& app, MakeCall& call) {
  kvl::MediaMakeRequest& request = call.request;
  request.launcher = LauncherBesideUs();
  CLI::App* make = app.add_subcommand(
      "make",
      "Makes a media from a payload tree, split into volumes. DIR must be empty or missing;\n"
      "nothing is ever overwritten. Volume i holds payload/i and its list of SHA-256, i.sha256.");
  make->add_option("PAYLOAD", request.payload, "Directory of what is to be installed")->required();
  make->add_option("DIR", request.directory, "Directory to write the media into")->required();
  make->add_option("--layout", call.layout,
                   "single, flat, sibling or am (default: single for one volume, else sibling)")
      ->check(CLI::IsMember(
          std::vector<std::string>(kvl::kLayoutNames.begin(), kvl::kLayoutNames.end())));
  make->add_option("--volume-size", call.volume_size,
                   "Most bytes on a volume, with K, M or G for powers of 1024 (default: no limit)")
      ->type_name("SIZE");
  make->add_flag("--presorted", request.is_presorted,
                 "PAYLOAD holds directories 1, 2, ... with what goes onto each volume");
  make->add_option("--tag", request.tag, "Text that marks volumes as belonging together")
      ->required();
  make->add_option("--installer", request.installer, "Installer to put on the media")->required();
  make->add_option("--inst", request.inst,
                   "Directory whose contents go into inst, too: what the installer needs");
  make->add_option("--launcher", request.launcher,
                   "Launcher to put on the media (default: kvl-launcher beside this program)");
  make->add_option("--os", request.os_name,
                   "Name of the operating-system directory below inst (default: linux)");
  make->add_flag("--quiet", call.is_quiet, "Show no progress, even on a terminal");
  for (CLI::Option* option : make->get_options()) option->take_last();
  make->footer("Exit status: 0 done, 1 the media could not be written, 2 bad call.");
}

/// A path as it can be pasted into a shell, on one line.
std::string Quoted(const std::string& path) {
  std::string text = kvl::ToOneLine(path);
  const bool is_plain = text == path;
  kvl::ReplaceAll(text, "'", is_plain ? "'\\''" : "\\'", 0);
  return (is_plain ? "'" : "$'") + text + "'";
}

/// One line on a terminal, rewritten whenever its figures change.
class ProgressLine {
 public:
  explicit ProgressLine(bool is_shown) : is_shown_(is_shown) {}
  ~ProgressLine() {
    if (!line_.empty()) std::fputs("\r\033[K", stderr);
  }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void Show(std::size_t volume, std::uint64_t done, std::uint64_t in_all) {
    if (!is_shown_) return;
    const std::uint64_t percent = in_all == 0 ? 100 : done / (in_all / 100 + 1);
    std::string line =
        "Volume " + std::to_string(volume) + ", " + std::to_string(percent) + " % of the payload";
    if (line == line_) return;
    line_ = std::move(line);
    std::fprintf(stderr, "\r%s\033[K", line_.c_str());
  }

 private:
  bool is_shown_;
  std::string line_;
};

int Make(MakeCall call) try {
  if (call.layout) call.request.layout = kvl::LayoutNamed(*call.layout);
  if (call.volume_size) call.request.volume_size = kvl::ParseVolumeSize(*call.volume_size);
  call.request.time = kvl::ParseSourceDate(kvl::GetEnv(kvl::kSourceDateEpoch));
  kvl::MadeMedia made;
  {
    ProgressLine line(!call.is_quiet && ::isatty(STDERR_FILENO) == 1);
    made = kvl::MakeMedia(call.request,
                          [&](std::size_t volume, std::uint64_t done, std::uint64_t in_all) {
                            line.Show(volume, done, in_all);
                          });
  }
  const bool is_said =
      Write("Made a media with tag " + kvl::ToOneLine(call.request.tag) + ", layout " +
            kvl::NameOf(made.layout) + ", volumes: " + std::to_string(made.volumes) +
            ".\nFirst volume: " + Quoted(made.first_volume) + "\nStart it with: " +
            Quoted(kvl::PathBelow(made.first_volume, kvl::names::kStartTui)) + "\n");
  if (is_said) return kFine;
  BadCall("the media was made, but the message cannot be written");
  return kProblems;
} catch (const kvl::CannotMake& reason) {
  return BadCall(reason.what());
} catch (const std::exception& failure) {
  BadCall(kvl::MessageOf(failure));
  return kProblems;
}

/// What to say of a call that the parser refused.
std::string WhyRefused(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> unexpected = app.remaining(/*recurse=*/true);
  const bool has_subcommand = !app.get_subcommands().empty();
  const auto word = std::find_if(unexpected.begin(), unexpected.end(),
                                 [](const std::string& text) { return !text.starts_with('-'); });
  if (!has_subcommand && word != unexpected.end()) {
    return "no subcommand: " + *word + " (see --help)";
  }
  const bool is_about_them = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr ||
                             (!has_subcommand && !unexpected.empty());
  if (!is_about_them) return std::string(error.what()) + " (see --help)";
  // The parser itself would name them in no order to rely on.
  std::string text = unexpected.size() == 1 ? "The following argument was not expected:"
                                            : "The following arguments were not expected:";
  for (const std::string& argument : unexpected) text += " " + argument;
  const bool is_check = has_subcommand && app.get_subcommands().front()->get_name() == "check";
  return text + (is_check ? " (arguments for the launcher stand behind --)" : " (see --help)");
}

int Run(std::vector<std::string> arguments) {
  CLI::App app("Checks and makes installation media.", "kvl-media");
  app.set_version_flag("--version", "kvl-media " KVL_VERSION);
  app.set_help_flag("-h,--help", "Print this text");
  app.require_subcommand(1);
  CheckCall check;
  AddCheck(app, check);
  MakeCall make;
  AddMake(app, make);

  // Only for a check they mean something of their own; elsewhere the parser knows what they mean.
  const bool is_check = !arguments.empty() && arguments.front() == "check";
  const auto end = is_check ? std::find(arguments.begin(), arguments.end(), "--") : arguments.end();
  const std::vector<std::string> rest(end == arguments.end() ? end : end + 1, arguments.end());
  arguments.erase(end, arguments.end());
  std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
  try {
    app.parse(arguments);
  } catch (const CLI::Success& asked_for) {  // --help and --version
    std::ostringstream text;
    app.exit(asked_for, text, text);
    return Write(text.str()) ? kFine : BadCall(kCannotWrite);
  } catch (const CLI::ParseError& error) {
    return BadCall(WhyRefused(app, error));
  }
  return app.got_subcommand("make") ? Make(make) : Check(check, rest);
}

}  // namespace

namespace kvl {

int RunKvlMedia(const std::vector<std::string>& arguments) try {
  return Run(arguments);
} catch (const std::exception& failure) {
  return BadCall(failure.what());
}

}  // namespace kvl
