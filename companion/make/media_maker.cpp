#include "companion/make/media_maker.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "companion/make/checksum.h"
#include "companion/make/open_tree.h"
#include "companion/make/start_script_text.h"
#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"
#include "console/text.h"
#include "environment/media_names.h"
#include "insio/entry.h"
#include "insio/exceptions.h"
#include "insio/open_directory.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

using KVLInsIO::EntryState;
using KVLInsIO::FileKind;
using KVLInsIO::OpenDirectory;
using KVLInsIO::OpenFile;

/// What takes a directory: the start script, which gets its name when all else is there.
constexpr char kUnfinished[] = "StartTUI.sh.unfinished";

/// Links keep their names, unless a ".." may stand behind one and leads where the system would go.
std::string Absolute(const std::string& path) {
  const fs::path absolute = fs::absolute(path);
  const bool goes_up = std::find(absolute.begin(), absolute.end(), "..") != absolute.end();
  std::string text =
      (goes_up ? fs::weakly_canonical(absolute) : absolute.lexically_normal()).string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

bool IsPlainName(const std::string& name) {
  constexpr std::string_view kAllowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._+-";
  return !name.empty() && name.front() != '.' && name.front() != '-' &&
         name.find_first_not_of(kAllowed) == std::string::npos;
}

/// `refusal` goes in front of the name when it is refused.
void CheckIsPlainName(const std::string& name, const std::string& refusal) {
  if (IsPlainName(name)) return;
  throw CannotMake(refusal + name + " (letters, digits and ._+-, no \".\" or \"-\" in front)");
}

/// A file and what it was when the media was planned.
struct PlannedFile {
  OpenFile file;
  EntryState state;
};

/// A file that must be there.
PlannedFile PlanFile(const std::string& what, const std::string& path) {
  if (!KVLInsIO::IsRegularFile(path)) throw CannotMake("the " + what + " is not there: " + path);
  OpenFile file(path);
  const EntryState state = file.State();
  return {std::move(file), state};
}

OpenDirectory PlanDirectory(const std::string& path) {
  if (!fs::is_directory(path)) throw CannotMake("not a directory: " + path);
  return OpenDirectory(path);
}

[[noreturn]] void RefuseAsNotEmpty(const OpenDirectory& directory) {
  throw CannotMake("the directory is not empty: " + directory.Path());
}

void CheckIsEmpty(const OpenDirectory& directory) {
  const std::vector<std::string> names = directory.Names();
  if (std::binary_search(names.begin(), names.end(), kUnfinished)) {
    throw CannotMake("another make is at work there, or was broken off: " + directory.Path());
  }
  if (!names.empty()) RefuseAsNotEmpty(directory);
}

void CheckDirectory(const std::string& directory) {
  struct stat status;
  if (::lstat(directory.c_str(), &status) != 0) return;
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

std::string XmlText(std::string text) {
  ReplaceAll(text, "&", "&amp;", 0);
  ReplaceAll(text, "<", "&lt;", 0);
  ReplaceAll(text, ">", "&gt;", 0);
  ReplaceAll(text, "\"", "&quot;", 0);
  return text;
}

/// The tag stands in the markers as it is, and in a file of XML.
void CheckTag(const std::string& tag) {
  // A longer one takes room that the plan has not, and, from a length on, no system hands it on.
  constexpr std::size_t kLongestTag = 256;
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

/// Of two that want the directory at once, one gets it.
void Take(const OpenDirectory& directory, const std::string& start_script) {
  CheckIsEmpty(directory);
  try {
    directory.WriteFile(kUnfinished, start_script, FileKind::kProgram);
  } catch (const KVLInsIO::KVLInsException&) {  // it could not be made
    CheckIsEmpty(directory);
    throw;
  }
  if (directory.Names().size() == 1) return;
  directory.Delete(kUnfinished);  // somebody was faster, and is done already
  RefuseAsNotEmpty(directory);
}

[[noreturn]] void RefuseAsChanged(const std::string& path) {
  throw std::runtime_error("changed since the media was planned: " + path);
}

bool IsProgram(const EntryState& state) {
  return (state.mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
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
                     IsProgram(entry.state) ? FileKind::kProgram : FileKind::kPlain);
}

class Maker {
 public:
  Maker(const MediaMakeRequest& request, const Progress& progress)
      : request_(request), progress_(progress) {}

  /// What makes a media whole comes last, in one step.
  MadeMedia Run() {
    PlanOrRefuse();
    top_.emplace(MakeTop(top_path_));
    Take(*top_, StartScript("\"$@\""));
    media_.emplace(*top_, OpenTree::Missing::kIsMade);
    for (std::size_t i = 1; i <= volumes_.size(); ++i) WriteVolume(i);
    WriteFirstVolume();
    top_->Rename(kUnfinished, media_->At(VolumeDirectory(1)), names::kStartTui);
    return {layout_, volumes_.size(), media_->At(VolumeDirectory(1)).Path()};
  }

 private:
  /// What the library cannot look at is as good a reason as any other.
  void PlanOrRefuse() {
    try {
      Plan();
    } catch (const CannotMake&) {
      throw;
    } catch (const std::runtime_error& failure) {
      std::string text = failure.what();
      if (text.ends_with('\n')) text.pop_back();
      throw CannotMake(text);
    }
  }

  void Plan() {
    CheckTag(request_.tag);
    CheckIsPlainName(request_.os_name, "--os: no plain name: ");
    if (request_.os_name == names::kCommon || request_.os_name == names::kVolumesFile) {
      throw CannotMake("--os: inst holds something else of this name: " + request_.os_name);
    }
    installer_name_ = fs::path(request_.installer).filename();
    installer_.emplace(PlanFile("installer", request_.installer));
    launcher_.emplace(PlanFile("launcher", request_.launcher));
    CheckIsPlainName(installer_name_, "--installer: no plain name: ");
    if (installer_name_ == kLauncherName) {
      throw CannotMake("--installer: the launcher has this name on the media: " + installer_name_);
    }
    payload_.emplace(PlanDirectory(request_.payload));
    top_path_ = Absolute(request_.directory);
    CheckDirectory(top_path_);
    CheckIsOutside(top_path_, "the payload", request_.payload);
    PlanInst();
    PlanVolumes(OnDisc(installer_->state.size) + OnDisc(launcher_->state.size) +
                kTextsOfTheFirstVolume);
    ChooseLayout();
  }

  std::string Programs() const {
    return PathBelow(request_.os_name, PathBelow(names::kCode, names::kBin));
  }

  void PlanInst() {
    if (request_.inst.empty()) return;
    inst_source_.emplace(PlanDirectory(request_.inst));
    CheckIsOutside(top_path_, "the directory for inst", request_.inst);
    inst_ = ListPayload(*inst_source_);
    const std::string programs = Programs() + "/";
    const std::vector<std::string> own = {programs + installer_name_, programs + kLauncherName,
                                          names::kVolumesFile, PathBelow(names::kCommon, "")};
    for (const PayloadEntry& entry : inst_) {
      const bool is_own = std::any_of(own.begin(), own.end(), [&](const std::string& path) {
        return path == entry.name || (!entry.is_directory && path.starts_with(entry.name + "/"));
      });
      if (is_own) {
        throw CannotMake("this is put into inst anyway: " + PathBelow(request_.inst, entry.name));
      }
    }
  }

  void PlanVolumes(std::uint64_t first_bytes) {
    for (const PayloadEntry& entry : inst_) {
      first_bytes += entry.is_directory ? kDiscBlock : OnDisc(entry.size);
    }
    volumes_ = request_.is_presorted
                   ? PresortedPayload(*payload_, request_.volume_size, first_bytes)
                   : SplitPayload(ListPayload(*payload_), request_.volume_size, first_bytes);
    for (const std::vector<PayloadEntry>& volume : volumes_) {
      for (const PayloadEntry& entry : volume) bytes_in_all_ += entry.size;
    }
  }

  void ChooseLayout() {
    const bool is_one = volumes_.size() == 1;
    layout_ = request_.layout;
    if (layout_.empty()) layout_ = is_one ? "single" : "sibling";
    if (is_one && layout_ != "single") {
      throw CannotMake("layout " + layout_ + " needs two volumes or more, and all fits on one");
    }
    if (!is_one && layout_ == "single") {
      throw CannotMake("layout single has one volume, and " + std::to_string(volumes_.size()) +
                       " are needed");
    }
  }

  /// Below the top.
  std::string VolumeDirectory(std::size_t volume) const {
    std::string number = std::to_string(volume);
    if (layout_ == "sibling") return number;
    if (layout_ == "am") return PathBelow(number, PathBelow("media", number));
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
    const std::string payload = InVolume(volume, "payload/" + number);
    media_->At(payload);
    const std::string list = WritePayload(volume, payload);
    Write(payload + ".cksum", list);
    std::size_t begin = 0;
    for (std::size_t end; (end = list.find('\n', begin)) != std::string::npos; begin = end + 1) {
      all_files_ += number + " " + list.substr(begin, end + 1 - begin);
    }
    const std::string marker = number + ".txt";
    if (layout_ == "am") Write(PathBelow(number, marker), Marker(request_.tag + "-AM"));
    Write(InVolume(volume, marker), Marker(request_.tag));
  }

  /// Returns the list of its files.
  std::string WritePayload(std::size_t volume, const std::string& payload) {
    std::optional<OpenDirectory> presorted;
    if (request_.is_presorted) presorted.emplace(payload_->Directory(std::to_string(volume)));
    OpenTree from(presorted ? *presorted : *payload_, OpenTree::Missing::kFails);
    std::string list;
    for (const PayloadEntry& entry : volumes_[volume - 1]) {
      const std::string path = PathBelow(payload, entry.name);
      if (entry.is_directory) {
        media_->At(path);
        continue;
      }
      progress_(volume, bytes_done_, bytes_in_all_);
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
    if (!inst_source_) return;
    OpenTree from(*inst_source_, OpenTree::Missing::kFails);
    for (const PayloadEntry& entry : inst_) {
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
    const std::string programs = PathBelow(inst, Programs());
    media_->At(PathBelow(inst, names::kCommon));
    WriteInst(inst);
    const std::string count = std::to_string(volumes_.size());
    Write(PathBelow(inst, names::kVolumesFile), count + "\n");
    Write(InVolume(1, names::kMediaDb), all_files_);
    Write(InVolume(1, names::kMediaXml),
          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<media tag=\"" + XmlText(request_.tag) +
              "\" system=\"" + request_.os_name + "\" volumes=\"" + count + "\"/>\n");
    Write(InVolume(1, names::kTableOfContents), Contents());
    Write(InVolume(1, names::kStartGui), StartScript("-UI \"$@\""), FileKind::kProgram);
    CopyPlanned(*launcher_, media_->At(programs), kLauncherName, FileKind::kProgram);
    CopyPlanned(*installer_, media_->At(programs), installer_name_, FileKind::kProgram);
  }

  std::string StartScript(const std::string& arguments) const {
    return StartScriptText(request_.os_name, installer_name_, arguments);
  }

  std::string Contents() const {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<contents>\n";
    for (std::size_t i = 1; i <= volumes_.size(); ++i) {
      const std::string number = std::to_string(i);
      text.append("  <volume number=\"").append(number).append("\" marker=\"").append(number);
      text.append(".txt\" payload=\"payload/").append(number).append("\"/>\n");
    }
    return text + "</contents>\n";
  }

  /// Scripts, descriptions, directories; the table of contents grows with the volumes.
  static constexpr std::uint64_t kTextsOfTheFirstVolume = 64 * kDiscBlock;
  static constexpr char kLauncherName[] = "kvl-launcher";

  const MediaMakeRequest& request_;
  const Progress& progress_;
  std::string top_path_;
  std::string layout_;
  std::string installer_name_;
  std::optional<PlannedFile> installer_;
  std::optional<PlannedFile> launcher_;
  std::optional<OpenDirectory> payload_;
  std::optional<OpenDirectory> inst_source_;
  std::vector<PayloadEntry> inst_;  // what comes from there
  std::vector<std::vector<PayloadEntry>> volumes_;
  std::uint64_t bytes_in_all_ = 0;
  std::uint64_t bytes_done_ = 0;
  std::string all_files_;
  std::optional<OpenDirectory> top_;
  std::optional<OpenTree> media_;
};

}  // namespace

MadeMedia MakeMedia(const MediaMakeRequest& request, const Progress& progress) {
  return Maker(request, progress).Run();
}

}  // namespace kvl
