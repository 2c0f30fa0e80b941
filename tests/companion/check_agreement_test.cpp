// What kvl-media says about a media, and what the launcher does with it: the same, for hundreds of
// media that are made up from a fixed seed.
#include <nlohmann/json.hpp>
#include <random>

#include "companion/names/plain_text.h"
#include "console/text.h"
#include "tests/companion/check_world.h"
#include "tests/models/laws.h"
#include "tests/models/models.h"
#include "tests/models/scan_model.h"

namespace kvl::test {
namespace {

using SortedJson = nlohmann::json;

constexpr int kInstallerStatus = 7;

/// Bytes that are the same on every machine.
std::vector<std::uint8_t> RandomBytes(unsigned seed) {
  constexpr std::size_t kEnough = 8192;
  std::mt19937 generator(seed);
  std::vector<std::uint8_t> bytes(kEnough);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(generator());
  return bytes;
}

/// A hundred volumes take time, and show nothing that a few do not.
bool IsLarge(const ScanTable& table) {
  constexpr int kFew = 9;
  const auto count = ModelOfNumber(table.volumes_file ? table.volumes_file->contents : "").value;
  return (count && *count > kFew) || table.flat.size() > kFew || table.beside.size() > kFew ||
         table.am.size() > kFew;
}

/// A media, and how its launcher is started.
class RandomMedia {
 public:
  explicit RandomMedia(unsigned seed) : bytes_(RandomBytes(seed)) {
    MakeVolumes();
    MakeInstaller(media_, Percent(80));
    MakeDescriptions();
    MakeExtras();
    MakeExternal();
    MakeStart();
    MakeInstallerThatCannotRun();
  }

  /// Starts its launcher in another way from now on.
  void MakeCall() {
    plan_ = {};
    plan_.env["FAKE_EXIT"] = std::to_string(kInstallerStatus);
    if (Percent(25)) plan_.arguments = {"-installerPath", "{" + external_ + "}"};
    if (Percent(25)) plan_.env["KVL_ZOLVEN_Installer"] = "{" + external_ + "}";
    if (Percent(20)) plan_.env["KVL_UseExternalInstaller"] = "yes";
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
    if (Percent(4)) plan_.env["KVLAdmODTMultiVolumes"] = "1";
    if (Percent(4)) plan_.env["KVLAdmInstDontCopyInstaller"] = "1";
    if (Percent(4)) plan_.env["KVL_Online_Installation_Caf_Repositiory"] = "1";
    if (Percent(50)) plan_.env["KVL_LIBPATH_VARNAME"] = "LD_LIBRARY_PATH";
    const Lines places = {"{tmp/new}", "{" + media_ + "/inst/common}", "{" + media_ + "/media.xml}",
                          "{tmp/}"};
    if (Percent(20)) plan_.env["TMPDIR"] = source_.OneOf(places);
  }

  CheckWorld& World() { return world_; }
  const std::string& Media() const { return media_; }
  const LaunchPlan& Plan() const { return plan_; }

 private:
  bool Percent(unsigned chance) { return source_.Chance(chance * 256 / 100); }

  void MakeVolumes() {
    ScanTable table;
    do table = DecodeScanTable(source_);
    while (IsLarge(table));
    table.is_relative = table.is_online = table.is_software_management = false;
    // A message about them would take two lines.
    for (MediaLevel& level : table.levels) std::erase(level.name, '\n');
    if (Percent(5)) table.media_name = source_.OneOf<std::string>({"a:b", "a b", "a\"b"});
    if (Percent(20)) table.volumes_file = {};
    const std::string top = world_.Directory().MakeDir("top");
    MakeWorld(table, top);
    media_ = fs::path(MediaPath(table, top)).lexically_relative(world_.Path("."));
  }

  void MakeInstaller(const std::string& directory, bool is_there) {
    world_.Volume(directory).File("inst/common/reffiles/list", "c").File("inst/linux/list", "o");
    if (!is_there) return;
    const std::string path = directory + "/inst/linux/code/bin/installer";
    if (Percent(3)) return void(world_.Directory().MakeDir(path));
    if (Percent(90)) {  // a copy takes time
      return void(world_.Directory().Link(path, BuiltProgram("fake_installer")));
    }
    world_.Volume(directory).Dir("inst/linux/code/bin");
    fs::copy_file(BuiltProgram("fake_installer"), world_.Path(path));
    if (Percent(50)) SetMode(world_.Path(path), 0644);
  }

