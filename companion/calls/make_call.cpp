#include "companion/calls/make_call.h"

#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "companion/calls/console_output.h"
#include "companion/calls/last_words.h"
#include "companion/calls/own_check.h"
#include "companion/calls/progress_line.h"
#include "companion/make/media_maker.h"
#include "companion/make/source_date.h"
#include "companion/make/volume_size.h"
#include "companion/names/layout_name.h"
#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"
#include "companion/report/text_report.h"
#include "console/signals.h"
#include "environment/environment.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

constexpr char kFollow[] = "follow";

/// Where the launcher to put on a media lies unless somebody says otherwise: beside this program.
std::string LauncherBesideUs() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : (self.parent_path() / names::kLauncher).string();
}

std::string TextOf(const MadeMedia& made, const std::string& tag, const OwnCheck& own) {
  std::string text = "Made a media with tag " + ToOneLine(tag) + ", layout " + NameOf(made.layout) +
                     ", volumes: " + std::to_string(made.volumes) +
                     ".\nFirst volume: " + Quoted(made.first_volume) + "\n";
  if (own.starts) {
    text += "Start it with: " + Quoted(PathBelow(made.first_volume, names::kStartTui)) + "\n";
  }
  return text + FindingLines(own.findings);
}

int Failed(const std::string& text) {
  BadCall(text);
  return kProblems;
}

std::string HowToGoOn(const std::string& directory) {
  return directory + " is not whole; remove it and run make again";
}

int FailedIn(const std::string& directory, const std::string& text) {
  Failed(text);
  std::error_code error;
  const bool is_nothing_left = std::filesystem::is_empty(directory, error) || error;
  return is_nothing_left ? kProblems : Failed(HowToGoOn(directory));
}

MediaPlan PlanOf(MakeCall& call) {
  if (call.layout) call.request.layout = LayoutNamed(*call.layout);
  if (call.links == kFollow) call.request.links = Links::kFollowed;
  if (call.volume_size) call.request.volume_size = ParseVolumeSize(*call.volume_size);
  call.request.time = ParseSourceDate(GetEnv(kSourceDateEpoch));
  return PlanMedia(call.request);
}

MadeMedia Make(const MakeCall& call, const MediaPlan& plan) {
  const bool is_shown = !call.is_quiet && ::isatty(STDERR_FILENO) == 1;
  ProgressLine line(is_shown);
  const LastWords words(
      (is_shown ? ProgressLine::kRemoved : "") + LineForPeople(HowToGoOn(plan.directory)),
      PathBelow(plan.directory, names::kUnfinished));
  return MakeMedia(call.request, plan,
                   [&](std::size_t volume, std::uint64_t done, std::uint64_t in_all) {
                     line.Show(volume, done, in_all);
                   });
}

}  // namespace

void AddMake(CLI::App& app, MakeCall& call) {
  MediaMakeRequest& request = call.request;
  request.launcher = LauncherBesideUs();
  request.jobs = std::clamp(std::thread::hardware_concurrency(), 1U, 8U);
  CLI::App* make = app.add_subcommand(
      "make",
      "Makes a media from a payload tree, split into volumes. DIR must be empty or missing;\n"
      "nothing is ever overwritten. Volume i holds payload/i and its list of SHA-256, i.sha256.");
  make->add_option("PAYLOAD", request.payload, "Directory of what is to be installed")->required();
  make->add_option("DIR", request.directory, "Directory to write the media into")->required();
  make->add_option("--layout", call.layout,
                   "single, flat, sibling or am (default: single for one volume, else sibling)")
      ->check(CLI::IsMember(std::vector<std::string>(kLayoutNames.begin(), kLayoutNames.end())));
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
  make->add_option("--links", call.links,
                   "keep: links stay links and lead to something in PAYLOAD (default);\n"
                   "follow: what they lead to is copied")
      ->check(CLI::IsMember({"keep", kFollow}));
  make->add_option("--jobs", request.jobs,
                   "How many files are copied beside each other (default: one for each processor)")
      ->check(CLI::Range(1, 256));
  make->add_option("--launcher", request.launcher,
                   "Launcher to put on the media (default: kvl-launcher beside this program)");
  make->add_option("--os", request.os_name,
                   "Name of the operating-system directory below inst (default: linux)");
  make->add_flag("--quiet", call.is_quiet, "Show no progress, even on a terminal");
  for (CLI::Option* option : make->get_options()) option->take_last();
  make->footer("Exit status: 0 done, 1 the media could not be written, 2 bad call.");
}

int RunMake(MakeCall call) {
  const SignalScope signals;
  ::umask(S_IWGRP | S_IWOTH);  // a stricter one would keep us out of what we make
  std::optional<MediaPlan> plan;
  MadeMedia made;
  try {
    plan = PlanOf(call);
    made = Make(call, *plan);
  } catch (const CannotMake& reason) {
    return BadCall(reason.what());
  } catch (const std::exception& failure) {
    return FailedIn(plan->directory, MessageOf(failure));
  }
  const OwnCheck own = CheckOwnMedia(made.first_volume);
  if (!Write(TextOf(made, call.request.tag, own))) {
    return Failed("the media was made, but the message cannot be written");
  }
  if (own.is_sound) return kFine;
  return Failed(
      "the media cannot be started; correct what was found, remove it and run make again");
}

}  // namespace kvl
