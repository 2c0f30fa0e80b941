#include "companion/make/disc_image.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <time.h>
#include <vector>

#include "companion/names/open_tree.h"
#include "companion/programs/other_program.h"
#include "insio/exceptions.h"
#include "insio/open_directory.h"

namespace kvl {
namespace {

using KVLInsIO::EntryState;
using KVLInsIO::NewFile;
using KVLInsIO::OpenDirectory;

constexpr char kXorriso[] = "xorriso";

[[noreturn]] void RefuseImage(const DiscImage& image, const std::string& why) {
  throw std::runtime_error("the disc image was not written: " + image.path + ": " + why);
}

/// Returns the time as the format has it: 20231114221320 and hundredths, clamped to the years 1970
/// to 2999.
std::string TimeOfImage(std::int64_t time) {
  constexpr std::int64_t kEndOf2999 = 32503679999;
  const time_t seconds = std::clamp<std::int64_t>(time, 0, kEndOf2999);
  struct tm parts = {};
  ::gmtime_r(&seconds, &parts);
  std::array<char, 32> text;
  const std::size_t length = ::strftime(text.data(), text.size(), "%Y%m%d%H%M%S00", &parts);
  return {text.data(), length};
}

/// Returns a command that gives the same image on every machine: it sets everything that could
/// differ, passes no variables on, and reads no start-up file. LC_ALL keeps the names of ISO 9660
/// independent of the locale.
std::vector<std::string> CommandFor(const DiscImage& image, const std::string& file,
                                    std::int64_t time) {
  const std::string when = "--modification-date=" + TimeOfImage(time);
  std::vector<std::string> command = {"/usr/bin/env", "-i", "LC_ALL=C", PathOfProgram(kXorriso)};
  for (const char* fixed : {"-no_rc", "-as", "mkisofs", "-quiet", "-R", "-iso-level", "3",
                            "-no-pad", "-uid", "0", "-gid", "0", "-dir-mode", "0755", "-p",
                            "KVL-MEDIA", "--set_all_file_dates", "set_to_mtime"}) {
    command.emplace_back(fixed);
  }
  for (const std::string& own :
       {when, std::string("-V"), image.name, std::string("-o"), "stdio:" + file, image.directory}) {
    command.push_back(own);
  }
  return command;
}

/// Returns the first line of the output behind the line with the name of the program.
std::string FirstComplaint(const std::string& said) {
  std::istringstream lines(said);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.find("RockRidge filesystem manipulator") != line.npos) continue;
    return line.substr(std::min(line.find_first_not_of(" :"), line.size()));
  }
  return {};
}

/// Returns the size in the image's descriptor, in bytes (ECMA-119, 8.4); nothing if the file is no
/// image.
std::optional<std::uint64_t> SizeInDescriptor(const KVLInsIO::OpenFile& image) {
  constexpr std::size_t kPlace = 16 * kDiscBlock, kNumber = 80;
  std::array<char, kNumber + 4> descriptor;
  if (image.Read(kPlace, descriptor) != descriptor.size()) return {};
  if (std::string_view(descriptor.data(), 7) != std::string_view("\1CD001\1", 7)) return {};
  std::uint64_t blocks = 0;
  for (std::size_t i = 4; i-- > 0;) {
    blocks = blocks << 8U | static_cast<unsigned char>(descriptor.at(kNumber + i));
  }
  return blocks * kDiscBlock;
}

/// A new file, which is removed unless Finish gives it its name.
class Unfinished {
 public:
  Unfinished(const OpenDirectory& directory, const std::string& name)
      : directory_(directory), name_(name), file_(directory.MakeFile(name)) {}
  ~Unfinished() {
    if (is_finished_) return;
    try {
      directory_.Delete(name_);
    } catch (const KVLInsIO::KVLInsException&) {  // the failure before this one is reported
    }
  }
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;

  const std::string& Path() const { return file_.Path(); }

  void Finish(const std::string& name, std::int64_t time) {
    file_.Finish(KVLInsIO::FileKind::kPlain, time);
    directory_.SyncFileSystem();
    directory_.Rename(name_, directory_, name);
    is_finished_ = true;
    directory_.SyncFileSystem();
  }

 private:
  const OpenDirectory& directory_;
  const std::string name_;
  NewFile file_;
  bool is_finished_ = false;
};

}  // namespace

bool HasXorriso() {
  return !PathOfProgram(kXorriso).empty();
}

std::string ImageName(const std::string& tag, std::size_t volume) {
  constexpr std::size_t kLongest = 32;
  const std::string number = "_" + std::to_string(volume);
  std::string name = tag.substr(0, kLongest - number.size());
  for (char& letter : name) {
    const bool is_small = letter >= 'a' && letter <= 'z';
    const bool is_plain = (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9');
    if (is_small) letter = static_cast<char>(letter - 'a' + 'A');
    if (!is_small && !is_plain) letter = '_';
  }
  return name + number;
}

std::uint64_t WriteImage(const DiscImage& image, std::int64_t time) {
  const ProgramScope programs;
  const Place place(image.path);
  const OpenDirectory directory(place.directory.empty() ? "/" : place.directory);
  Unfinished unfinished(directory, place.name + ".unfinished");
  std::string said;
  const int status = programs.Run(CommandFor(image, unfinished.Path(), time), said);
  if (status != 0) {
    const std::string complaint = FirstComplaint(said);
    RefuseImage(image, complaint.empty() ? "xorriso ended with status " + std::to_string(status)
                                         : complaint);
  }
  const KVLInsIO::OpenFile written = directory.File(place.name + ".unfinished");
  const std::uint64_t size = written.State().size;
  if (SizeInDescriptor(written) != size) RefuseImage(image, "xorriso wrote only a part of it");
  if (size > image.most_bytes) {
    RefuseImage(image, "it has " + std::to_string(size) + " bytes, more than --volume-size");
  }
  unfinished.Finish(place.name, time);
  return size;
}

}  // namespace kvl
