#include "companion/calls/make_call.h"

#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "companion/calls/config_file.h"
#include "companion/calls/console_output.h"
#include "companion/calls/last_words.h"
#include "companion/calls/made_volume.h"
#include "companion/calls/make_text.h"
#include "companion/calls/own_check.h"
#include "companion/calls/progress_line.h"
#include "companion/check/binary_head.h"
#include "companion/check/disc_access.h"
#include "companion/make/disc_image.h"
#include "companion/make/media_maker.h"
#include "companion/make/planned_files.h"
#include "companion/make/source_date.h"
#include "companion/make/volume_size.h"
#include "companion/names/layout_name.h"
#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"
#include "companion/report/json_report.h"
#include "console/signals.h"
#include "environment/environment.h"
#include "environment/media_names.h"
#include "insio/open_directory.h"

namespace kvl {
namespace {

constexpr char kFollow[] = "follow";

/// Returns the path of the launcher that make uses by default: the one beside this program.
std::string LauncherBesideUs() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) {
    throw CannotMake("the launcher beside kvl-media cannot be found: /proc/self/exe: " +
                     error.message() + "; name the launcher with --launcher");
  }
  return self.parent_path() / names::kLauncher;
}

bool IsAnythingIn(const std::string& directory) {
  std::error_code error;
  return !std::filesystem::is_empty(directory, error) && !error;
}

std::string HowToGoOn(const std::string& directory) {
  return "the media is not whole: " + directory + "; remove it and run make again";
}

/// Returns one system for each machine. With fewer than two machines, there is one system, and the
/// last value of each option counts.
std::vector<SystemRequest> SystemsOf(const SystemOptions& given) {
  if (given.machines.size() < 2) {
    const auto last = [](const std::vector<std::string>& values, const std::string& otherwise) {
      return values.empty() ? otherwise : values.back();
    };
    return {{.name = last(given.names, SystemRequest().name),
             .machine = last(given.machines, ""),
             .installer = last(given.installers, ""),
             .launcher = given.launchers.empty() ? LauncherBesideUs() : given.launchers.back()}};
  }
  const std::size_t count = given.machines.size();
  for (const auto* values : {&given.names, &given.installers, &given.launchers}) {
    if (values->size() != count) {
      throw CannotMake(
          "--machine, --system, --installer and --launcher are not given equally often; give each "
          "of them once for each machine (see --help)");
    }
  }
  std::vector<SystemRequest> systems;
  for (std::size_t i = 0; i < count; ++i) {
    systems.push_back({given.names[i], given.machines[i], given.installers[i], given.launchers[i]});
  }
  return systems;
}

/// Throws CannotMake if a program cannot run on the machine of its system.
void CheckMachines(const std::vector<SystemRequest>& systems) {
  constexpr std::size_t kHeader = 64;
  for (const SystemRequest& system : systems) {
    for (const auto& [what, path] :
         {std::pair("installer", system.installer), std::pair("launcher", system.launcher)}) {
      if (MayRunOn(system.machine, ReadStart(path, kHeader).bytes)) continue;
      throw CannotMake(std::string("the ") + what + " is not a program for " + system.machine +
                       ": " + path + "; name one that is, or another --machine");
    }
  }
}

MediaPlan PlanOf(MakeCall& call) {
  if (call.layout) call.request.layout = LayoutNamed(*call.layout);
  if (call.links == kFollow) call.request.links = Links::kFollowed;
  if (call.volume_size) call.request.volume_size = ParseVolumeSize(*call.volume_size);
  if (call.has_images) call.request.images = Images::kBeside;
  if (call.are_images_alone) call.request.images = Images::kAlone;
  call.request.systems = SystemsOf(call.systems);
  CheckMachines(call.request.systems);
  call.request.time = ParseSourceDate(GetEnv(kSourceDateEpoch));
  return PlanMedia(call.request);
}

void Describe(const MediaPlan& plan, MakeReport& report) {
  report.layout = plan.layout;
  report.needed_bytes = plan.room.bytes;
  report.needed_entries = plan.room.entries;
  for (std::size_t i = 1; i <= plan.volumes.size(); ++i) {
    const std::string place = PlaceOfVolume(plan.layout, i);
    const PlannedVolume& volume = plan.volumes[i - 1];
    report.volumes.push_back(
        {.directory = place.empty() ? plan.directory : PathBelow(plan.directory, place),
         .files = volume.files,
         .bytes = volume.bytes});
    if (!report.is_dry_run || plan.images.empty()) continue;
    report.volumes.back().image = plan.images[i - 1].path;
    report.volumes.back().image_bytes = volume.image_bytes;
  }
}

