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

/// Scripts and descriptions, each of less than 4096 bytes, without the lines for each volume and each further
/// system: media.xml, meta.TOCxml, ReadMe_UNIX.txt, StartGUI.sh, StartTUI.sh, volumes.txt.
constexpr std::uint64_t kTextsOfTheFirstVolume = 12 * kDiscBlock;

void CheckKey(const std::string& key) {
  if (key.empty()) return;
  PlanFile("key", key);
  if (!HasMinisign()) throw CannotMake(kNoMinisign);
}

OpenDirectory PlanDirectory(const std::string& path) {
  if (!fs::is_directory(path)) throw CannotMake("not a directory: " + path);
  return OpenDirectory(path);
}

void CheckDirectory(const std::string& directory) {
  if (!StateOfEntry(directory).IsThere()) return;
  if (!fs::is_directory(directory)) throw CannotMake("not a directory: " + directory);
  if (::access(directory.c_str(), R_OK | W_OK | X_OK) != 0) {
    throw CannotMake("no permission to write into: " + directory);
  }
  CheckIsEmpty(OpenDirectory(directory));
}

/// `what` names the source in the message.
void CheckIsOutside(const std::string& directory, const std::string& what,
                    const std::string& source) {
  const fs::path inside = fs::weakly_canonical(directory).lexically_relative(fs::canonical(source));
  if (!inside.empty() && *inside.begin() != "..") {
    throw CannotMake("the directory lies inside " + what + ": " + directory);
  }
}

/// The tag stands in the markers as it is, and in a file of XML.
void CheckTag(const std::string& tag) {
  if (tag.empty()) throw CannotMake("--tag must not be empty");
  if (tag.size() > kLongestTag) throw CannotMake("--tag must not be longer than 256 bytes");
  std::string text = tag;
  std::erase(text, '\\');
  const bool is_plain = ToOneLine(text) == text;
  const bool has_noncharacter = text.find("\xEF\xBF\xBE") != std::string::npos ||
                                text.find("\xEF\xBF\xBF") != std::string::npos;
  if (!is_plain || has_noncharacter) {
    throw CannotMake("--tag must be one line of UTF-8 without control characters: " + tag);
  }
}

void PlanInst(const MediaMakeRequest& request, MediaPlan& plan) {
  if (request.inst.empty()) return;
  plan.inst.emplace(PlanDirectory(request.inst));
  CheckIsOutside(plan.directory, "the directory for inst", request.inst);
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
      throw CannotMake("this is put into inst anyway: " + PathBelow(request.inst, entry.name));
    }
  }
}

/// What "inst" takes, with what is put into it anyway, on an image that has more than that.
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

/// As the list of a payload names them.   ./a/b/  =>  a/b
std::set<std::string> Undivided(const MediaMakeRequest& request) {
  if (request.is_presorted && !request.undivided.empty()) {
    throw CannotMake("--keep-together: --presorted says what lies together");
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
  // Three directories and two programs have the names of their system in their paths.
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
  const std::string text = std::string("layout ") + NameOf(layout);
  if (is_one && layout != kSingle) {
    throw CannotMake(text + " needs two volumes or more, and all fits on one");
  }
  if (!is_one && layout == kSingle) {
    throw CannotMake(text + " has one volume, and " + std::to_string(volumes) + " are needed");
  }
  return layout;
}

MediaPlan Plan(const MediaMakeRequest& request) {
  CheckTag(request.tag);
  std::vector<PlannedSystem> systems = PlanSystems(request.systems);
  CheckKey(request.key);
  if (request.images != Images::kNone && !HasXorriso()) throw CannotMake(kNoXorriso);
  OpenDirectory payload = PlanDirectory(request.payload);
  const std::string directory = AbsolutePath(request.directory);
  CheckDirectory(directory);
  CheckIsOutside(directory, "the payload", request.payload);
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

/// What the library cannot look at is as good a reason as any other.
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
  throw CannotMake("the directory is not empty: " + directory.Path());
}

std::vector<std::string> NamesInTarget(const OpenDirectory& directory) {
  std::vector<std::string> names = directory.Names();
  std::erase_if(names, [&](const std::string& name) { return IsLostAndFound(directory, name); });
  return names;
}

void CheckIsEmpty(const OpenDirectory& directory) {
  const std::vector<std::string> names = NamesInTarget(directory);
  if (std::binary_search(names.begin(), names.end(), names::kUnfinished)) {
    throw CannotMake("another make is at work there, or was broken off: " + directory.Path() +
                     " (wait for it, or remove what it left and run make again)");
  }
  if (!names.empty()) RefuseAsNotEmpty(directory);
}

}  // namespace kvl
