#include "companion/make/media_plan.h"

#include <unistd.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "companion/make/image_plan.h"
#include "companion/make/payload_links.h"
#include "companion/make/payload_walk.h"
#include "companion/make/record_room.h"
#include "companion/names/layout_name.h"
#include "companion/names/lost_and_found.h"
#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "companion/names/plain_text.h"
#include "companion/seal/listed_path.h"
#include "companion/seal/manifest.h"
#include "companion/seal/minisign.h"
#include "environment/media_names.h"
#include "insio/entry.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

using KVLInsIO::EntryState;
using KVLInsIO::OpenDirectory;
using KVLInsIO::OpenFile;

/// Room for media.xml, meta.TOCxml, ReadMe_UNIX.txt, StartGUI.sh, StartTUI.sh and volumes.txt.
/// Without the lines for each volume and for each further system, each has less than 4096 bytes.
constexpr std::uint64_t kTextsOfTheFirstVolume = 12 * kDiscBlock;

void CheckKey(const std::string& key) {
  if (key.empty()) return;
  PlanFile("key", key, "--sign");
  if (!HasMinisign()) throw CannotMake(kNoMinisign);
}

/// `argument` names the directory in the message.
OpenDirectory PlanDirectory(const std::string& path, const std::string& argument) {
  if (!fs::is_directory(path)) {
    throw CannotMake(argument + " is not a directory: " + path + "; name a directory");
  }
  return OpenDirectory(path);
}

void CheckDirectory(const std::string& directory) {
  if (!StateOfEntry(directory).IsThere()) return;
  if (!fs::is_directory(directory)) {
    throw CannotMake("DIR is not a directory: " + directory +
                     "; name one that is empty or missing");
  }
  if (::access(directory.c_str(), R_OK | W_OK | X_OK) != 0) {
    throw CannotMake("you have no permission to read and write DIR: " + directory +
                     "; name another directory");
  }
  CheckIsEmpty(OpenDirectory(directory));
}

/// `argument` names the source in the message.
void CheckIsOutside(const std::string& directory, const std::string& argument,
                    const std::string& source) {
  const fs::path inside = fs::weakly_canonical(directory).lexically_relative(fs::canonical(source));
  if (!inside.empty() && *inside.begin() != "..") {
    throw CannotMake("DIR lies inside " + argument + ": " + directory +
                     "; name a directory outside of it");
  }
}

/// Checks that the tag can stand in a line of a marker, and in XML.
void CheckTag(const std::string& tag) {
  if (tag.empty()) throw CannotMake("--tag is empty; give a text of 1 to 256 bytes");
  if (tag.size() > kLongestTag) {
    throw CannotMake("--tag is too long: " + std::to_string(tag.size()) +
                     " bytes; give a text of 1 to 256 bytes");
  }
  std::string text = tag;
  std::erase(text, '\\');
  const bool is_plain = ToOneLine(text) == text;
  const bool has_noncharacter = text.find("\xEF\xBF\xBE") != std::string::npos ||
                                text.find("\xEF\xBF\xBF") != std::string::npos;
  if (!is_plain || has_noncharacter) {
    throw CannotMake("--tag has a character that is not allowed: " + tag +
                     "; give one line of UTF-8 without control characters");
  }
}

void PlanInst(const MediaMakeRequest& request, MediaPlan& plan) {
  if (request.inst.empty()) return;
  plan.inst.emplace(PlanDirectory(request.inst, "--inst"));
  CheckIsOutside(plan.directory, "--inst", request.inst);
  plan.inst_entries = ListPayload(*plan.inst, request.links);
  const std::shared_ptr<const PayloadList> as_it_is(std::shared_ptr<void>(), &plan.inst_entries);
  CheckLinks({PlannedVolume(as_it_is, as_it_is->begin(), as_it_is->end())});
  std::vector<std::string> own = {names::kVolumesFile, PathBelow(names::kCommon, "")};
  for (const PlannedSystem& system : plan.systems) {
    own.insert(own.end(), {system.PathOfInstaller(), system.PathOfLauncher()});
  }
  for (const PayloadEntry& entry : plan.inst_entries) {
    const bool is_own = std::any_of(own.begin(), own.end(), [&](const std::string& path) {
      return path == entry.name || (!entry.IsDirectory() && path.starts_with(entry.name + "/"));
    });
    if (is_own) {
      throw CannotMake("--inst holds something that make itself puts into inst: " +
                       PathBelow(request.inst, entry.name) + "; remove it from --inst");
    }
  }
}

/// Returns by how many bytes an image grows with "inst": the contents of --inst, and what make puts
/// there.
std::uint64_t BytesOfInst(const MediaPlan& plan) {
  std::map<std::string, PayloadEntry, PathOrder> entries;
  const auto add = [&entries](const PayloadEntry& entry) {
    entries.try_emplace(entry.name, entry);
  };
  for (const PayloadEntry& entry : plan.inst_entries) add(entry);
  add({.name = names::kCommon, .type = EntryType::kDirectory});
  add({.name = names::kVolumesFile});
  for (const PlannedSystem& system : plan.systems) {
    add({.name = system.PathOfLauncher(), .size = system.launcher.state.size});
    add({.name = system.PathOfInstaller(), .size = system.installer.state.size});
    for (std::string way = system.Programs(); !way.empty(); way = Place(way).directory) {
      add({.name = way, .type = EntryType::kDirectory});
    }
  }
  ImageRoom room;
  for (const auto& [name, entry] : entries) room.Add(entry);
  return room.BytesInAnother();
}