/// Makes the media. Shows each file, or the progress, on standard error: standard output is for the
/// report alone.
void Make(const MakeCall& call, const MediaPlan& plan) {
  const bool is_terminal = ::isatty(STDERR_FILENO) == 1;
  const bool is_shown = !call.is_quiet && !call.is_verbose && is_terminal;
  ProgressLine line(is_shown);
  const LastWords words(
      (is_shown ? ProgressLine::kRemoved : "") + LineForPeople(HowToGoOn(plan.directory)),
      PathBelow(plan.directory, names::kUnfinished));
  std::atomic<std::size_t> begun = 1;
  const auto show_file = [&](std::size_t volume, const std::string& path, std::uint64_t) {
    begun = volume;
    if (!call.is_verbose) return;
    std::fprintf(stderr, "Volume %zu: %s\n", volume, ToOneLine(path).c_str());
  };
  const auto show_bytes = [&](std::uint64_t done, std::uint64_t in_all) {
    line.Show("Volume " + std::to_string(begun), done, in_all);
  };
  MakeMedia(call.request, plan, {show_file, show_bytes});
}

/// Adds a finding for each file that other tools may not get onto a disc or a stick. There are none
/// when make writes the images itself.
void WarnOfLargeFiles(const MediaPlan& plan, const MakeReport& report, Findings& findings) {
  constexpr std::uint64_t kTooLarge = 4ULL << 30U;
  if (!plan.images.empty()) return;
  ForEachCopy(plan, [&](std::size_t volume, const std::string& path, std::uint64_t size) {
    if (size < kTooLarge) return;
    findings.Add(FindingKind::kFileTooLarge, PathBelow(report.volumes[volume - 1].directory, path));
  });
}

void WriteImages(const MakeCall& call, const MediaPlan& plan, MakeReport& report) {
  for (std::size_t i = 1; i <= plan.images.size(); ++i) {
    const DiscImage& image = plan.images[i - 1];
    if (call.is_verbose) {
      std::fprintf(stderr, "Image of volume %zu: %s\n", i, ToOneLine(image.path).c_str());
    }
    MakeReport::Volume& volume = report.volumes[i - 1];
    volume.image_bytes = WriteImage(image, plan.time);
    volume.image = image.path;
  }
}

/// Removes the directories of the volumes. All images must be stored.
void LeaveImagesAlone(const MediaPlan& plan, MakeReport& report) {
  report.starts = false;
  for (std::size_t i = 1; i <= plan.images.size(); ++i) {
    const std::string& directory = plan.images[i - 1].directory;
    report.volumes[i - 1].directory.clear();
    RemoveVolume(directory, i, directory == plan.directory && plan.was_there);
  }
}

/// Writes the images that the plan asks for, and removes the directories if only images are wanted.
/// Returns why that failed, or an empty text.
std::string MakeImages(const MakeCall& call, const MediaPlan& plan, MakeReport& report) {
  if (plan.images.empty()) return {};
  try {
    WriteImages(call, plan, report);
  } catch (const std::exception& failure) {
    return MessageOf(failure) + "; the media in the directories is whole";
  }
  try {
    if (call.request.images == Images::kAlone) LeaveImagesAlone(plan, report);
    if (plan.layout != kSingle) KVLInsIO::OpenDirectory(plan.directory).SetTime(plan.time);
  } catch (const std::exception& failure) {
    return MessageOf(failure) + "; all disc images are whole, remove the rest yourself";
  }
  return {};
}

/// Writes the report and the message, and returns the exit status.
int End(const MakeCall& call, const MakeReport& report, const std::string& text, int status) {
  const std::string output = call.as_json ? JsonReport(report) : text;
  const bool is_said = output.empty() || Write(output);
  if (!report.message.empty()) BadCall(report.message);
  if (is_said) return status;
  return BadCall(report.is_made ? "the media was made, but the report cannot be written: standard "
                                  "output; run kvl-media check to see whether the media starts"
                                : kCannotWrite);
}

}  // namespace

