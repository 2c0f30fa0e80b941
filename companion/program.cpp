#include "companion/program.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <sstream>
#include <string>
#include <vector>

#include "companion/calls/check_call.h"
#include "companion/calls/clean_call.h"
#include "companion/calls/console_output.h"
#include "companion/calls/make_call.h"
#include "companion/calls/seal_call.h"
#include "companion/calls/verify_call.h"

namespace kvl {
namespace {

/// Returns the message for a call that the parser refused.
std::string WhyRefused(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> unexpected = app.remaining(/*recurse=*/true);
  const bool has_subcommand = !app.get_subcommands().empty();
  const auto word = std::find_if(unexpected.begin(), unexpected.end(),
                                 [](const std::string& text) { return !text.starts_with('-'); });
  if (!has_subcommand && word != unexpected.end()) {
    return "unknown subcommand: " + *word + "; use check, make, seal, verify or clean (see --help)";
  }
  const bool is_about_them = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr ||
                             (!has_subcommand && !unexpected.empty());
  if (!is_about_them) return std::string(error.what()) + " (see --help)";
  // The parser does not name them in the order of the call.
  std::string text = unexpected.size() == 1 ? "unexpected argument:" : "unexpected arguments:";
  for (const std::string& argument : unexpected) text += " " + argument;
  const bool is_check = has_subcommand && app.get_subcommands().front()->get_name() == "check";
  return text + (is_check ? "; put arguments for the launcher behind --" : "") + " (see --help)";
}

int Run(std::vector<std::string> arguments) {
  CLI::App app("Checks, makes, seals and verifies installation media, and removes what runs left.",
               "kvl-media");
  app.set_version_flag("--version", "kvl-media " KVL_VERSION, "Print the version");
  app.set_help_flag("-h,--help", "Print this help text");
  app.require_subcommand(1);
  CheckCall check;
  AddCheck(app, check);
  MakeCall make;
  AddMake(app, make);
  SealCall seal;
  AddSeal(app, seal);
  VerifyCall verify;
  AddVerify(app, verify);
  CleanCall clean;
  AddClean(app, clean);

  // Arguments of check behind "--" are for the launcher. In other calls the parser handles "--".
  const bool is_check = !arguments.empty() && arguments.front() == "check";
  const auto end = is_check ? std::find(arguments.begin(), arguments.end(), "--") : arguments.end();
  const std::vector<std::string> rest(end == arguments.end() ? end : end + 1, arguments.end());
  arguments.erase(end, arguments.end());
  std::reverse(arguments.begin(), arguments.end());  // the order that the parser requires
  try {
    app.parse(arguments);
  } catch (const CLI::Success& asked_for) {  // --help and --version
    std::ostringstream text;
    app.exit(asked_for, text, text);
    return Write(text.str()) ? kFine : BadCall(kCannotWrite);
  } catch (const CLI::ParseError& error) {
    return BadCall(WhyRefused(app, error));
  }
  if (app.got_subcommand("make")) return RunMake(make);
  if (app.got_subcommand("seal")) return RunSeal(seal);
  if (app.got_subcommand("clean")) return RunClean(clean);
  return app.got_subcommand("verify") ? RunVerify(verify) : RunCheck(check, rest);
}

}  // namespace

int RunKvlMedia(const std::vector<std::string>& arguments) try {
  return Run(arguments);
} catch (const std::exception& failure) {
  return BadCall(failure.what());
}

}  // namespace kvl