  void MakeDescriptions() {
    world_.Volume(media_).Descriptions();
    if (Percent(8)) {
      fs::remove(
          world_.Path(media_ + "/" + source_.OneOf<std::string>({"media.db", "StartGUI.sh"})));
    }
  }

  void MakeExtras() {
    VolumeBuilder volume = world_.Volume(media_);
    if (Percent(30)) volume.File("inst/a/b/c", "text").Dir("inst/a/empty");
    if (Percent(20)) volume.Link("inst/link", "common").Link("inst/file", "common/reffiles/list");
    if (Percent(4)) volume.Link("inst/dangling", "nowhere");
    if (Percent(4)) volume.Link("inst/common/up", "..");
    if (Percent(4)) volume.Link("inst/x/y", "../z").Link("inst/z/x", "../x");
    if (Percent(3)) world_.Directory().Pipe(media_ + "/inst/pipe");
    if (Percent(10)) volume.File("inst/common/mixed", "a file");
    if (Percent(5)) volume.Link("inst/null", "/dev/null");
  }

  void MakeExternal() {
    external_ = Percent(20) ? "an ext" : "ext";
    const std::string root = Percent(30) ? external_ + "/1" : external_;
    MakeInstaller(root, Percent(85));
    if (Percent(15)) world_.Volume(root).File("inst/common/mixed", "another");
    if (Percent(5)) {
      fs::remove(world_.Path(root + "/inst/common/mixed"));
      world_.Volume(root).Dir("inst/common/mixed");
    }
    if (Percent(5)) fs::remove_all(world_.Path(root + "/inst/common"));
  }

  void Argue(unsigned chance, const Lines& arguments) {
    if (!Percent(chance)) return;
    plan_.arguments.insert(plan_.arguments.end(), arguments.begin(), arguments.end());
  }

  /// What the launcher itself, which is started without a script, does not care about.
  void MakeStart() {
    const std::string script = media_ + "/StartTUI.sh";
    if (Percent(20)) world_.Directory().Write(script, "exec inst/linux/code/bin/kvl-launcher");
    if (!Percent(80)) return;
    SetMode(world_.Path(script), 0755);
    std::error_code error;  // it may have been removed
    fs::permissions(world_.Path(media_ + "/StartGUI.sh"), fs::perms(0755), error);
  }

  void MakeInstallerThatCannotRun() {
    const std::string path = media_ + "/inst/linux/code/bin/installer";
    if (!Percent(8) || !fs::exists(world_.Path(path))) return;
    fs::remove_all(world_.Path(path));
    static const Lines contents = {"", "#!/bin/sh\r\n", "#! /nowhere/sh -e\n", "#!/nowhere/sh"};
    world_.Directory().Write(path, source_.OneOf(contents));
    if (Percent(80)) SetMode(world_.Path(path), 0755);
  }

