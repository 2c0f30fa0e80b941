// What kvl-media says about a media, and what the launcher does with it: the same, for hundreds of
// media that are made up from a fixed seed.
#include <nlohmann/json.hpp>
#include <random>

#include "tests/companion/check_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using Json = nlohmann::json;
using Lines = std::vector<std::string>;

constexpr int kInstallerStatus = 7;

/// Numbers that are the same on every machine.
class Dice {
 public:
  explicit Dice(unsigned seed) : generator_(seed) {}
  unsigned Below(unsigned limit) { return static_cast<unsigned>(generator_() % limit); }
  bool Percent(unsigned chance) { return Below(100) < chance; }
  template <typename T>
  const T& OneOf(const std::vector<T>& all) {
    return all[Below(static_cast<unsigned>(all.size()))];
  }

 private:
  std::mt19937 generator_;
};

/// A media, and how its launcher is started.
class RandomMedia {
 public:
  explicit RandomMedia(unsigned seed) : dice_(seed) {
    MakeVolumes();
    MakeInstaller("" + media_, dice_.Percent(80));
    MakeDescriptions();
    MakeExtras();
    MakeExternal();
    MakeCall();
    MakeStart();
    MakeInstallerThatCannotRun();
  }

  CheckWorld& World() { return world_; }
  const std::string& Media() const { return media_; }
  const LaunchPlan& Plan() const { return plan_; }

 private:
  void MakeMarker(const std::string& directory, unsigned number, const std::string& tag) {
    const unsigned kind = dice_.Below(20);
    const std::string name = std::to_string(number) + ".txt";
    VolumeBuilder volume = world_.Volume(directory);
    if (kind == 0) return;
    if (kind == 1) {
      volume.Marker(static_cast<int>(number), tag + "-other");
    } else if (kind == 2) {
      volume.File(name, "no tag\n");
    } else if (kind == 3) {
      volume.File(name, "MTBDIR=\n");
    } else if (kind == 4) {
      volume.Dir(name);
    } else if (kind == 5) {
      volume.File(name, "first\r\nMTBDIR=" + tag + "\r\n");
    } else {
      volume.Marker(static_cast<int>(number), tag);
    }
  }

  void MakeVolumes() {
    const unsigned layout = dice_.Below(5);
    const unsigned count = 2 + dice_.Below(3);
    media_ = layout == 3        ? "am/2/r/1"
             : dice_.Percent(5) ? dice_.OneOf<std::string>({"a:b", "a b", "a\"b"})
                                : "1";
    world_.Volume(media_);
    if (layout == 4) {
      if (dice_.Percent(50)) world_.Volume(media_).Announces("1");
      return;
    }
    const std::string number = std::to_string(count);
    static const Lines quirks = {"\xEF\xBB\xBF", "three", "", " ", "-"};
    const std::string before = dice_.Percent(10) ? dice_.OneOf(quirks) : "";
    const std::string behind =
        dice_.Percent(10) ? dice_.OneOf<std::string>({"\r", " volumes", "\n9"}) : "";
    if (dice_.Percent(3)) {
      world_.Volume(media_).File("inst/volumes.txt", "");
    } else {
      world_.Volume(media_).Announces(before + number + behind);
    }
    MakeMarker(media_, 1, "SET");
    if (layout == 3 && dice_.Percent(95)) MakeMarker("am/2", 2, "AM");
    for (unsigned i = 2; i <= count; ++i) {
      const std::string name = std::to_string(i);
      if (layout == 1) {
        MakeMarker(media_, i, "SET");
      } else if (layout == 3) {
        const std::string am = "am/" + std::to_string(i + 1);
        MakeMarker(am, i + 1, "AM");
        MakeMarker(am + "/r/" + name, i, "SET");
      } else {
        MakeMarker(name, i, "SET");
      }
    }
  }

