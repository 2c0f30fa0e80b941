#include "tests/companion/check_world.h"

#include <linux/capability.h>

#include "companion/program.h"
#include "tests/insio/surroundings.h"

namespace kvl::test {
namespace {

std::string Unescaped(const std::string& text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\\') {
      bytes += text[at];
    } else if (const char kind = text[++at]; kind == 'x') {
      bytes += static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16));
      at += 2;
    } else {
      bytes += kind == 'n' ? '\n' : kind == 'r' ? '\r' : kind;
    }
  }
  return bytes;
}

/// Takes the first word off a text.
std::string TakeWord(std::string& text) {
  const std::size_t end = text.find(' ');
  std::string word = text.substr(0, end);
  text.erase(0, end == std::string::npos ? end : end + 1);
  return word;
}

using Blocks = std::map<std::string, std::string>;

constexpr char kFindings[] = "findings", kEnd[] = "end";

/// The parts of a report by their first words.
Blocks BlocksOf(const std::string& report) {
  Blocks blocks;
  std::string label;
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) continue;
    std::string rest = line;
    const std::string word = TakeWord(rest);
    if (word == "warning" || word == "error") {
      label = kFindings;
    } else if (word == "Fine:" || (!word.empty() && std::isdigit(word[0]) != 0)) {
      label = kEnd;
    } else if (!word.empty()) {
      label = word;
    }
    blocks[label] += line + "\n";
  }
  return blocks;
}

}  // namespace

const char kInPlace[] = R"(Media      {1}
System     linux
Installer  {1}/inst/linux/code/bin/installer, in the media
Volumes    2, layout sibling, tag SET-A
           1  found       {1}
           2  found       {2}
Start      in place
1 problem: the installer will be started in place
)";

const char kStaged[] = R"(Media      {1}
System     linux
Installer  {1}/inst/linux/code/bin/installer, in the media
Volumes    2, layout sibling, tag SET-A
           1  found       {1}
           2  other-tag   {2}, tag SET-B
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes, free <n>
warning    {2}/2.txt: volume 2 has the tag SET-B instead of SET-A; put the volume of the same media there
2 problems: the launcher will end with status 1
)";

std::string Report(const std::string& usual, const std::string& differing) {
  if (differing.starts_with("Media ")) return differing;
  Blocks blocks = BlocksOf(differing), rest = BlocksOf(usual);
  blocks[kFindings].insert(0, rest[kFindings]);
  blocks.merge(rest);
  std::string report;
  for (const char* label : {"Media", "System", "Installer", "Volumes", "Start", kFindings, kEnd}) {
    report += blocks[label];
  }
  return report;
}

void PrintTo(const Transcript& transcript, std::ostream* stream) {
  *stream << transcript.name;
}

std::string NameOf(const testing::TestParamInfo<Transcript>& row) {
  return row.param.name;
}

std::vector<Transcript> ReadTranscripts(const std::string& text) {
  std::vector<Transcript> transcripts;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("# ")) {
      const std::size_t end = line.find(':');
      const std::size_t given = std::min(end + 2, line.size());
      transcripts.push_back({line.substr(2, end - 2), line.substr(given), {}, {}});
    } else if (line.starts_with("$ ")) {
      transcripts.back().call = line.substr(2);
    } else if (!line.empty()) {
      transcripts.back().says += line + "\n";
    }
  }
  return transcripts;
}

void GiveUpPermissions() {
  for (const int power : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
    if (::prctl(PR_CAPBSET_DROP, power, 0, 0, 0) != 0 && ::geteuid() == 0) ::_exit(kImpossibleHere);
  }
}

VolumeBuilder CheckWorld::FirstVolume(const std::string& name) {
  VolumeBuilder volume = Volume(name);
  volume.Installer().Descriptions();
  for (const char* script : {"/StartTUI.sh", "/StartGUI.sh"}) SetMode(Path(name + script), 0755);
  return volume;
}

CheckWorld& CheckWorld::TwoVolumes() {
  FirstVolume("1");
  Make("1: volumes=2 1=SET-A; 2: 2=SET-A");
  return *this;
}

