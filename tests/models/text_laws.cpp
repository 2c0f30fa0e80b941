#include "tests/models/text_laws.h"

#include "console/text.h"
#include "insio/replace_in_lines.h"
#include "media/marker.h"
#include "tests/models/law.h"
#include "tests/models/text_model.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// A C string ends at its first NUL byte.
std::string UpToNul(const std::string& text) {
  return text.substr(0, text.find('\0'));
}

/// Files of a fuzzer: as few system calls as possible.
class Descriptor {
 public:
  Descriptor(const std::string& path, int flags) : number_(::open(path.c_str(), flags, 0600)) {
    if (number_ < 0) throw std::runtime_error("cannot open " + path);
  }
  ~Descriptor() { ::close(number_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Number() const { return number_; }

 private:
  int number_;
};

void Write(const std::string& path, const std::string& contents) {
  const Descriptor file(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC);
  if (::write(file.Number(), contents.data(), contents.size()) != ssize_t(contents.size())) {
    throw std::runtime_error("cannot write " + path);
  }
}

std::string Read(const std::string& path) {
  const Descriptor file(path, O_RDONLY | O_CLOEXEC);
  std::string contents;
  std::array<char, 4096> buffer;
  for (ssize_t n; (n = ::read(file.Number(), buffer.data(), buffer.size())) > 0;) {
    contents.append(buffer.data(), static_cast<std::size_t>(n));
  }
  return contents;
}

bool IsThere(const std::string& path) {
  struct stat status = {};
  return ::lstat(path.c_str(), &status) == 0;
}

/// The value of the first line that begins with the key.
std::string ModelOfTag(const std::string& contents) {
  constexpr std::string_view kKey = "MTBDIR=";
  for (const std::string& line : ModelOfLines(contents)) {
    if (line.starts_with(kKey)) return line.substr(kKey.size());
  }
  return "";
}

}  // namespace

void CheckNumberLaws(const std::string& text) {
  constexpr int kMark = 12345;
  const NumberModel model = ModelOfNumber(UpToNul(text));
  for (const std::int32_t fallback : {-1, 0, 7}) {
    errno = kMark;
    RequireEqual("number", ToIntOr(text, fallback), model.value.value_or(fallback));
    // Only a number that does not even fit a long may leave an error behind.
    Require(errno == kMark || (errno == ERANGE && model.has_digit && !model.value),
            "errno is left alone");
  }
  const std::string name = text + ".txt";
  const bool is_short = text.size() == 1 || text.size() == 2;
  RequireEqual("volume of a marker's name", VolumeOfMarkerName(name),
               is_short ? model.value.value_or(kNoVolume) : kNoVolume);
  if (!text.ends_with(".txt")) {
    RequireEqual("volume of another name", VolumeOfMarkerName(text), kNoVolume);
  }
}

void CheckReadLineLaws(const std::string& contents) {
  std::istringstream stream(contents);
  std::vector<std::string> lines;
  for (std::string line; ReadLine(stream, line);) lines.push_back(line);
  RequireEqual("lines", lines, ModelOfLines(contents));
  Require(stream.eof() && !stream.bad(), "the stream is at its end");
}

void CheckReplaceAllLaws(const std::string& text, const std::string& what, const std::string& with,
                         std::size_t start) {
  const ReplacedModel model = ModelOfReplaceAll(text, what, with, start);
  std::string replaced = text;
  RequireEqual("replacements", ReplaceAll(replaced, what, with, start), model.count);
  RequireEqual("text after the replacements", replaced, model.text);
}

void CheckReplaceInLinesLaws(const std::string& directory, const std::string& contents,
                             const std::string& what, const std::string& with) {
  const std::string path = directory + "/text";
  const ReplacedModel model = ModelOfReplaceInLines(contents, what, with);
  Write(path, contents);
  RequireEqual("replacements in lines", KVLInsIO::ReplaceInLines(path, what, with),
               static_cast<int>(model.count));
  RequireEqual("file after the replacements", Read(path), model.count == 0 ? contents : model.text);
  Require(!IsThere(path + "_TmpRIL"), "no temporary file is left");
}

void CheckMarkerLaws(const std::string& directory, const std::string& contents) {
  const std::string path = directory + "/marker";
  Write(path, contents);
  RequireEqual("tag", ReadMtbDir(path), ModelOfTag(contents));
  const std::vector<std::string> lines = ModelOfLines(contents);
  RequireEqual("first line", ReadFirstLine(path).text,
               lines.empty() ? std::nullopt : std::optional(lines.front()));
}

}  // namespace kvl::test