  void MakeInstaller(const std::string& directory, bool is_there) {
    world_.Volume(directory).File("inst/common/reffiles/list", "c").File("inst/linux/list", "o");
    if (!is_there) return;
    const std::string path = directory + "/inst/linux/code/bin/installer";
    if (dice_.Percent(3)) {
      world_.Directory().MakeDir(path);
      return;
    }
    if (dice_.Percent(90)) {  // a copy takes time
      world_.Directory().Link(path, BuiltProgram("fake_installer"));
      return;
    }
    world_.Volume(directory).Dir("inst/linux/code/bin");
    fs::copy_file(BuiltProgram("fake_installer"), world_.Path(path));
    if (dice_.Percent(50)) SetMode(world_.Path(path), 0644);
  }

  void MakeDescriptions() {
    world_.Volume(media_).Descriptions();
    if (dice_.Percent(8)) {
      fs::remove(world_.Path(media_ + "/" + dice_.OneOf<std::string>({"media.db", "StartGUI.sh"})));
    }
  }

  void MakeExtras() {
    VolumeBuilder volume = world_.Volume(media_);
    if (dice_.Percent(30)) volume.File("inst/a/b/c", "text").Dir("inst/a/empty");
    if (dice_.Percent(20))
      volume.Link("inst/link", "common").Link("inst/file", "common/reffiles/list");
    if (dice_.Percent(4)) volume.Link("inst/dangling", "nowhere");
    if (dice_.Percent(4)) volume.Link("inst/common/up", "..");
    if (dice_.Percent(4)) volume.Link("inst/x/y", "../z").Link("inst/z/x", "../x");
    if (dice_.Percent(3)) world_.Directory().Pipe(media_ + "/inst/pipe");
    if (dice_.Percent(10)) volume.File("inst/common/mixed", "a file");
    if (dice_.Percent(5)) volume.Link("inst/null", "/dev/null");
  }

  void MakeExternal() {
    const std::string name = dice_.Percent(10) ? "an ext" : "ext";
    const std::string root = dice_.Percent(30) ? name + "/1" : name;
    MakeInstaller(root, dice_.Percent(85));
    if (dice_.Percent(15)) world_.Volume(root).File("inst/common/mixed", "another");
    if (dice_.Percent(5)) {
      fs::remove(world_.Path(root + "/inst/common/mixed"));
      world_.Volume(root).Dir("inst/common/mixed");
    }
    if (dice_.Percent(5)) fs::remove_all(world_.Path(root + "/inst/common"));
    if (dice_.Percent(25)) plan_.arguments = {"-installerPath", "{" + name + "}"};
    if (dice_.Percent(25)) plan_.env["KVL_ZOLVEN_Installer"] = "{" + name + "}";
    if (dice_.Percent(20)) plan_.env["KVL_UseExternalInstaller"] = "yes";
  }

  void Argue(unsigned chance, const Lines& arguments) {
    if (!dice_.Percent(chance)) return;
    plan_.arguments.insert(plan_.arguments.end(), arguments.begin(), arguments.end());
  }

  void MakeCall() {
    plan_.env["FAKE_EXIT"] = std::to_string(kInstallerStatus);
    Argue(6, {"-SoftMgt", "-List"});
    Argue(2, {"-Check"});
    Argue(4, {"--mgt"});
    Argue(4, {"--uninst"});
    Argue(2, {"--odt"});
    Argue(3, {"-env", "KVLAdmInstDontCopyInstaller"});
    Argue(3, {"-env", "TMPDIR={tmp}/of/option"});
    Argue(20, {"plain", "with blank"});
    Argue(4, {""});
    Argue(4, {"a\"b", "c\\"});
    if (dice_.Percent(4)) plan_.env["KVLAdmODTMultiVolumes"] = "1";
    if (dice_.Percent(4)) plan_.env["KVLAdmInstDontCopyInstaller"] = "1";
    if (dice_.Percent(4)) plan_.env["KVL_Online_Installation_Caf_Repositiory"] = "1";
    if (dice_.Percent(50)) plan_.env["KVL_LIBPATH_VARNAME"] = "LD_LIBRARY_PATH";
    const unsigned tmp = dice_.Below(20);
    if (tmp == 0) plan_.env["TMPDIR"] = "{tmp/new}";
    if (tmp == 1) plan_.env["TMPDIR"] = "{" + media_ + "/inst/common}";
    if (tmp == 2) plan_.env["TMPDIR"] = "{" + media_ + "/media.xml}";
    if (tmp == 3) plan_.env["TMPDIR"] = "{tmp/}";
  }