CheckWorld& CheckWorld::Change(const std::string& steps) {
  constexpr std::string_view kApart = "; ";
  for (std::size_t at = 0; at < steps.size();) {
    const std::size_t end = std::min(steps.find(kApart, at), steps.size());
    Step(steps.substr(at, end - at));
    at = end + kApart.size();
  }
  return *this;
}

void CheckWorld::Step(const std::string& step) {
  std::string rest = step;
  const std::string what = TakeWord(rest);
  if (what.ends_with(':')) return Make(step);
  if (what == "two") return void(TwoVolumes());
  if (what == "first") return void(FirstVolume(rest));
  if (what == "installer") return void(Volume(rest).Installer());
  if (what == "mode") {
    const std::string mode = TakeWord(rest);
    return SetMode(Path(rest), static_cast<unsigned>(std::stoul(mode, nullptr, 8)));
  }
  if (what == "starter") {
    rest =
        "1/StartTUI.sh #!/bin/sh\\nKVL_OS=linux\\n"
        "exec \"$CurrentMediaDir/inst/$KVL_OS/code/bin/kvl-launcher\"\\n";
  }
  const bool has_text = what == "file" || what == "link" || what == "move" || what == "starter";
  const std::string name = Unescaped(has_text ? TakeWord(rest) : rest), text = Unescaped(rest);
  if (what == "file" || what == "starter") return void(Directory().Write(name, text));
  if (what == "move") return fs::rename(Path(name), Path(text));
  fs::remove_all(Directory().Path(name));
  if (what == "link") Directory().Link(name, Text(text));
  if (what == "dir") Directory().MakeDir(name);
  if (what == "pipe") Directory().Pipe(name);
  if (what == "socket") MakeSocket(Directory(), name);
}

Outcome CheckWorld::Companion(const std::vector<std::string>& arguments, const Environment& env,
                              const std::function<void()>& before) const {
  std::vector<std::string> command = {BuiltProgram("kvl-media")};
  for (const std::string& argument : arguments) command.push_back(Text(argument));
  return RunProgram({command, Text(env), Path("."), {}, before});
}

Outcome CheckWorld::CompanionHere(const std::vector<std::string>& arguments) {
  int status = 0;
  const Outcome said = Catch([&] { status = RunKvlMedia(arguments); });
  return {status, said.out, said.err};
}

Outcome CheckWorld::Check(const std::vector<std::string>& further, const Environment& env,
                          const std::function<void()>& before) const {
  std::vector<std::string> arguments = {"check", "{1}",         "--os",
                                        "linux", "--installer", "installer"};
  arguments.insert(arguments.end(), further.begin(), further.end());
  Environment all = {{"TMPDIR", "{tmp}"}, {"PATH", "/usr/bin:/bin"}};
  for (const auto& [name, value] : env) all[name] = value;
  return Companion(arguments, all, before);
}

void CheckWorld::ExpectReport(const Outcome& seen, const std::string& report) const {
  EXPECT_EQ(WithoutBytes(seen.out), Text(report));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, report.find("\nFine: ") != std::string::npos ? 0 : 1);
}

void CheckWorld::ExpectRefused(const Outcome& seen, const std::string& line, int status) const {
  EXPECT_EQ(seen.out, "");
  EXPECT_EQ(seen.err, "kvl-media: " + Text(line) + "\n");
  EXPECT_EQ(seen.status, status);
}

std::string WithoutBytes(const std::string& text) {
  static const std::regex forecast(", [0-9]+ bytes?, free [0-9]+");
  static const std::regex want("staging needs [0-9]+ bytes, and [0-9]+ are free");
  return std::regex_replace(std::regex_replace(text, forecast, ", <n> bytes, free <n>"), want,
                            "staging needs <n> bytes, and <n> are free");
}

std::string WithoutFreeBytes(const std::string& json) {
  static const std::regex free("\"free_bytes\": [1-9][0-9]*");
  return std::regex_replace(json, free, "\"free_bytes\": 0");
}

}  // namespace kvl::test
