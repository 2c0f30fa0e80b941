#include "companion/make/media_maker.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "companion/make/checksum.h"
#include "companion/make/open_tree.h"
#include "companion/make/start_script_text.h"
#include "companion/names/path_below.h"
#include "companion/names/path_state.h"
#include "console/text.h"
#include "environment/media_names.h"
#include "insio/entry.h"
#include "insio/exceptions.h"
#include "insio/open_directory.h"
#include "media/marker.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

using KVLInsIO::FileKind;
using KVLInsIO::OpenDirectory;

std::string XmlText(std::string text) {
  ReplaceAll(text, "&", "&amp;", 0);
  ReplaceAll(text, "<", "&lt;", 0);
  ReplaceAll(text, ">", "&gt;", 0);
  ReplaceAll(text, "\"", "&quot;", 0);
  return text;
}

/// Opens the directory, and makes what is missing on the way there.
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

/// Of two that want the directory at once, the one gets it that puts the start script there first.
void Take(const OpenDirectory& directory, const std::string& start_script) {
  CheckIsEmpty(directory);
  try {
    directory.WriteFile(names::kUnfinished, start_script, FileKind::kProgram);
  } catch (const KVLInsIO::KVLInsException&) {  // it could not be made
    CheckIsEmpty(directory);
    throw;
  }
  if (directory.Names().size() == 1) return;
  directory.Delete(names::kUnfinished);  // somebody was faster, and is done already
  RefuseAsNotEmpty(directory);
}

[[noreturn]] void RefuseAsChanged(const std::string& path) {
  throw std::runtime_error("changed since the media was planned: " + path);
}

/// Copies what was planned, not a byte more, or throws.
Checksum CopyPlanned(const PlannedFile& planned, const OpenDirectory& directory,
                     const std::string& name, FileKind kind) {
  const auto refuse_unless = [&planned](bool is_as_planned) {
    if (!is_as_planned) RefuseAsChanged(planned.file.Path());
  };
  Checksum checksum;
  refuse_unless(planned.file.State() == planned.state);
  directory.CopyFile(planned.file, name, kind, [&](std::string_view bytes) {
    checksum.Add(bytes);
    refuse_unless(checksum.Size() <= planned.state.size);
  });
  refuse_unless(checksum.Size() == planned.state.size && planned.file.State() == planned.state);
  return checksum;
}

/// A copy that everybody can read, and execute when somebody could execute the source.
Checksum CopyEntry(const PayloadEntry& entry, OpenTree& from, const OpenDirectory& directory,
                   const std::string& new_name) {
  const Place place(entry.name);
  const OpenDirectory& source = from.At(place.directory);
  if (source.Look(place.name) != entry.state) {
    RefuseAsChanged(PathBelow(source.Path(), place.name));
  }
  return CopyPlanned({source.File(place.name), entry.state}, directory, new_name,
                     IsProgram(entry.state.mode) ? FileKind::kProgram : FileKind::kPlain);
}

class Maker {
 public:
  Maker(const MediaMakeRequest& request, const Progress& progress)
      : request_(request), progress_(progress), plan_(PlanMedia(request)) {}

  /// What makes a media whole comes last, in one step.
  MadeMedia Run() {
    const OpenDirectory top = MakeTop(plan_.directory);
    Take(top, StartScript("\"$@\""));
    media_.emplace(top, OpenTree::Missing::kIsMade);
    for (std::size_t i = 1; i <= plan_.volumes.size(); ++i) WriteVolume(i);
    WriteFirstVolume();
    const OpenDirectory& first_volume = media_->At(VolumeDirectory(1));
    top.Rename(names::kUnfinished, first_volume, names::kStartTui);
    return {plan_.layout, plan_.volumes.size(), first_volume.Path()};
  }

 private:
  /// Below the top.
  std::string VolumeDirectory(std::size_t volume) const {
    std::string number = std::to_string(volume);
    if (plan_.layout == Layout::kSibling) return number;
    if (plan_.layout == Layout::kAm) return PathBelow(number, PathBelow("media", number));
    return "";
  }

  /// A path below the top of the media.
  std::string InVolume(std::size_t volume, const std::string& path) const {
    const std::string directory = VolumeDirectory(volume);
    return directory.empty() ? path : PathBelow(directory, path);
  }

  void Write(const std::string& path, const std::string& text, FileKind kind = FileKind::kPlain) {
    const Place place(path);
    media_->At(place.directory).WriteFile(place.name, text, kind);
  }

