#include "companion/media_maker.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

#include "companion/checksum.h"
#include "companion/start_script_text.h"
#include "console/text.h"
#include "insio/copy.h"
#include "insio/create_dir.h"
#include "insio/entry.h"
#include "insio/exceptions.h"
#include "insio/file_attributes.h"
#include "insio/finder.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kPlainMode = 644;
constexpr unsigned kProgramMode = 755;

std::string Absolute(const std::string& path) {
  std::string text = fs::absolute(path).lexically_normal().string();
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

/// The size on a disc of a file that must be there.
std::uint64_t SizeOf(const std::string& what, const std::string& path) {
  if (!KVLInsIO::IsRegularFile(path)) throw CannotMake("the " + what + " is not there: " + path);
  return OnDisc(static_cast<std::uint64_t>(KVLInsIO::GetFileSize(path)));
}

void CheckDirectory(const std::string& directory) {
  struct stat status;
  const bool is_there = ::lstat(directory.c_str(), &status) == 0;
  if (is_there && !fs::is_directory(directory)) throw CannotMake("not a directory: " + directory);
  if (is_there && (::access(directory.c_str(), R_OK | W_OK | X_OK) != 0)) {
    throw CannotMake("no permission to write into: " + directory);
  }
  if (is_there && !KVLInsIO::FindFirstFileExactly(directory, KVLInsIO::kDirectoryOrFile).AtEnd()) {
    throw CannotMake("the directory is not empty: " + directory);
  }
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

/// Modes are set in so many words, so that the caller's umask does not decide who can read a media.
void MakeDirectory(const std::string& path) {
  if (KVLInsIO::Exists(path)) return;
  const std::string parent = fs::path(path).parent_path();
  if (!parent.empty()) MakeDirectory(parent);
  KVLInsIO::CreateDirExactly(path);
  KVLInsIO::Chmod(path, kProgramMode);
}

void WriteFile(const std::string& path, const std::string& text, unsigned mode) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw KVLInsIO::KVLInsException("Cannot write into " + path);
  KVLInsIO::Chmod(path, mode);
}

void CopyProgram(const std::string& source, const std::string& destination) {
  KVLInsIO::CopyFile(source, destination);
  KVLInsIO::Chmod(destination, kProgramMode);
}

/// A copy that everybody can read, and execute when somebody could execute the source.
void CopyReadable(const std::string& source, const std::string& destination) {
  KVLInsIO::CopyFile(source, destination);
  struct stat status;
  const bool is_program =
      ::stat(source.c_str(), &status) == 0 && (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
  KVLInsIO::Chmod(destination, is_program ? kProgramMode : kPlainMode);
}

class Maker {
 public:
  Maker(const MediaMakeRequest& request, const Progress& progress)
      : request_(request), progress_(progress) {}

  MadeMedia Run() {
    Plan();
    for (std::size_t i = 1; i <= volumes_.size(); ++i) WriteVolume(i);
    WriteFirstVolume();
    return {layout_, volumes_.size(), VolumeDirectory(1)};
  }

 private:
  void Plan() {
    if (request_.tag.empty()) throw CannotMake("--tag must not be empty");
    if (request_.tag.find_first_of("\n\r") != std::string::npos) {
      throw CannotMake("--tag must not hold a line break");
    }
    CheckIsPlainName(request_.os_name, "--os: no plain name: ");
    installer_name_ = fs::path(request_.installer).filename();
    const std::uint64_t programs =
        SizeOf("installer", request_.installer) + SizeOf("launcher", request_.launcher);
    CheckIsPlainName(installer_name_, "--installer: no plain name: ");
    if (installer_name_ == kLauncherName) {
      throw CannotMake("--installer: the launcher has this name on the media: " + installer_name_);
    }
    if (!fs::is_directory(request_.payload)) {
      throw CannotMake("not a directory: " + request_.payload);
    }
    top_ = Absolute(request_.directory);
    CheckDirectory(top_);
    CheckIsOutside(top_, "the payload", request_.payload);
    PlanInst();
    PlanVolumes(programs + kTextsOfTheFirstVolume);
    ChooseLayout();
  }

  std::string Programs() const { return request_.os_name + "/code/bin"; }

  void PlanInst() {
    if (request_.inst.empty()) return;
    if (!fs::is_directory(request_.inst)) throw CannotMake("not a directory: " + request_.inst);
    CheckIsOutside(top_, "the directory for inst", request_.inst);
    inst_ = ListPayload(request_.inst);
    const std::string programs = Programs() + "/";
    for (const PayloadEntry& entry : inst_) {
      for (const std::string& own :
           {programs + installer_name_, programs + kLauncherName, std::string(kNumberOfVolumes)}) {
        if (entry.name == own) {
          throw CannotMake("this is put into inst anyway: " + request_.inst + "/" + own);
        }
      }
    }
  }

  void PlanVolumes(std::uint64_t first_bytes) {
    for (const PayloadEntry& entry : inst_) {
      first_bytes += entry.is_directory ? kDiscBlock : OnDisc(entry.size);
    }
    volumes_ = request_.is_presorted
                   ? PresortedPayload(request_.payload, request_.volume_size, first_bytes)
                   : SplitPayload(ListPayload(request_.payload), request_.volume_size, first_bytes);
    for (const std::vector<PayloadEntry>& volume : volumes_) {
      for (const PayloadEntry& entry : volume) bytes_in_all_ += entry.size;
    }
  }

  /// What the names of a volume's entries are relative to.
  std::string SourceOf(std::size_t volume) const {
    return request_.is_presorted ? request_.payload + "/" + std::to_string(volume)
                                 : request_.payload;
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

  std::string VolumeDirectory(std::size_t volume) const {
    const std::string number = std::to_string(volume);
    if (layout_ == "sibling") return top_ + "/" + number;
    if (layout_ == "am") return top_ + "/" + number + "/media/" + number;
    return top_;
  }

  static void WriteMarker(const std::string& directory, const std::string& number,
                          const std::string& tag) {
    WriteFile(directory + "/" + number + ".txt", "Volume marker\nMTBDIR=" + tag + "\n", kPlainMode);
  }

  void WriteVolume(std::size_t volume) {
    const std::string number = std::to_string(volume);
    const std::string directory = VolumeDirectory(volume);
    const std::string payload = directory + "/payload/" + number;
    MakeDirectory(payload);
    WriteMarker(directory, number, request_.tag);
    if (layout_ == "am") WriteMarker(top_ + "/" + number, number, request_.tag + "-AM");
    std::string list;
    for (const PayloadEntry& entry : volumes_[volume - 1]) {
      const std::string path = payload + "/" + entry.name;
      if (entry.is_directory) {
        MakeDirectory(path);
        continue;
      }
      progress_(volume, bytes_done_, bytes_in_all_);
      list += WritePayloadFile(SourceOf(volume) + "/" + entry.name, entry.name, path);
      bytes_done_ += entry.size;
    }
    WriteFile(payload + ".cksum", list, kPlainMode);
    std::size_t begin = 0;
    for (std::size_t end; (end = list.find('\n', begin)) != std::string::npos; begin = end + 1) {
      all_files_ += number + " " + list.substr(begin, end + 1 - begin);
    }
  }

  /// Returns its line in the list.
  static std::string WritePayloadFile(const std::string& source, const std::string& name,
                                      const std::string& path) {
    CopyReadable(source, path);
    const Checksum checksum = ChecksumOf(path);
    return std::to_string(checksum.sum) + " " + std::to_string(checksum.size) + " ./" + name + "\n";
  }

  void WriteFirstVolume() const {
    const std::string directory = VolumeDirectory(1);
    const std::string inst = directory + "/inst/";
    const std::string programs = inst + Programs();
    MakeDirectory(programs);
    MakeDirectory(inst + "common");
    for (const PayloadEntry& entry : inst_) {
      if (entry.is_directory) {
        MakeDirectory(inst + entry.name);
      } else {
        CopyReadable(request_.inst + "/" + entry.name, inst + entry.name);
      }
    }
    CopyProgram(request_.installer, programs + "/" + installer_name_);
    CopyProgram(request_.launcher, programs + "/" + kLauncherName);
    const std::string count = std::to_string(volumes_.size());
    WriteFile(inst + kNumberOfVolumes, count + "\n", kPlainMode);
    WriteFile(directory + "/media.db", all_files_, kPlainMode);
    WriteFile(directory + "/media.xml",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<media tag=\"" + XmlText(request_.tag) +
                  "\" system=\"" + request_.os_name + "\" volumes=\"" + count + "\"/>\n",
              kPlainMode);
    WriteFile(directory + "/meta.TOCxml", Contents(), kPlainMode);
    WriteFile(directory + "/StartTUI.sh",
              StartScriptText(request_.os_name, installer_name_, "\"$@\""), kProgramMode);
    WriteFile(directory + "/StartGUI.sh",
              StartScriptText(request_.os_name, installer_name_, "-UI \"$@\""), kProgramMode);
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
  static constexpr char kNumberOfVolumes[] = "volumes.txt";

  const MediaMakeRequest& request_;
  const Progress& progress_;
  std::string top_;
  std::string layout_;
  std::string installer_name_;
  std::vector<PayloadEntry> inst_;  // what comes from elsewhere
  std::vector<std::vector<PayloadEntry>> volumes_;
  std::uint64_t bytes_in_all_ = 0;
  std::uint64_t bytes_done_ = 0;
  std::string all_files_;
};

}  // namespace

MadeMedia MakeMedia(const MediaMakeRequest& request, const Progress& progress) {
  return Maker(request, progress).Run();
}

}  // namespace kvl
