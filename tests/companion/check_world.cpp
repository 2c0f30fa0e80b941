#include "tests/companion/check_world.h"

#include <nlohmann/json.hpp>

#include "companion/program.h"
#include "tests/support/call_filter.h"

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

/// Removes the first word from a text and returns it.
std::string TakeWord(std::string& text) {
  const std::size_t end = text.find(' ');
  std::string word = text.substr(0, end);
  text.erase(0, end == std::string::npos ? end : end + 1);
  return word;
}

using ReportParts = std::map<std::string, std::string>;

constexpr char kMoreVolumes[] = "", kFindings[] = "findings", kEnd[] = "end";

/// Returns the parts of a report by their first words.
ReportParts PartsOf(const std::string& report) {
  ReportParts parts;
  std::string label = kMoreVolumes;
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) continue;
    std::string rest = line;
    const std::string word = TakeWord(rest);
    if (word == "warning:" || word == "error:" || word == "and") {
      label = kFindings;
    } else if (word == "Fine:" || (!word.empty() && std::isdigit(word[0]) != 0)) {
      label = kEnd;
    } else if (!word.empty()) {
      label = word;
    }
    parts[label] += line + "\n";
  }
  return parts;
}

}  // namespace

const char kInPlace[] = R"(Media      {1}
System     linux, from --os
Installer  {1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2, layout sibling, tag SET-A
           1  found       {1}
           2  found       {2}
Start      in place
1 problem: the installer will be started in place
)";

const char kStaged[] = R"(Media      {1}
System     linux, from --os
Installer  {1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2, layout sibling, tag SET-A
           1  found       {1}
           2  other-tag   {2}, tag SET-B
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes; <n> bytes free
warning: volume 2 has the tag SET-B instead of SET-A: {2}/2.txt; put the volume that belongs to this media there
2 problems: the launcher will end with status 1
)";

