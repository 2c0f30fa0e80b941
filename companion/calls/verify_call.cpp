#include "companion/calls/verify_call.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <optional>

#include "companion/calls/console_output.h"
#include "companion/calls/last_words.h"
#include "companion/calls/media_directories.h"
#include "companion/calls/progress_line.h"
#include "companion/names/bounded_text.h"
#include "companion/names/plain_text.h"
#include "companion/report/verify_report.h"
#include "companion/verify/contents_comparison.h"
#include "companion/verify/media_verify.h"

namespace kvl {
namespace {

/// Returns the key that `text` is, or that the file `text` holds.
std::optional<PublicKey> KeyOf(const std::string& text) {
  if (const std::optional<PublicKey> key = PublicKey::From(text)) return key;
  try {
    return PublicKey::From(WholeText(KVLInsIO::OpenFile(text), kMostOfASignature));
  } catch (const TooLong&) {
    return {};
  }
}

/// Asks for another volume on standard error: standard output is for the report alone. Returns
/// whether one was inserted.
bool AskFor(const std::string& directory, const std::vector<std::size_t>& numbers,
            const std::string& why) {
  if (!why.empty()) BadCall(why + ": " + directory);
  const std::string what = numbers.empty() ? "" : "Not looked at: " + NamedVolumes(numbers) + ". ";
  std::cerr << what
            << "Insert a volume and press Enter, or press q and Enter to end: " << std::flush;
  std::string answer;
  const bool is_answered = static_cast<bool>(std::getline(std::cin, answer));
  std::cerr << std::endl;
  return is_answered && answer != "q";
}

VerifyReport Verify(const VerifyCall& call, VerifyRequest& request) {
  const bool is_shown = !call.as_json && ::isatty(STDERR_FILENO) == 1;
  ProgressLine line(is_shown);
  const LastWords words(is_shown ? ProgressLine::kRemoved : "", "/");
  request.progress = [&](std::size_t volume, std::uint64_t done, std::uint64_t in_all) {
    line.Show("Volume " + std::to_string(volume), done, in_all);
  };
  if (!call.is_waiting) return VerifyMedia(request);
  return VerifyOneByOne(request, [&](const auto& numbers, const std::string& why) {
    line.Remove();
    return AskFor(call.directories.front(), numbers, why);
  });
}

int StatusOf(const VerifyReport& report) {
  const auto is_unread = [](const Flaw& flaw) { return flaw.kind == FlawKind::kUnreadable; };
  if (std::any_of(report.flaws.begin(), report.flaws.end(), is_unread)) return kNotReadToTheEnd;
  if (report.IsWhole()) return kFine;
  return report.flaws.empty() && !report.looked_at.empty() ? kFineInPart : kProblems;
}

}  // namespace

void AddVerify(CLI::App& app, VerifyCall& call) {
  CLI::App* verify = app.add_subcommand(
      "verify",
      "Reads a media and says whether it is what make wrote: which files are damaged, missing or\n"
      "not listed, and whether all volumes belong together. Changes nothing.");
  verify
      ->add_option("DIR", call.directories,
                   "Directory of a volume, or the directory that holds volumes as 1, 2, ...")
      ->required();
  verify
      ->add_option("--key", call.key,
                   "Public key of minisign, or its file; each manifest must be signed with it")
      ->check(RefuseEmpty)
      ->take_last();
  verify
      ->add_option("--jobs", call.jobs,
                   "How many files verify reads at the same time, 1 to 64\n"
                   "(default: 1, which is best for a disc)")
      ->check(CLI::Range(1U, kMostJobs))
      ->take_last();
  verify
      ->add_flag("--wait", call.is_waiting,
                 "Ask for one volume after the other in DIR, until all have been looked at")
      ->take_last();
  verify->add_flag("--json", call.as_json, "Write one JSON object instead of text")->take_last();
  verify->footer(
      "Exit status: 0 whole (with --key: and genuine), 1 not whole or not genuine, 2 bad call,\n"
      "3 something could not be read, 4 nothing is wrong with the volumes given, and others were\n"
      "not looked at.");
}

int RunVerify(const VerifyCall& call) try {
  VerifyRequest request = {
      .directories = MediaDirectories(call.directories), .key = {}, .jobs = call.jobs};
  if (!call.key.empty()) {
    request.key = KeyOf(call.key);
    if (!request.key) {
      return BadCall("--key is not a public key of minisign: " + call.key +
                     "; give the public key file that minisign -G wrote, or its second line");
    }
  }
  if (call.is_waiting && call.directories.size() > 1) {
    return BadCall("--wait takes one DIR only; name the directory that all volumes come into");
  }
  const VerifyReport report = Verify(call, request);
  if (!Write(call.as_json ? VerifyJson(report) : VerifyText(report))) return BadCall(kCannotWrite);
  return StatusOf(report);
} catch (const std::exception& failure) {
  return BadCall(MessageOf(failure));
}

}  // namespace kvl