  /// What the launcher itself, which is started without a script, does not care about.
  void MakeStart() {
    const std::string script = media_ + "/StartTUI.sh";
    if (dice_.Percent(20))
      world_.Directory().Write(script, "exec inst/linux/code/bin/kvl-launcher");
    if (!dice_.Percent(80)) return;
    SetMode(world_.Path(script), 0755);
    std::error_code error;  // it may have been removed
    fs::permissions(world_.Path(media_ + "/StartGUI.sh"), fs::perms(0755), error);
  }

  void MakeInstallerThatCannotRun() {
    const std::string path = media_ + "/inst/linux/code/bin/installer";
    if (!dice_.Percent(8) || !fs::exists(world_.Path(path))) return;
    fs::remove_all(world_.Path(path));
    static const Lines contents = {"", "#!/bin/sh\r\n", "#! /nowhere/sh -e\n", "#!/nowhere/sh"};
    world_.Directory().Write(path, dice_.OneOf(contents));
    if (dice_.Percent(80)) SetMode(world_.Path(path), 0755);
  }

  Dice dice_;
  CheckWorld world_;
  std::string media_;
  LaunchPlan plan_;
};

void ReplaceIn(std::string& text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
}

Lines SortedLines(const std::string& text) {
  std::istringstream stream(text);
  Lines lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  return lines;
}

/// The launcher's lines from before it stages and starts.
Lines EarlyLines(const LaunchSeen& seen) {
  Lines lines = SortedLines(seen.out + seen.err);
  static const Lines late = {"ERROR: Cannot copy the installer",
                             "ERROR: Cannot wait for process",
                             "ERROR: lstat",
                             "ERROR: mkdir",
                             "ERROR: Cannot stat",
                             "ERROR: Cannot read",
                             "ERROR: Cannot write",
                             "ERROR: Cannot copy",
                             " WARN: This media is composed of",
                             " WARN: If it is not done already",
                             " WARN: Not doing so",
                             "terminate called",
                             "  what():"};
  std::erase_if(lines, [](const std::string& line) {
    return line == "       " ||
           std::any_of(late.begin(), late.end(),
                       [&](const std::string& begin) { return line.starts_with(begin); });
  });
  return lines;
}

Lines FilesBelow(const std::string& directory) {
  Lines files;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file()) files.push_back(fs::relative(entry.path(), directory));
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// The one new directory in that of TMPDIR; empty when nothing was staged.
std::string StagingIn(const std::string& tmp, const std::set<std::string>& before) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(tmp, error)) {
    const std::string path = entry.path();
    if (!before.contains(path) && fs::is_directory(path)) return path;
  }
  return {};
}

std::set<std::string> EntriesOf(const std::string& directory) {
  std::set<std::string> entries;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(directory, error)) entries.insert(entry.path());
  return entries;
}

std::string TmpOf(const CheckWorld& world, const LaunchPlan& plan) {
  const auto option =
      std::find(plan.arguments.begin(), plan.arguments.end(), "TMPDIR={tmp}/of/option");
  if (option != plan.arguments.end()) return world.Path("tmp/of/option");
  const auto given = plan.env.find("TMPDIR");
  return given == plan.env.end() ? world.Path("tmp") : world.Text(given->second);
}