void AddMake(CLI::App& app, MakeCall& call) {
  MediaMakeRequest& request = call.request;
  request.jobs = std::clamp(std::thread::hardware_concurrency(), 1U, 8U);
  CLI::App* make = app.add_subcommand(
      "make",
      "Makes a media from the directory tree PAYLOAD, and splits it into volumes.\n"
      "Overwrites nothing. Volume i holds its part of the payload in payload/i, and the SHA-256 "
      "of\n"
      "each of its files in i.sha256.");
  AddConfigFile(*make);
  make->add_option("PAYLOAD", request.payload, "Directory with what is to be installed")
      ->required();
  make->add_option("DIR", request.directory,
                   "Directory to write the media into; it must be empty or missing")
      ->required();
  make->add_option("--layout", call.layout,
                   "Where the volumes lie: single, flat, sibling or am\n"
                   "(default: single for one volume, sibling for several)")
      ->check(CLI::IsMember(std::vector<std::string>(kLayoutNames.begin(), kLayoutNames.end())));
  make->add_option(
          "--volume-size", call.volume_size,
          "Most bytes of the disc image of a volume: a whole number, also with K, M or G (powers\n"
          "of 1024) or KB, MB or GB (powers of 1000), or cd, dvd or dvd-dl (default: no limit)")
      ->type_name("SIZE");
  CLI::Option* together =
      make->add_option(
              "--keep-together", request.undivided,
              "Directory of PAYLOAD that must lie on one volume with all its contents; repeatable")
          ->allow_extra_args(false)
          ->type_name("DIR");
  make->add_flag("--presorted", request.is_presorted,
                 "PAYLOAD holds directories 1, 2, ..., each with the files for one volume");
  make->add_option("--tag", request.tag,
                   "Text of up to 256 bytes that marks volumes as belonging together")
      ->required();
  CLI::Option* installer =
      make->add_option("--installer", call.systems.installers, "Installer to put on the media")
          ->required();
  make->add_option("--inst", request.inst,
                   "Directory whose contents go into inst: other files that the installer needs");
  make->add_option("--links", call.links,
                   "keep copies symbolic links as links, which must be relative and lead to\n"
                   "something in PAYLOAD (default); follow copies what they lead to")
      ->check(CLI::IsMember({"keep", kFollow}));
  make->add_option("--jobs", request.jobs,
                   "How many files make copies at the same time, 1 to 64\n"
                   "(default: one for each processor, at most 8)")
      ->check(CLI::Range(1, 64));  // each holds descriptors
  CLI::Option* launcher =
      make->add_option("--launcher", call.systems.launchers,
                       "Launcher to put on the media (default: kvl-launcher beside kvl-media)");
  make->add_option("--sign", request.key,
                   "Secret key file of minisign to sign the manifest with (default: no signature)")
      ->check(RefuseEmpty)
      ->type_name("KEY");
  make->add_flag("--iso", call.has_images,
                 "Also write a disc image of each volume, beside its directory and with its name\n"
                 "and .iso (needs xorriso)");
  make->add_flag("--iso-only", call.are_images_alone,
                 "Write these images, and remove the directories when all images are stored");
  CLI::Option* name =
      make->add_option("--system,--os", call.systems.names,
                       "Name of the operating-system directory below inst (default: linux)");
  CLI::Option* machine = make->add_option(
      "--machine", call.systems.machines,
      "Machine that runs the programs of this system: x86_64, arm64, ppc64le, riscv64, s390x or\n"
      "what uname -m prints there (default: every machine); for several machines, repeat it with\n"
      "--system, --installer and --launcher");
  make->add_flag("--dry-run", call.is_dry_run, "Say what make would write, and write nothing");
  make->add_flag("--json", call.as_json, "Write one JSON object instead of text");
  make->add_flag("--quiet", call.is_quiet, "Show no progress, even on a terminal");
  make->add_flag("--verbose", call.is_verbose,
                 "Name each file on standard error when make copies it; with --dry-run, name the\n"
                 "files in the report");
  for (CLI::Option* option : make->get_options()) option->take_last();
  together->take_all();
  for (CLI::Option* of_a_system : {name, machine, installer, launcher}) {
    of_a_system->type_name("TEXT")->allow_extra_args(false)->take_all();
  }
  make->footer(
      "Exit status: 0 done, 1 the media or an image could not be written, or the media cannot be\n"
      "started, 2 bad call.");
}

int RunMake(MakeCall call) {
  const SignalScope signals;
  ::umask(S_IWGRP | S_IWOTH);  // with a stricter one, make could not enter its own directories
  MakeReport report;
  report.tag = call.request.tag;
  report.is_dry_run = call.is_dry_run;
  std::optional<MediaPlan> plan;
  try {
    plan = PlanOf(call);
    Describe(*plan, report);
    if (call.is_dry_run) {
      WarnOfLargeFiles(*plan, report, report.findings);
      return End(call, report, TextOfPlan(report, *plan, call.is_verbose), kFine);
    }
    Make(call, *plan);
  } catch (const CannotMake& reason) {
    report.message = reason.what();
    return End(call, report, "", kBadCall);
  } catch (const std::exception& failure) {
    report.message = MessageOf(failure);
    const int status = End(call, report, "", kProblems);
    if (plan && IsAnythingIn(plan->directory)) BadCall(HowToGoOn(plan->directory));
    return status;
  }
  const OwnCheck own = CheckOwnMedia(report.volumes.front().directory);
  report.is_made = true;
  report.starts = own.starts;
  report.findings = own.findings;
  WarnOfLargeFiles(*plan, report, report.findings);
  if (!own.is_sound) {
    report.message = "the media cannot be started: " + plan->directory +
                     "; correct the errors that are reported, remove the media and run make again";
  } else {
    report.message = MakeImages(call, *plan, report);
  }
  return End(call, report, TextOfMade(report), report.message.empty() ? kFine : kProblems);
}

}  // namespace kvl