  static std::string Marker(const std::string& tag) {
    return "Volume marker\nMTBDIR=" + tag + "\n";
  }

  /// The markers come last: until then the volume is missing.
  void WriteVolume(std::size_t volume) {
    const std::string number = std::to_string(volume);
    const std::string payload = InVolume(volume, PathBelow(names::kPayload, number));
    media_->At(payload);
    const std::string list = WritePayload(volume, payload);
    Write(payload + names::kChecksumsExtension, list);
    std::size_t begin = 0;
    for (std::size_t end; (end = list.find('\n', begin)) != std::string::npos; begin = end + 1) {
      all_files_ += number + " " + list.substr(begin, end + 1 - begin);
    }
    const std::string marker = MarkerName(static_cast<std::int64_t>(volume));
    if (plan_.layout == Layout::kAm) Write(PathBelow(number, marker), Marker(request_.tag + "-AM"));
    Write(InVolume(volume, marker), Marker(request_.tag));
  }

  /// Returns the list of its files.
  std::string WritePayload(std::size_t volume, const std::string& payload) {
    std::optional<OpenDirectory> presorted;
    if (request_.is_presorted) presorted.emplace(plan_.payload.Directory(std::to_string(volume)));
    OpenTree from(presorted ? *presorted : plan_.payload, OpenTree::Missing::kFails);
    std::string list;
    for (const PayloadEntry& entry : plan_.volumes[volume - 1]) {
      const std::string path = PathBelow(payload, entry.name);
      if (entry.is_directory) {
        media_->At(path);
        continue;
      }
      progress_(volume, bytes_done_, plan_.bytes_in_all);
      const Place place(path);
      const Checksum checksum = CopyEntry(entry, from, media_->At(place.directory), place.name);
      list += std::to_string(checksum.Sum()) + " " + std::to_string(checksum.Size()) + " ./" +
              entry.name + "\n";
      bytes_done_ += entry.size;
    }
    return list;
  }

  /// What the installer needs, which lies there in directories of its own.
  void WriteInst(const std::string& inst) {
    if (!plan_.inst) return;
    OpenTree from(*plan_.inst, OpenTree::Missing::kFails);
    for (const PayloadEntry& entry : plan_.inst_entries) {
      const std::string path = PathBelow(inst, entry.name);
      const Place place(path);
      if (entry.is_directory) {
        media_->At(path);
      } else {
        CopyEntry(entry, from, media_->At(place.directory), place.name);
      }
    }
  }

  void WriteFirstVolume() {
    const std::string inst = InVolume(1, names::kInst);
    const std::string programs = PathBelow(inst, plan_.programs);
    media_->At(PathBelow(inst, names::kCommon));
    WriteInst(inst);
    const std::string count = std::to_string(plan_.volumes.size());
    Write(PathBelow(inst, names::kVolumesFile), count + "\n");
    Write(InVolume(1, names::kMediaDb), all_files_);
    Write(InVolume(1, names::kMediaXml),
          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<media tag=\"" + XmlText(request_.tag) +
              "\" system=\"" + request_.os_name + "\" volumes=\"" + count + "\"/>\n");
    Write(InVolume(1, names::kTableOfContents), Contents());
    Write(InVolume(1, names::kStartGui), StartScript("-UI \"$@\""), FileKind::kProgram);
    CopyPlanned(plan_.launcher, media_->At(programs), names::kLauncher, FileKind::kProgram);
    CopyPlanned(plan_.installer, media_->At(programs), plan_.installer_name, FileKind::kProgram);
  }

  std::string StartScript(const std::string& arguments) const {
    return StartScriptText(request_.os_name, plan_.installer_name, arguments);
  }

  std::string Contents() const {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<contents>\n";
    for (std::size_t i = 1; i <= plan_.volumes.size(); ++i) {
      const std::string number = std::to_string(i);
      text.append("  <volume number=\"").append(number).append("\" marker=\"");
      text.append(MarkerName(static_cast<std::int64_t>(i))).append("\" payload=\"");
      text.append(PathBelow(names::kPayload, number)).append("\"/>\n");
    }
    return text + "</contents>\n";
  }

  const MediaMakeRequest& request_;
  const Progress& progress_;
  const MediaPlan plan_;
  std::uint64_t bytes_done_ = 0;
  std::string all_files_;
  std::optional<OpenTree> media_;
};

}  // namespace

MadeMedia MakeMedia(const MediaMakeRequest& request, const Progress& progress) {
  return Maker(request, progress).Run();
}

}  // namespace kvl