/// Returns the directories to keep together, by the names that the list of the payload has.
/// ./a/b/  =>  a/b
std::set<std::string> Undivided(const MediaMakeRequest& request) {
  if (request.is_presorted && !request.undivided.empty()) {
    throw CannotMake("--keep-together and --presorted exclude each other; leave one of them out");
  }
  std::set<std::string> directories;
  for (const std::string& path : request.undivided) {
    const std::string plain = fs::path(path + "/.").lexically_normal();
    directories.insert(plain.substr(0, plain.find_last_not_of('/') + 1));
  }
  return directories;
}

void PlanVolumes(const MediaMakeRequest& request, MediaPlan& plan) {
  std::uint64_t names = request.tag.size();
  // Five paths in the manifest have the name of a system in them: those of three directories and
  // two programs.
  for (const PlannedSystem& system : plan.systems) {
    names += 5 * system.Programs().size() + system.installer_name.size();
  }
  const std::uint64_t signature = request.key.empty() ? 0 : kDiscBlock;
  const std::uint64_t way = request.layout == Layout::kAm ? kLongestWay : kLongestWayButAm;
  const VolumeRoom room = {
      .most_bytes = request.volume_size,
      .on_first = BytesOfInst(plan) + kTextsOfTheFirstVolume +
                  (plan.systems.size() - 1) * 4 * kDiscBlock +
                  OnDisc(ListLength(plan.inst_entries, way)),
      .in_manifest = ManifestLength(plan.inst_entries, way) + names + signature,
      .undivided = Undivided(request),
      .way = way};
  plan.volumes = request.is_presorted
                     ? PresortedPayload(plan.payload, request.links, room)
                     : SplitPayload(ListPayload(plan.payload, request.links), room);
  CheckLinks(plan.volumes);
}

void SumUp(const MediaMakeRequest& request, MediaPlan& plan) {
  std::optional<std::int64_t> newest;
  for (const PlannedVolume& volume : plan.volumes) {
    plan.bytes_in_all += volume.bytes;
    for (const PayloadEntry& entry : volume) {
      if (entry.IsFile()) newest = std::max(newest, std::optional(entry.modified));
    }
  }
  plan.time = request.time.value_or(newest.value_or(plan.systems.front().installer.state.modified));
}

Layout ChosenLayout(std::optional<Layout> wanted, std::size_t volumes) {
  const bool is_one = volumes == 1;
  const Layout layout = wanted.value_or(is_one ? kSingle : Layout::kSibling);
  if (is_one && layout != kSingle) {
    throw CannotMake(std::string("--layout ") + NameOf(layout) +
                     " needs two volumes or more, and the media has one; use --layout single, or "
                     "make more volumes");
  }
  if (!is_one && layout == kSingle) {
    throw CannotMake("--layout single has one volume, and the media needs " +
                     std::to_string(volumes) + "; use another layout, or make fewer volumes");
  }
  return layout;
}

MediaPlan Plan(const MediaMakeRequest& request) {
  CheckTag(request.tag);
  std::vector<PlannedSystem> systems = PlanSystems(request.systems);
  CheckKey(request.key);
  if (request.images != Images::kNone && !HasXorriso()) throw CannotMake(kNoXorriso);
  OpenDirectory payload = PlanDirectory(request.payload, "PAYLOAD");
  const std::string directory = AbsolutePath(request.directory);
  CheckDirectory(directory);
  CheckIsOutside(directory, "PAYLOAD", request.payload);
  MediaPlan plan = {
      .directory = directory,
      .was_there = StateOfEntry(directory).IsThere(),
      .layout = kSingle,
      .systems = std::move(systems),
      .payload = std::move(payload),
      .inst = {},
      .inst_entries = {},
      .volumes = {},
      .bytes_in_all = 0,
      .time = 0,
      .images = {},
      .room = {},
  };
  PlanInst(request, plan);
  PlanVolumes(request, plan);
  SumUp(request, plan);
  plan.layout = ChosenLayout(request.layout, plan.volumes.size());
  plan.is_signed = !request.key.empty();
  if (request.images != Images::kNone) plan.images = PlanImages(request, plan);
  plan.room = CheckRoom(plan);
  return plan;
}

}  // namespace

/// Throws CannotMake for failures of the library, too.
MediaPlan PlanMedia(const MediaMakeRequest& request) {
  try {
    return Plan(request);
  } catch (const CannotMake&) {
    throw;
  } catch (const std::runtime_error& failure) {
    throw CannotMake(MessageOf(failure));
  }
}

void RefuseAsNotEmpty(const OpenDirectory& directory) {
  throw CannotMake("the directory is not empty: " + directory.Path() +
                   "; empty it, or name another one");
}

std::vector<std::string> NamesInTarget(const OpenDirectory& directory) {
  std::vector<std::string> names = directory.Names();
  std::erase_if(names, [&](const std::string& name) { return IsLostAndFound(directory, name); });
  return names;
}

void CheckIsEmpty(const OpenDirectory& directory) {
  const std::vector<std::string> names = NamesInTarget(directory);
  if (std::binary_search(names.begin(), names.end(), names::kUnfinished)) {
    throw CannotMake("another make is writing there, or was interrupted: " + directory.Path() +
                     "; wait for it, or remove what it left and run make again");
  }
  if (!names.empty()) RefuseAsNotEmpty(directory);
}

}  // namespace kvl
