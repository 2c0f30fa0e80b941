#include "console/text.h"
#include "insio/replace_in_lines.h"
#include "media/marker.h"
#include "tests/models/laws.h"
#include "tests/models/models.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

void CheckNumberLaws(const std::string& text) {
  constexpr int kMark = 12345;
  const NumberModel model = ModelOfNumber(UpToNul(text));
  for (const std::int32_t fallback : {-1, 0, 7}) {
    errno = kMark;
    RequireEqual("number", ToIntOr(text, fallback), model.value.value_or(fallback));
    // Only a number that does not even fit into a long may leave an error behind.
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
  WriteFile(path, contents);
  RequireEqual("replacements in lines", KVLInsIO::ReplaceInLines(path, what, with),
               static_cast<int>(model.count));
  RequireEqual("file after the replacements", ReadFile(path),
               model.count == 0 ? contents : model.text);
  Require(!fs::exists(fs::symlink_status(path + "_TmpRIL")), "no temporary file is left");
}

void CheckMarkerLaws(const std::string& directory, const std::string& contents) {
  const std::string path = directory + "/marker";
  WriteFile(path, contents);
  RequireEqual("tag", ReadMtbDir(path), ModelOfTag(contents));
  const std::vector<std::string> lines = ModelOfLines(contents);
  RequireEqual("first line", ReadFirstLine(path).text,
               lines.empty() ? std::nullopt : std::optional(lines.front()));
}

}  // namespace kvl::test
