#include "companion/make/list_of_all.h"

#include <span>
#include <stdexcept>

namespace kvl {
ListOfAll::Line& ListOfAll::Add(std::size_t volume, const std::string& path) {
  WriteKnown();
  return lines_.emplace_back(Line{.volume = volume, .file = {path, {}}});
}

void ListOfAll::SetDigest(Line& line, const Digest& digest) {
  const std::lock_guard lock(setting_);
  line.file.digest = digest;
  line.is_known = true;
}

void ListOfAll::WriteKnown() {
  const std::lock_guard lock(setting_);
  for (; !lines_.empty() && lines_.front().is_known; lines_.pop_front()) {
    file_.Add(std::to_string(lines_.front().volume) + " " + LineOf(lines_.front().file));
  }
}

void ListOfAll::Finish(std::int64_t time) {
  WriteKnown();
  file_.Finish(time);
}

ListOfAllReader::ListOfAllReader(const KVLInsIO::OpenDirectory& directory, const std::string& name,
                                 const ListOfAll& list)
    : list_(list),
      file_(directory.File(name)),
      lines_([this](std::span<char> room) { return Read(room); }, kLongestLine) {}

void ListOfAllReader::ShowLines(std::uint64_t count,
                                const std::function<void(std::string_view line)>& see) {
  for (; count > 0; --count) {
    const std::string_view line = lines_.Next();
    if (line.empty()) RefuseAsChanged();
    see(line.substr(line.find(' ') + 1));
  }
}

void ListOfAllReader::Finish() {
  if (!lines_.Next().empty() || lines_.Finish() != list_.File().Sum()) RefuseAsChanged();
}

std::size_t ListOfAllReader::Read(std::span<char> room) {
  const std::size_t length = file_.Read(read_, room);
  read_ += length;
  return length;
}

void ListOfAllReader::RefuseAsChanged() const {
  throw std::runtime_error("another program changed the media while make wrote it: " +
                           file_.Path() + "; let no other program write there");
}

}  // namespace kvl