  std::vector<std::uint8_t> bytes_;
  ByteSource source_{bytes_.data(), bytes_.size()};
  CheckWorld world_;
  std::string media_;
  std::string external_;
  LaunchPlan plan_;
};

/// The launcher's lines from before it stages and starts.
Lines EarlyLines(const LaunchSeen& seen) {
  std::istringstream stream(seen.out + seen.err);
  Lines lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(ToOneLine(line));
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
  return files;
}

std::set<std::string> EntriesOf(const std::string& directory) {
  std::set<std::string> entries;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(directory, error)) entries.insert(entry.path());
  return entries;
}

/// The one new directory in that of TMPDIR; empty when nothing was staged.
std::string StagingIn(const std::string& tmp, const std::set<std::string>& before) {
  for (const std::string& path : EntriesOf(tmp)) {
    if (!before.contains(path) && fs::is_directory(path)) return path;
  }
  return {};
}

std::string TmpOf(const CheckWorld& world, const LaunchPlan& plan) {
  const auto option =
      std::find(plan.arguments.begin(), plan.arguments.end(), "TMPDIR={tmp}/of/option");
  if (option != plan.arguments.end()) return world.Path("tmp/of/option");
  const auto given = plan.env.find("TMPDIR");
  return given == plan.env.end() ? world.Path("tmp") : world.Text(given->second);
}

/// In the environment of MediaWorld::Launch; in this process, because to load a program costs more
/// than the check.
SortedJson CheckAsLaunched(const CheckWorld& world, const std::string& media,
                           const LaunchPlan& plan) {
  Environment env = {{"KVL_OS", "linux"},
                     {"KVL_Installer_EXE", "installer"},
                     {"TMPDIR", "{tmp}"},
                     {"PATH", "/usr/bin:/bin"},
                     {"FAKE_REPORT", "{report}"}};
  for (const auto& [name, value] : plan.env) env[name] = value;
  const ScopedEnv scoped(world.Text(env));
  Lines arguments = {"check", world.Path(media), "--json", "--"};
  for (const std::string& argument : plan.arguments) arguments.push_back(world.Text(argument));
  const Outcome seen = CheckWorld::CompanionHere(arguments);
  EXPECT_EQ(seen.err, "");
  const SortedJson report = SortedJson::parse(seen.out);
  EXPECT_EQ(seen.status, report["findings"].empty() ? 0 : 1);
  return report;
}

void ExpectAgreement(RandomMedia& media, std::map<std::string, int>& seen_often) {
  CheckWorld& world = media.World();
  const std::string tmp = TmpOf(world, media.Plan());
  const std::set<std::string> before = EntriesOf(tmp);
  const Lines tree_before = DescribeTreeExactly(world.Path("."));
  const SortedJson report = CheckAsLaunched(world, media.Media(), media.Plan());
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), tree_before);
  const LaunchSeen seen = world.Launch(media.Media(), media.Plan());
  const Undo explanation([&] {
    if (testing::Test::HasFailure()) std::cout << report.dump(1) << seen.out << seen.err;
  });

  const std::string expectation = report["expectation"];
  ++seen_often[expectation + (report["staged"] ? ", staged" : "")];
  if (expectation == "abort") {
    EXPECT_EQ(seen.status, -SIGABRT);
  } else {
    EXPECT_EQ(seen.status,
              report["status"].is_null() ? kInstallerStatus : report["status"].get<int>());
  }
  EXPECT_EQ(seen.child.started, expectation == "installer-runs");
  const Lines messages = report["messages"];
  EXPECT_THAT(EarlyLines(seen), testing::UnorderedElementsAreArray(messages));

  const std::string staging = StagingIn(tmp, before);
  const bool is_staged = !staging.empty() && fs::exists(staging + "/remove.bat");
  EXPECT_EQ(is_staged, report["staged"] && expectation != "staging-fails");
  if (is_staged) {
    Lines names = report["staging"]["names"];
    names.emplace_back("remove.bat");
    EXPECT_THAT(FilesBelow(staging), testing::UnorderedElementsAreArray(names));
  }
  if (!seen.child.started) return;
  const auto shown = [&](std::string text) {
    if (!staging.empty())
      ReplaceAll(text, fs::path(staging).filename().string(), "<identifier>", 0);
    return ToOneLine(text);
  };
  Lines command;
  for (const std::string& argument : seen.child.arguments) command.push_back(shown(argument));
  EXPECT_EQ(report["command"], SortedJson(command));
  Environment variables;
  for (const auto& [name, value] : EnvChanges(seen.given, seen.child.env)) {
    variables[name] = shown(value);
  }
  EXPECT_EQ(report["variables"], SortedJson(variables));
}

TEST(CheckAgreesWithTheLauncher, OnHundredsOfMedia) {
  constexpr unsigned kMedia = 200, kCalls = 2;
  std::map<std::string, int> seen_often;
  for (unsigned seed = 1; seed <= kMedia; ++seed) {
    RandomMedia media(seed);
    for (unsigned call = 1; call <= kCalls; ++call) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", call " + std::to_string(call));
      media.MakeCall();
      ExpectAgreement(media, seen_often);
      if (HasFailure()) return;
    }
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
