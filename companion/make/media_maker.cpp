#include "companion/make/media_maker.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "companion/make/description_text.h"
#include "companion/make/media_writer.h"
#include "companion/make/planned_files.h"
#include "companion/make/start_script_text.h"
#include "companion/names/open_tree.h"
#include "companion/names/path_below.h"
#include "companion/seal/minisign.h"
#include "environment/media_names.h"
#include "insio/entry.h"
#include "insio/exceptions.h"
#include "insio/open_directory.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

using KVLInsIO::FileKind;
using KVLInsIO::OpenDirectory;

/// Opens the directory. Makes it and its parents if they are missing.
OpenDirectory MakeTop(const std::string& path) {
  fs::path existing = path;
  std::vector<std::string> missing;
  for (; existing.has_relative_path() && !KVLInsIO::Exists(existing);
       existing = existing.parent_path()) {
    missing.push_back(existing.filename());
  }
  OpenDirectory directory(existing);
  for (; !missing.empty(); missing.pop_back()) directory = directory.MakeDirectory(missing.back());
  return directory;
}

/// Takes the directory: if two calls want it at the same time, the one gets it that writes the
/// start script first.
void Take(const OpenDirectory& directory, const std::string& start_script, std::int64_t time) {
  CheckIsEmpty(directory);
  try {
    directory.WriteFile(names::kUnfinished, start_script, FileKind::kProgram, time);
  } catch (const KVLInsIO::KVLInsException&) {  // perhaps because another call was first
    CheckIsEmpty(directory);
    throw;
  }
  if (NamesInTarget(directory).size() == 1) return;
  directory.Delete(names::kUnfinished);  // another call was first, and has finished already
  RefuseAsNotEmpty(directory);
}

class Maker {
 public:
  Maker(const MediaMakeRequest& request, const MediaPlan& plan, const Progress& progress)
      : request_(request),
        progress_(progress),
        plan_(plan),
        top_(MakeTop(plan_.directory)),
        media_(top_, plan_.layout, plan_.volumes.size(), plan_.time, request.jobs) {}

  /// Renames the start script at the end, when everything else is stored. That makes the media
  /// whole.
  void Run() {
    const std::string start_script = StartScript("\"$@\"");
    Take(top_, start_script, plan_.time);
    media_.BeginPayload(names::kMediaDb, [this](std::uint64_t bytes) { CountBytes(bytes); });
    for (std::size_t i = 1; i <= plan_.volumes.size(); ++i) WritePayload(i);
    media_.EndPayload();
    WriteFirstVolume();
    media_.List(1, names::kStartTui, start_script, FileKind::kProgram);
    media_.Finish(request_.tag, Signer());
    top_.SyncFileSystem();
    const OpenDirectory& first_volume = media_.PlaceOf(1);
    top_.Rename(names::kUnfinished, first_volume, names::kStartTui);
    first_volume.SetTime(plan_.time);
    top_.SetTime(plan_.time);
    top_.SyncFileSystem();
  }

 private:
  void WritePayload(std::size_t volume) {
    const std::string number = std::to_string(volume);
    media_.MakeDirectory(volume, PathBelow(names::kPayload, number));
    constexpr auto kFails = OpenTree::Missing::kFails;
    OpenTree from = request_.is_presorted
                        ? OpenTree(plan_.payload.Directory(number), kFails, request_.links)
                        : OpenTree(plan_.payload, kFails, request_.links);
    for (const PayloadEntry& entry : plan_.volumes[volume - 1]) {
      const std::string path = PathOfPayload(volume, entry);
      if (!entry.IsFile()) {
        WriteOther(volume, path, entry, from);
        continue;
      }
      progress_.file(volume, path, entry.size);
      media_.CopyOfPayload(volume, path, entry, from);
    }
  }

  /// Writes a directory or a link.
  void WriteOther(std::size_t volume, const std::string& path, const PayloadEntry& entry,
                  OpenTree& from) {
    if (entry.IsLink()) {
      media_.Link(volume, path, entry, from);
    } else {
      media_.MakeDirectory(volume, path);
    }
  }

  void WriteInst() {
    if (plan_.inst) CopyInst(*plan_.inst);
  }

  void CopyInst(const OpenDirectory& inst) {
    OpenTree from(inst, OpenTree::Missing::kFails, request_.links);
    for (const PayloadEntry& entry : plan_.inst_entries) {
      const std::string path = PathOfInst(entry);
      if (!entry.IsFile()) {
        WriteOther(1, path, entry, from);
        continue;
      }
      progress_.file(1, path, entry.size);
      media_.Copy(1, path, entry, from);
    }
  }

  void WriteFirstVolume() {
    media_.MakeDirectory(1, PathBelow(names::kInst, names::kCommon));
    WriteInst();
    const std::size_t count = plan_.volumes.size();
    media_.Write(1, names::kMediaXml, MediaXmlText(request_.tag, plan_.systems, count));
    media_.Write(1, names::kTableOfContents, TableOfContentsText(count));
    if (std::none_of(plan_.inst_entries.begin(), plan_.inst_entries.end(), IsReadMe)) {
      media_.Write(1, names::kReadMe, ReadMeText(request_.tag, plan_.systems, count));
    }
    media_.Write(1, names::kStartGui, StartScript("-UI \"$@\""), FileKind::kProgram);
    for (const PlannedSystem& system : plan_.systems) {
      CopyProgram(PathBelow(names::kInst, system.PathOfLauncher()), system.launcher);
      CopyProgram(PathBelow(names::kInst, system.PathOfInstaller()), system.installer);
    }
  }

  void CopyProgram(const std::string& path, const PlannedFile& file) {
    progress_.file(1, path, file.state.size);
    media_.Copy(1, path, file, FileKind::kProgram);
  }

  void CountBytes(std::uint64_t bytes) {
    const std::lock_guard lock(counting_);
    bytes_done_ += bytes;
    progress_.bytes(bytes_done_, plan_.bytes_in_all);
  }

  MediaWriter::Signer Signer() const {
    if (request_.key.empty()) return {};
    return [this](const std::string& text) { return SignWithMinisign(request_.key, text); };
  }

  std::string StartScript(const std::string& arguments) const {
    return StartScriptText(plan_.systems, arguments);
  }

  const MediaMakeRequest& request_;
  const Progress& progress_;
  const MediaPlan& plan_;
  const OpenDirectory top_;
  std::mutex counting_;
  std::uint64_t bytes_done_ = 0;
  MediaWriter media_;  // last, because its threads use the members above
};

}  // namespace

void MakeMedia(const MediaMakeRequest& request, const MediaPlan& plan, const Progress& progress) {
  Maker(request, plan, progress).Run();
}

}  // namespace kvl
