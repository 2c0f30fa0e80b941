#include "companion/calls/clean_call.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <vector>

#include "companion/calls/console_output.h"
#include "companion/clean/left_overs.h"
#include "companion/names/plain_text.h"
#include "environment/temporary_directory.h"

namespace kvl {
namespace {

std::string LabelOf(Fate fate) {
  switch (fate) {
    case Fate::kCanGo:
      return "left over    ";
    case Fate::kRemoved:
      return "removed      ";
    case Fate::kNotRemoved:
      return "not removed  ";
    case Fate::kLeftAlone:
      break;
  }
  return "left alone   ";
}

std::string LineOf(const LeftOver& left) {
  const std::string reason = left.reason.empty() ? "" : ": " + ToOneLine(left.reason);
  return LabelOf(left.fate) + ToOneLine(left.path) + reason + "\n";
}

}  // namespace

void AddClean(CLI::App& app, CleanCall& call) {
  CLI::App* clean = app.add_subcommand(
      "clean",
      "Lists what staged runs of this user have left in a temporary directory; with --yes, "
      "removes\n"
      "it. Leaves alone what is in use or was not clearly left by such a run, and says why.");
  clean
      ->add_option("DIR", call.directory,
                   "Temporary directory to look in (default: that of TMPDIR, or /tmp)")
      ->check(RefuseEmpty);
  clean->add_flag("--yes", call.is_removing, "Remove what staged runs have left");
  for (CLI::Option* option : clean->get_options()) option->take_last();
  clean->footer("Exit status: 0 nothing is left, 1 something is left, 2 bad call.");
}

int RunClean(const CleanCall& call) try {
  const std::string directory = call.directory.empty() ? TemporaryDirectory() : call.directory;
  const std::vector<LeftOver> found =
      call.is_removing ? RemoveLeftOvers(directory) : FindLeftOvers(directory);
  std::string text;
  for (const LeftOver& left : found) text += LineOf(left);
  if (found.empty()) text = "Nothing is left in " + ToOneLine(directory) + "\n";
  if (!Write(text)) return BadCall(kCannotWrite);
  const bool is_all_gone = std::all_of(
      found.begin(), found.end(), [](const LeftOver& left) { return left.fate == Fate::kRemoved; });
  return is_all_gone ? kFine : kProblems;
} catch (const std::exception& failure) {
  return BadCall(MessageOf(failure));
}

}  // namespace kvl