Json CheckAsLaunched(const CheckWorld& world, const std::string& media, const LaunchPlan& plan) {
  Environment env = {{"KVL_OS", "linux"},
                     {"KVL_Installer_EXE", "installer"},
                     {"TMPDIR", "{tmp}"},
                     {"PATH", "/usr/bin:/bin"},
                     {"FAKE_REPORT", "{report}"}};
  for (const auto& [name, value] : plan.env) env[name] = value;
  Lines arguments = {"check", world.Path(media), "--json", "--"};
  arguments.insert(arguments.end(), plan.arguments.begin(), plan.arguments.end());
  const Outcome seen = world.Companion(arguments, env);
  EXPECT_EQ(seen.err, "");
  const Json report = Json::parse(seen.out);
  EXPECT_EQ(seen.status, report["findings"].empty() ? 0 : 1);
  return report;
}

std::string ExpectedStatus(const Json& report) {
  if (report["status"].is_null()) return std::to_string(kInstallerStatus);
  return report["expectation"] == "abort" ? "-6" : report["status"].dump();
}

void ExpectAgreement(RandomMedia& media, std::map<std::string, int>& seen_often) {
  CheckWorld& world = media.World();
  const std::string tmp = TmpOf(world, media.Plan());
  const std::set<std::string> before = EntriesOf(tmp);
  const Lines tree_before = DescribeTreeExactly(world.Path("."));
  const Json report = CheckAsLaunched(world, media.Media(), media.Plan());
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), tree_before);
  const LaunchSeen seen = world.Launch(media.Media(), media.Plan());
  SCOPED_TRACE(report.dump(1));
  SCOPED_TRACE(seen.out + seen.err);

  const std::string expectation = report["expectation"];
  ++seen_often[expectation + (report["staged"] ? ", staged" : "")];
  EXPECT_EQ(std::to_string(seen.status), ExpectedStatus(report));
  EXPECT_EQ(seen.child.started, expectation == "installer-runs");
  Lines messages = report["messages"];
  std::sort(messages.begin(), messages.end());
  EXPECT_EQ(EarlyLines(seen), messages);

  const std::string staging = StagingIn(tmp, before);
  const bool is_staged = !staging.empty() && fs::exists(staging + "/remove.bat");
  EXPECT_EQ(is_staged, report["staged"] && expectation != "staging-fails");
  if (is_staged) {
    Lines names = report["staging"]["names"];
    names.emplace_back("remove.bat");
    std::sort(names.begin(), names.end());
    EXPECT_EQ(FilesBelow(staging), names);
  }
  if (!seen.child.started) return;
  const auto in_staging = [&](std::string text) {
    ReplaceIn(text, "<identifier>", fs::path(staging).filename());
    return text;
  };
  Lines command;
  for (const Json& text : report["command"]) command.push_back(in_staging(text));
  EXPECT_EQ(seen.child.arguments, command);
  Environment variables;
  for (const auto& [name, value] : report["variables"].items()) variables[name] = in_staging(value);
  EXPECT_EQ(EnvChanges(seen.given, seen.child.env), variables);
}

TEST(CheckAgreesWithTheLauncher, OnHundredsOfMedia) {
  constexpr unsigned kMedia = 400;
  std::map<std::string, int> seen_often;
  for (unsigned seed = 1; seed <= kMedia; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomMedia media(seed);
    ASSERT_NO_FATAL_FAILURE(ExpectAgreement(media, seen_often));
    if (HasFailure()) return;
  }
  // All that can come of a run came up, and the most usual ends often enough to mean something.
  for (const char* end : {"abort", "bad-command-line", "blank-in-installer-media", "cannot-start",
                          "cannot-start, staged", "installer-runs", "installer-runs, staged",
                          "no-installer", "query", "staging-fails, staged"}) {
    EXPECT_GE(seen_often[end], 3) << end;
  }
  EXPECT_GE(seen_often["installer-runs"], 80);
  EXPECT_GE(seen_often["installer-runs, staged"], 40);
}

}  // namespace
}  // namespace kvl::test
