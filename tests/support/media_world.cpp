#include "tests/support/media_world.h"

namespace kvl::test {
namespace {

constexpr char kTmp[] = "tmp";
constexpr char kReport[] = "report";

void ReplaceIn(std::string& text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
}

/// Returns the directory of TMPDIR as the launcher sees it, or `otherwise` if that is no directory.
std::string StagedBelow(const Environment& env, const std::string& working_directory,
                        const std::string& otherwise) {
  const auto tmp = env.find("TMPDIR");
  if (tmp == env.end() || tmp->second.empty()) return otherwise;
  const fs::path path = fs::path(working_directory) / tmp->second;
  return fs::is_directory(path) ? path.string() : otherwise;
}

}  // namespace

std::string VolumeBuilder::Inside(const std::string& name) const {
  return name_ + "/" + name;
}

VolumeBuilder& VolumeBuilder::Announces(const std::string& line) {
  return File("inst/volumes.txt", line + "\n");
}

VolumeBuilder& VolumeBuilder::Marker(int number, const std::string& tag) {
  return File(std::to_string(number) + ".txt", "MTBDIR=" + tag + "\n");
}

VolumeBuilder& VolumeBuilder::Installer(const std::string& os, const std::string& name) {
  File("inst/" + os + "/reffiles/list", "of " + name_);
  File("inst/common/reffiles/list", "common of " + name_);
  Dir("inst/" + os + "/code/bin");
  fs::copy_file(BuiltProgram("fake_installer"),
                world_.Path(Inside("inst/" + os + "/code/bin/" + name)));
  return *this;
}

VolumeBuilder& VolumeBuilder::Descriptions() {
  for (const char* name : {"meta.TOCxml", "media.xml", "media.db", "StartGUI.sh", "StartTUI.sh"}) {
    File(name, std::string(name) + " of " + name_);
  }
  return *this;
}

VolumeBuilder& VolumeBuilder::File(const std::string& name, const std::string& contents) {
  world_.Directory().Write(Inside(name), contents);
  return *this;
}

VolumeBuilder& VolumeBuilder::Dir(const std::string& name) {
  world_.Directory().MakeDir(Inside(name));
  return *this;
}

VolumeBuilder& VolumeBuilder::Link(const std::string& name, const std::string& target) {
  world_.Directory().Link(Inside(name), world_.Text(target));
  return *this;
}

MediaWorld::MediaWorld() {
  directory_.MakeDir(kTmp);
}

void MediaWorld::Make(const std::string& directories) {
  for (const Groups& directory : MatchesIn(directories, "([^;:]+):([^;]*)(; )?")) {
    VolumeBuilder volume = Volume(directory[1]);
    for (const Groups& word : MatchesIn(directory[2], " (\\w+)=([^ ]*)")) {
      word[1] == "volumes" ? volume.Announces(word[2])
                           : volume.File(word[1] + ".txt", "MTBDIR=" + word[2] + "\n");
    }
  }
}

VolumeBuilder MediaWorld::Volume(const std::string& name) {
  directory_.MakeDir(name);
  return VolumeBuilder(*this, name);
}

std::string MediaWorld::Path(const std::string& name) const {
  return name.empty() || name == "." ? directory_.Path() : directory_.Path(name);
}

std::vector<std::string> MediaWorld::Paths(const std::vector<std::string>& names) const {
  std::vector<std::string> paths;
  for (const std::string& name : names) paths.push_back(Path(name));
  return paths;
}

std::string MediaWorld::Text(std::string text) const {
  ReplaceIn(text, "{staging}", staging_);
  for (std::size_t open; (open = text.find('{')) != std::string::npos;) {
    const std::size_t close = text.find('}', open);
    if (close == std::string::npos) break;
    text.replace(open, close + 1 - open, Path(text.substr(open + 1, close - open - 1)));
  }
  return text;
}

Environment MediaWorld::Text(Environment variables) const {
  for (auto& [name, value] : variables) value = Text(value);
  return variables;
}

LaunchSeen MediaWorld::Launch(const std::string& name, const LaunchPlan& plan) {
  Environment env = {{"CurrentMediaDir", Path(name)},    {"KVL_OS", "linux"},
                     {"KVL_Installer_EXE", "installer"}, {"TMPDIR", Path(kTmp)},
                     {"PATH", "/usr/bin:/bin"},          {"FAKE_REPORT", Path(kReport)}};
  for (const auto& [variable, value] : plan.env) env[variable] = Text(value);
  for (const std::string& variable : plan.without) env.erase(variable);

  std::vector<std::string> command;
  for (const std::string& word : plan.command) command.push_back(Text(word));
  if (command.empty()) command.push_back(BuiltProgram("kvl-launcher"));
  for (const std::string& argument : plan.arguments) command.push_back(Text(argument));
  fs::remove(Path(kReport));
  const Outcome outcome = RunProgram({command, env, plan.directory, {}, plan.before});

  const std::string tmp = StagedBelow(env, plan.directory, Path(kTmp));
  LaunchSeen seen = {outcome.status,   outcome.out, outcome.err, ReadReport(Path(kReport)), env,
                     DescribeTree(tmp)};
  staging_.clear();
  for (const fs::directory_entry& entry : fs::directory_iterator(tmp)) staging_ = entry.path();
  if (staging_.empty()) return seen;
  for (std::string& line : seen.staged) {
    ReplaceIn(line, fs::path(staging_).filename(), "{staging}");
  }
  return seen;
}

}  // namespace kvl::test