std::string Report(const std::string& usual, const std::string& differing) {
  if (differing.starts_with("Media ")) return differing;
  ReportParts parts = PartsOf(differing), rest = PartsOf(usual);
  parts[kFindings].insert(0, rest[kFindings]);
  parts.merge(rest);
  parts["Volumes"] += parts[kMoreVolumes];
  std::string report;
  for (const char* label : {"Media", "System", "Installer", "Volumes", "Start", kFindings, kEnd}) {
    report += parts[label];
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
  struct Section {
    std::string steps, usual;
  };
  const std::map<std::string, Section> sections = {
      {"started in place", {"", kInPlace}},
      {"cannot be staged", {"2: 2=SET-B; ", kStaged}},
      {"has a start script that starts nothing",
       {"", Report(kInPlace,
                   "1 problem: StartTUI.sh will fail; without it, the installer will be started "
                   "in place\n")}},
      {"has a launcher that cannot be started",
       {"", Report(kInPlace, "1 problem: the launcher cannot be started\n")}},
      {"is fine", {"", Report(kInPlace, "Fine: the installer will be started in place\n")}},
      {"cannot be started",
       {"", Report(kInPlace,
                   "1 problem: the installer cannot be started, and the launcher will end with "
                   "status 255\n")}},
      {"has no installer", {"", Report(kInPlace, R"(
Installer  not found; name from --installer
Start      not reached
1 problem: the launcher will end with status 1
)")}},
      {"lacks a volume", {"", Report(kInPlace, R"(
Volumes    2, layout unknown, tag SET-A
           1  found       {1}
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes; <n> bytes free
1 problem: the installer will be staged and started
)")}},
  };
  Section section;
  std::vector<Transcript> transcripts;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("= ")) {
      section = sections.at(line.substr(2));
    } else if (line.starts_with("# ")) {
      const std::size_t end = line.find(':');
      const std::size_t given = std::min(end + 2, line.size());
      transcripts.push_back({line.substr(2, end - 2),
                             "two volumes; " + section.steps,
                             line.substr(given),
                             {},
                             section.usual,
                             {}});
    } else if (line.starts_with("$ ")) {
      transcripts.back().call = line.substr(2);
    } else if (!line.empty()) {
      transcripts.back().differing += line + "\n";
    }
  }
  return transcripts;
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

Outcome CheckWorld::Companion(const Lines& arguments, const Environment& env,
                              const std::function<void()>& before) const {
  Lines command = {BuiltProgram("kvl-media")};
  for (const std::string& argument : arguments) command.push_back(Text(argument));
  return RunProgram({command, Text(env), Path("."), {}, before});
}

Outcome CheckWorld::CompanionHere(const Lines& arguments) {
  int status = 0;
  const Outcome said = Catch([&] { status = RunKvlMedia(arguments); });
  return {status, said.out, said.err};
}

Outcome CheckWorld::Check(const Lines& further, const Environment& env,
                          const std::function<void()>& before) const {
  Lines arguments = {"check", "{1}", "--os", "linux", "--installer", "installer"};
  arguments.insert(arguments.end(), further.begin(), further.end());
  Environment all = {{"TMPDIR", "{tmp}"}, {"PATH", "/usr/bin:/bin"}};
  for (const auto& [name, value] : env) all[name] = value;
  return Companion(arguments, all, before);
}

Outcome CheckWorld::CheckBy(const std::string& line, const Lines& options) const {
  std::function<void()> before;
  std::optional<ScopedUmask> umask;
  Environment env;
  Lines arguments;
  std::istringstream words(line);
  for (std::string word; words >> word;) {
    const std::size_t equals = word.find('=');
    if (word == "without-rights") {
      before = GiveUpPermissions;
    } else if (word == "noexec") {
      before = [this] { ForbidToExecute(Path("1")); };
    } else if (word.starts_with("umask-")) {
      umask.emplace(static_cast<mode_t>(std::stoul(word.substr(6), nullptr, 8)));
    } else if (word == "older-container") {
      constexpr unsigned kFaccessat2 = 439;  // the same number on every machine
      before = [] { FilterCalls({kFaccessat2}, SECCOMP_RET_ERRNO | EPERM); };
    } else if (arguments.empty() && equals != std::string::npos) {
      env[word.substr(0, equals)] = Unescaped(word.substr(equals + 1));
    } else {
      arguments.push_back(word == "''" ? "" : word);
    }
  }
  const bool is_whole = !arguments.empty() && arguments[0] == "check";
  arguments.insert(arguments.begin() + (is_whole ? 1 : 0), options.begin(), options.end());
  if (!is_whole) return Check(arguments, env, before);
  env["TMPDIR"] = "{tmp}";
  return Companion(arguments, env, before);
}

Outcome CheckWorld::MakeMedia(const Lines& further, const std::string& directory,
                              const std::function<void()>& before) const {
  Lines arguments = {"make",       "--tag", "T 1",     "--installer", "setup",
                     "--launcher", "setup", "payload", directory};
  arguments.insert(arguments.end(), further.begin(), further.end());
  return Companion(arguments, {}, before);
}

void CheckWorld::ExpectMade(const Outcome& seen, const std::string& first,
                            const std::string& layout, int volumes) const {
  const std::string said = "Made a media with tag T 1, layout " + layout +
                           ", volumes: " + std::to_string(volumes) + ".\nFirst volume: " + first +
                           "'\nStart it with: " + first + "/StartTUI.sh'\n";
  EXPECT_EQ(seen, (Outcome{0, Text(said), ""}));
}

void CheckWorld::ExpectReport(const Outcome& seen, const std::string& report) const {
  EXPECT_EQ(WithoutBytes(seen.out), Text(report));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, report.find("\nFine: ") != std::string::npos ? 0 : 1);
}

void CheckWorld::ExpectRefused(const Outcome& seen, const std::string& line, int status) const {
  EXPECT_EQ(seen, (Outcome{status, "", "kvl-media: " + Text(line) + "\n"}));
}

void CheckWorld::ExpectRefusedAndUntouched(const Lines& further, const std::string& line) const {
  const Lines before = DescribeTreeExactly(Path("."));
  ExpectRefused(MakeMedia(further), line);
  EXPECT_EQ(DescribeTreeExactly(Path(".")), before);
}

void ExpectTheSame(const Outcome& json, const Outcome& text) {
  const auto report = nlohmann::json::parse(json.out);
  std::string findings;
  for (const auto& finding : report["findings"]) {
    const std::string path = finding["path"], severity = finding["severity"];
    findings += severity + ": " + finding["text"].get<std::string>() +
                (path.empty() ? "" : ": " + path) + "; " + finding["remedy"].get<std::string>() +
                "\n";
  }
  const auto says = [&](const std::string& words) {
    return text.out.find(words) != std::string::npos;
  };
  if (!says("\nand ")) {
    EXPECT_THAT(text.out, testing::HasSubstr(findings));
  }
  const bool has_launcher = !says(": the launcher cannot be started\n");
  const bool is_started =
      says(" will be started in place\n") || says(" will be staged and started\n");
  const std::string expectation = report["expectation"];
  EXPECT_EQ(has_launcher && expectation == "installer-runs", is_started);
  EXPECT_EQ(report["start"], !has_launcher            ? "launcher-cannot-start"
                             : says(": StartTUI.sh ") ? "start-script-fails"
                                                      : expectation);
  EXPECT_EQ(json.status, text.status);
}

void ForbidToExecute(const std::string& directory) {
  const unsigned long again = MS_REMOUNT | MS_BIND | MS_NOEXEC;
  const bool is_possible =
      ::unshare(CLONE_NEWNS) == 0 &&
      ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
      ::mount(directory.c_str(), directory.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
      ::mount("none", directory.c_str(), nullptr, again, nullptr) == 0;
  if (!is_possible) ::_exit(kImpossibleHere);
}

std::string WithoutBytes(const std::string& text) {
  return Replaced(
      Replaced(text, ", [0-9]+ bytes?; [0-9]+ bytes? free", ", <n> bytes; <n> bytes free"),
      "staging needs [0-9]+ bytes, but only [0-9]+ are free",
      "staging needs <n> bytes, but only <n> are free");
}

std::string WithoutFreeBytes(const std::string& json) {
  return Replaced(json, "\"free_(bytes|entries)\": ([1-9][0-9]*|null)", "\"free_$1\": 0");
}

}  // namespace kvl::test
