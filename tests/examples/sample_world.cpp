#include "tests/examples/sample_world.h"

namespace kvl::test {
namespace {

constexpr char kPath[] = "/usr/bin:/bin";

/// Returns the part of a volume's list that is about the payload, with paths from the payload on.
std::string PayloadListOf(const fs::path& volume, int number) {
  const std::string name = std::to_string(number);
  const bool is_am = !fs::exists(volume / (name + ".sha256"));
  const fs::path place = is_am ? volume.parent_path().parent_path() : volume;
  const std::string below = (is_am ? "media/" + name + "/" : "") + "payload/" + name + "/";
  std::istringstream list(ReadFile(place / (name + ".sha256")));
  std::string files;
  for (std::string line; std::getline(list, line);) {
    const std::size_t at = line.find("  " + below);
    if (at != std::string::npos) files += line.erase(at + 2, below.size()) + "\n";
  }
  return files;
}

/// Returns the lines for links in the manifest of the volume.
std::string LinksOf(const fs::path& volume) {
  const fs::path beside = volume / "media.manifest";
  std::istringstream manifest(ReadFile(
      fs::exists(beside) ? beside : volume.parent_path().parent_path() / "media.manifest"));
  std::string links;
  for (std::string line; std::getline(manifest, line);) {
    if (line.starts_with("link ")) links += line + "\n";
  }
  return links;
}

std::string CountOf(const Installation& installation) {
  return std::to_string(std::max(installation.of, installation.volumes.size())) + " volume(s)";
}

/// Returns the last line without its line feed.
std::string LastLineOf(const std::string& text) {
  if (!text.ends_with('\n')) return "(no line feed at the end of: " + text + ")";
  const std::string lines = text.substr(0, text.size() - 1);
  return lines.substr(lines.rfind('\n') + 1);
}

}  // namespace

void SampleWorld::Media(const MediaPlan& plan) const {
  const TestDirectory payload;
  std::vector<std::string> make = {BuiltProgram("kvl-media"), "make", "--presorted"};
  if (!plan.layout.empty()) make.insert(make.end(), {"--layout", plan.layout});
  make.insert(make.end(), {"--tag", plan.tag, "--inst", SourceFile("examples/sample-inst")});
  make.insert(make.end(), {"--installer", SourceFile("examples/sample-installer")});
  make.insert(make.end(),
              {"--launcher", plan.launcher, "--", payload.Path(), Text(Path(plan.directory))});
  const std::vector<std::string> fill = {SourceFile("examples/sample-payload"), payload.Path(),
                                         std::to_string(plan.volumes)};
  for (const std::vector<std::string>& command : {fill, make}) {
    const Outcome outcome = RunProgram({command, {{"PATH", kPath}}, Path(".")});
    if (outcome.status != 0 || !outcome.err.empty()) {
      throw std::runtime_error("cannot make a media: " + outcome.err);
    }
  }
}

Outcome SampleWorld::Start(const std::string& first_volume,
                           const std::vector<std::string>& arguments, const StartPlan& plan) const {
  std::vector<std::string> command = {Path(first_volume) + "/StartTUI.sh"};
  for (const std::string& argument : arguments) command.push_back(Text(argument));
  Environment env = Text(plan.env);
  env.emplace("TMPDIR", Path("tmp"));
  env.emplace("PATH", kPath);
  return RunProgram({command, env, Path("."), plan.input, plan.before});
}

std::vector<std::string> SampleWorld::TreeOf(const Installation& installation) const {
  const TestDirectory model;
  // The installer makes links last.
  const bool has_links = installation.state != "incomplete";
  std::string files, links;
  std::string directories = installation.volumes.empty() ? "" : "bin\nshare\nshare/sample suite\n";
  int number = 0;
  for (const std::string& volume : installation.volumes) {
    const std::string payload = Path(volume) + "/payload/" + std::to_string(++number);
    fs::copy(payload, model.Path(),
             fs::copy_options::recursive |
                 (has_links ? fs::copy_options::copy_symlinks : fs::copy_options::skip_symlinks));
    files += PayloadListOf(Path(volume), number);
    if (has_links && number == 1) links = LinksOf(Path(volume));
    directories += "share/sample suite/volume " + std::to_string(number) + "\n";
  }
  const std::string tag = installation.tag.empty() ? "no tag" : installation.tag;
  model.Write(".sample-suite/media", tag + ", " + CountOf(installation) + "\n");
  model.Write(".sample-suite/state", installation.state + "\n");
  model.Write(".sample-suite/files", files);
  model.Write(".sample-suite/links", links);
  model.Write(".sample-suite/directories", directories);
  return DescribeTree(model.Path());
}

void SampleWorld::ExpectInstallation(const std::string& first_volume, const Told& told,
                                     const Installation& left, const StartPlan& plan) const {
  Expect(first_volume, {"--target", "{target}"},
         {told.status, told.search + SaysInstalled(left) + told.asked, told.err}, plan);
  EXPECT_EQ(DescribeTree(Path("target")), TreeOf(left));
}

void SampleWorld::Expect(const std::string& first_volume, const std::vector<std::string>& arguments,
                         const Outcome& expected, const StartPlan& plan) const {
  ExpectOutcome(Start(first_volume, arguments, plan),
                {expected.status, FindsInstallerIn(first_volume) + expected.out, expected.err});
}

void SampleWorld::ExpectFailure(const std::string& first_volume,
                                const std::vector<std::string>& arguments, int status,
                                const std::string& last_line, const StartPlan& plan) const {
  const Outcome outcome = Start(first_volume, arguments, plan);
  EXPECT_EQ(outcome.status, status);
  EXPECT_EQ(LastLineOf(outcome.err), Text("sample-installer: " + last_line));
}

void SampleWorld::ExpectOutcome(const Outcome& seen, const Outcome& expected) const {
  EXPECT_EQ(seen, (Outcome{expected.status, Text(expected.out), Text(expected.err)}));
}

std::string FindsInstallerIn(const std::string& first_volume) {
  const std::string installer = "{" + first_volume + "/inst/linux/code/bin/sample-installer}";
  return says::FoundInCurrentMedia(installer);
}

std::string SaysInstalled(const Installation& installation) {
  const std::string of = installation.tag.empty() ? "" : " of " + installation.tag;
  std::string text = "Sample Suite: installing " + CountOf(installation) + of + " into: {target}\n";
  std::size_t volumes = 0;
  for (const std::string& directory : installation.volumes) {
    text +=
        "Volume " + std::to_string(++volumes) + ": installed 3 files from: {" + directory + "}\n";
  }
  if (installation.state != "installed") return text;
  return text + "Installed " + std::to_string(3 * volumes) + " files. Everything is in place.\n";
}

}  // namespace kvl::test
