// What kvl-media says about a media, and what the launcher does with it: the same, for hundreds of
// media that are made up from a fixed seed. The superuser looks at each of them as an ordinary user, too.
//
// With KVL_AGREEMENT_MEDIA=10000 in the environment there are as many, and one line at the end says
// how many differ. A media that differs is kept.
#include <elf.h>
#include <nlohmann/json.hpp>
#include <random>

#include <gtest/gtest-spi.h>

#include "companion/check/installer_variables.h"
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
constexpr char kTmpOption[] = "TMPDIR={tmp}/of/option";
constexpr std::size_t kLongestText = 131'072;  // of an argument or a variable, on most machines

/// Programs where every user can start them.
class Programs {
 public:
  Programs() {
    fs::permissions(directory_.Path(), fs::perms(0755));
    for (const char* name : {"kvl-launcher", "kvl-media", "fake_installer"}) {
      fs::copy_file(BuiltProgram(name), Path(name));
    }
  }
  std::string Path(const std::string& name) const { return directory_.Path(name); }

 private:
  TestDirectory directory_;
};

/// What every user can get at: that of the environment, or of the system if its way is closed.
std::string OpenTemporaryDirectory() {
  const char* given = std::getenv("TMPDIR");
  const fs::path own = fs::canonical(given == nullptr || *given == '\0' ? "/tmp" : given);
  for (fs::path place = own; place.has_relative_path(); place = place.parent_path()) {
    if ((ModeOf(place) & S_IXOTH) == 0) return "/tmp";
  }
  return own;
}

/// To look at what only another user may look at.
void OpenUp(const fs::path& directory) {
  std::error_code ignored;
  fs::permissions(directory, fs::perms::owner_all, fs::perm_options::add, ignored);
  for (const auto& entry : fs::directory_iterator(directory, ignored)) {
    if (entry.is_directory(ignored) && !entry.is_symlink(ignored)) OpenUp(entry.path());
  }
}

enum class User { kOurs, kOrdinary };

/// A program that is damaged, or made for another machine; the bytes are those of a whole one.
std::string Unfit(std::string program, ByteSource& source) {
  Elf64_Ehdr header;
  std::memcpy(&header, program.data(), sizeof header);
  switch (source.Below(5)) {
    case 0:
      header.e_machine = header.e_machine == EM_AARCH64 ? EM_X86_64 : EM_AARCH64;
      break;
    case 1:
      header.e_ident[EI_DATA] = header.e_ident[EI_DATA] == ELFDATA2LSB ? ELFDATA2MSB : ELFDATA2LSB;
      break;
    case 2:
      return program.substr(0, source.Below(256));
    case 3:
      return program.substr(0, program.size() * (source.Below(200) + 1) / 256);
    default:
      const std::size_t at = program.find("/ld-");
      if (at != std::string::npos) program[at + 1] = 'X';
      return program;
  }
  // No more: a shell may be given it, and tries what it finds.
  return std::string(reinterpret_cast<const char*>(&header), sizeof header);
}

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
  RandomMedia(unsigned seed, const Programs& programs)
      : programs_(programs), bytes_(RandomBytes(seed)) {
    SetMode(world_.Path("."), 0755);
    MakeVolumes();
    MakeInstaller(media_, Percent(80));
    MakeDescriptions();
    MakeExtras();
    MakeExternal();
    MakeStart();
    MakeInstallerThatCannotRun();
    MakeLongTexts();
    MakeLongPaths();
    CloseSomething();
  }

  /// Starts its launcher in another way from now on.
  void MakeCall() {
    plan_ = {};
    umask_ =
        Percent(12) ? source_.OneOf<mode_t>({027, 077, 0100, 0111, 0200, 0300, 0400, 0777}) : 022;
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
    Argue(3, {"-env", kTmpOption});
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
    if (Percent(8)) plan_.env["TMPDIR"] = source_.OneOf(OddPlaces());
    if (Percent(2)) {  // they become one
      const std::string half(kLongestText / 2 - source_.Below(4), 'x');
      plan_.arguments.insert(plan_.arguments.end(), {"\"" + half, half + "\""});
    }
  }

  CheckWorld& World() { return world_; }
  const std::string& Media() const { return media_; }
  const LaunchPlan& Plan() const { return plan_; }
  mode_t Umask() const { return umask_; }

  /// Whatever a launch has left there.
  void MakeTemporaryDirectoriesAnew() {
    const TestDirectory& directory = world_.Directory();
    OpenUp(world_.Path("tmp"));
    fs::remove_all(world_.Path("tmp"));
    directory.Link("tmp/link", "nowhere");
    directory.MakeDir("closed/tmp");
    SetMode(world_.Path("closed"), 0700);
    for (const char* name : {"tmp", "work", "tmp/a\\b", "tmp/made"}) {
      SetMode(directory.MakeDir(name), 0777);
    }
  }

 private:
  bool Percent(unsigned chance) { return source_.Chance(chance * 256 / 100); }

  void MakeVolumes() {
    ScanTable table;
    do table = DecodeScanTable(source_);
    while (IsLarge(table) || table.is_relative);  // others, too, change what is above one
    table.is_online = table.is_software_management = false;
    if (Percent(8)) {
      table.media_name =
          source_.OneOf<std::string>({"a:b", "a b", "a\"b", "a\nb", "\n WARN: a", "a\\b", "'a'"});
    }
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
      return void(world_.Directory().Link(path, programs_.Path("fake_installer")));
    }
    world_.Volume(directory).Dir("inst/linux/code/bin");
    fs::copy_file(programs_.Path("fake_installer"), world_.Path(path));
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
    if (Percent(5)) volume.File("inst/a\\b/c\nd", "odd");
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
    if (!Percent(12) || !fs::exists(world_.Path(path))) return;
    fs::remove_all(world_.Path(path));
    static const Lines contents = {"", "#!/bin/sh\r\n", "#! /nowhere/sh -e\n", "#!/nowhere/sh"};
    const std::string program = ReadFile(programs_.Path("fake_installer"));
    world_.Directory().Write(path, Percent(70) ? Unfit(program, source_) : source_.OneOf(contents));
    if (Percent(80)) SetMode(world_.Path(path), 0755);
    if (Percent(10)) {
      world_.Directory().Write(path, "#!" + programs_.Path("fake_installer") + "\n");
      SetMode(world_.Path(path), source_.OneOf<unsigned>({0111, 0311, 0711, 0755}));
    }
  }

  /// The system hands no variable to the installer that is as long.
  void MakeLongTexts() {
    if (!Percent(3)) return;
    const std::size_t length = source_.OneOf<std::size_t>({100, kLongestText, kLongestText * 2});
    const std::string tag(length - sizeof "KVLAdmInstMTBDIR" - source_.Below(3) + 1, 't');
    VolumeBuilder volume = world_.Volume(media_);
    if (fs::is_directory(world_.Path(media_ + "/1.txt"))) return;
    fs::remove_all(world_.Path(media_ + "/inst/volumes.txt"));
    for (const char* name : {"/1.txt", "/2.txt"}) fs::remove_all(world_.Path(media_ + name));
    volume.Announces("2").Marker(1, tag);
    if (Percent(50)) volume.Marker(2, tag);
    if (Percent(30)) volume.Announces("2" + std::string(length, ' '));
  }

  /// In the media, or in a temporary directory: one that the staged files are too deep for.
  void MakeLongPaths() {
    if (Percent(3)) {
      const std::string inst = world_.Path(media_ + "/inst");
      fs::create_directories(PathOfLength(inst, 4015 + 8 * source_.Below(10)));
    }
    if (!Percent(10)) return;
    deep_ = PathOfLength(world_.Path("deep"), 3970 + 8 * source_.Below(16));
    fs::create_directories(deep_);
    SetMode(deep_, 0777);
  }

  /// To an ordinary user.
  void CloseSomething() {
    if (!Percent(15)) return;
    const Lines names = {
        "1.txt",           "2.txt",      "inst/volumes.txt", "media.db", "StartTUI.sh",
        "inst/linux/list", "inst/linux", "inst/common",      "inst",     "."};
    const std::string path = world_.Path(media_ + "/" + source_.OneOf(names));
    const unsigned mode = source_.OneOf<unsigned>({0, 0600, 0640, 0711, 0744, 0333});
    if (fs::is_regular_file(path) || fs::is_directory(path)) SetMode(path, mode | 0700);
    if (fs::is_regular_file(path)) SetMode(path, mode);
  }

  Lines OddPlaces() {
    const Lines places = {"{tmp/link}",
                          "{tmp/link/below}",
                          "{tmp}/a\\b",
                          "{tmp}/made\\",
                          "{tmp}\\made",
                          "{closed/tmp}",
                          deep_.empty() ? "{tmp/}" : deep_};
    return places;
  }

  const Programs& programs_;
  std::vector<std::uint8_t> bytes_;
  ByteSource source_{bytes_.data(), bytes_.size()};
  CheckWorld world_;
  std::string media_;
  std::string external_;
  std::string deep_;
  LaunchPlan plan_;
  mode_t umask_ = 022;
};

/// What the launcher and the check are given.
Environment VariablesOf(const RandomMedia& media, CheckWorld& world) {
  Environment env = {{"CurrentMediaDir", world.Path(media.Media())},
                     {"KVL_OS", "linux"},
                     {"KVL_Installer_EXE", "installer"},
                     {"TMPDIR", "{tmp}"},
                     {"PATH", "/usr/bin:/bin"},
                     {"FAKE_REPORT", "{report}"}};
  for (const auto& [name, value] : media.Plan().env) env[name] = value;
  return world.Text(env);
}

Lines TextsOf(const Lines& texts, const CheckWorld& world) {
  Lines all;
  for (const std::string& text : texts) all.push_back(world.Text(text));
  return all;
}

SortedJson Check(RandomMedia& media, const Environment& env, const Programs& programs, User user) {
  Lines arguments = {"check", media.World().Path(media.Media()), "--json", "--"};
  for (const std::string& text : TextsOf(media.Plan().arguments, media.World())) {
    arguments.push_back(text);
  }
  Outcome seen;
  const ScopedUmask umask(media.Umask());
  if (user ==
      User::kOurs) {  // in this process, because to load a program costs more than the check
    const ScopedEnv scoped(env);
    seen = CheckWorld::CompanionHere(arguments);
  } else {
    arguments.insert(arguments.begin(), programs.Path("kvl-media"));
    seen = RunProgram({arguments, env, {}, {}, BecomeOrdinaryUser});
  }
  EXPECT_EQ(seen.err, "");
  const SortedJson report = SortedJson::parse(seen.out);
  EXPECT_EQ(seen.status, report["findings"].empty() ? 0 : 1);
  return report;
}

Outcome Launch(RandomMedia& media, const Environment& env, const Programs& programs, User user) {
  CheckWorld& world = media.World();
  fs::remove(world.Path("report"));
  SetMode(world.Directory().Write("report", ""), 0666);  // whoever writes it, with whatever umask
  Lines command = TextsOf(media.Plan().arguments, world);
  command.insert(command.begin(), programs.Path("kvl-launcher"));
  // A shell that is given half a program writes who knows what.
  return RunProgram({command, env, world.Path("work"), {}, [&] {
                       ::umask(media.Umask());
                       if (user == User::kOrdinary) BecomeOrdinaryUser();
                     }});
}

Lines LinesOf(const std::string& text) {
  std::istringstream stream(text);
  Lines lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(ToOneLine(ShownText(line)));
  return lines;
}

/// The lines that a run says on both streams until it stages and starts.
struct EarlyLines {
  Lines out, err;

  explicit EarlyLines(const Lines& messages) {
    Lines* stream = &out;
    for (const std::string& message : messages) {
      if (message.starts_with(" INFO: ")) stream = &out;
      if (message.starts_with(" WARN: ") || message.starts_with("ERROR: ")) stream = &err;
      stream->push_back(message);
    }
  }
};

/// What the next line on standard error begins with; nothing where there is none.
std::string NextLine(const SortedJson& report) {
  const std::string expectation = report["expectation"];
  if (expectation == "abort") return "terminate called";
  if (expectation == "staging-fails") return "ERROR: Cannot copy the installer to a temporary ";
  const bool is_started = expectation == "installer-runs" || expectation == "cannot-start";
  if (is_started && report["staged"]) return " WARN: This media is composed of multiple volumes.";
  if (expectation == "cannot-start" && report["status"] != 0) return "ERROR: Cannot ";
  return {};
}

void CompareMessages(const SortedJson& report, const Outcome& seen) {
  const EarlyLines expected(report["messages"].get<Lines>());
  Lines out = LinesOf(seen.out), err = LinesOf(seen.err);
  const bool may_say_more = report["expectation"] == "cannot-be-known";
  if (may_say_more) out.resize(std::min(out.size(), expected.out.size()));
  EXPECT_EQ(out, expected.out);
  const Lines late(err.begin() + std::ptrdiff_t(std::min(err.size(), expected.err.size())),
                   err.end());
  err.resize(err.size() - late.size());
  EXPECT_EQ(err, expected.err);
  if (may_say_more) return;
  const std::string next = NextLine(report);
  EXPECT_EQ(late.empty(), next.empty());
  if (late.empty()) return;
  EXPECT_TRUE(late[0].starts_with(next)) << testing::PrintToString(late);
}

/// Only of these a report says that it cannot know what comes of them.
bool CannotBeKnown(const SortedJson& report) {
  static const std::set<std::string> kCodes = {"installer-not-for-this-machine", "program-cut-off",
                                               "unreadable", "umask-closes-staging", "no-space"};
  return std::any_of(report["findings"].begin(), report["findings"].end(),
                     [](const auto& finding) { return kCodes.contains(finding["code"]); });
}

void CompareEnd(const SortedJson& report, const Outcome& seen, bool has_started) {
  const std::string expectation = report["expectation"];
  if (expectation == "cannot-be-known") {
    EXPECT_TRUE(CannotBeKnown(report));
    EXPECT_TRUE(report["status"].is_null());
    return;
  }
  EXPECT_EQ(has_started, expectation == "installer-runs");
  const bool decides = expectation == "installer-runs";
  EXPECT_EQ(report["status"].is_null(), decides);
  EXPECT_EQ(seen.status, expectation == "abort" ? -SIGABRT
                         : decides              ? kInstallerStatus
                                                : report["status"].get<int>());
}

std::set<std::string> EntriesOf(const std::string& directory) {
  std::set<std::string> entries;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(directory, error)) entries.insert(entry.path());
  return entries;
}

/// The directory with remove.bat; empty when nothing was staged.
std::string StagedIn(const std::string& tmp, const std::set<std::string>& before) {
  for (const std::string& path : EntriesOf(tmp)) {
    if (before.contains(path) || !fs::is_directory(path)) continue;
    OpenUp(path);
    if (fs::exists(path + "/remove.bat")) return path;
  }
  return {};
}

void CompareStaged(const SortedJson& report, const std::string& staging) {
  EXPECT_EQ(!staging.empty(), report["staged"] && report["expectation"] != "staging-fails");
  if (staging.empty() || !report["staged"]) return;
  Lines names = report["staging"]["names"], files;
  names.emplace_back("remove.bat");
  std::uint64_t bytes = 0;
  for (const auto& entry : fs::recursive_directory_iterator(staging)) {
    if (!entry.is_regular_file()) continue;
    files.push_back(ToOneLine(entry.path().lexically_relative(staging).string()));
    if (files.back() != "remove.bat") bytes += entry.file_size();
  }
  EXPECT_THAT(files, testing::UnorderedElementsAreArray(names));
  EXPECT_EQ(report["staging"]["files"], files.size() - 1);
  EXPECT_EQ(report["staging"]["bytes"], bytes);
}

void CompareStart(const SortedJson& report, const ChildReport& child, const Environment& given,
                  const std::string& staging, const std::string& interpreter) {
  const auto shown = [&](std::string text) {
    if (!staging.empty()) {
      ReplaceAll(text, fs::path(staging).filename().string(), "<identifier>", 0);
    }
    return ToOneLine(text);
  };
  Lines command;
  for (const std::string& argument : child.arguments) command.push_back(shown(argument));
  if (command[0] == interpreter) command.erase(command.begin());
  EXPECT_EQ(report["command"], SortedJson(command));
  Environment variables;
  for (const auto& [name, value] : EnvChanges(given, child.env)) variables[name] = shown(value);
  EXPECT_EQ(report["variables"], SortedJson(variables));
}

/// What it is to say of the whole run.
struct Tally {
  std::map<std::string, int> ends;
  unsigned launches = 0, differences = 0;
};

/// The directory of TMPDIR as the launcher has it.
std::string TemporaryDirectoryOf(const RandomMedia& media, CheckWorld& world,
                                 const Environment& env) {
  const Lines& arguments = media.Plan().arguments;
  const bool has_option =
      std::find(arguments.begin(), arguments.end(), kTmpOption) != arguments.end();
  return has_option ? world.Path("tmp/of/option") : env.at("TMPDIR");
}

SortedJson ExpectAgreement(RandomMedia& media, const Programs& programs, User user, Tally& tally) {
  CheckWorld& world = media.World();
  media.MakeTemporaryDirectoriesAnew();
  const Environment env = VariablesOf(media, world);
  const std::string tmp = TemporaryDirectoryOf(media, world, env);
  const std::set<std::string> before = EntriesOf(tmp);
  const SortedJson report = Check(media, env, programs, user);
  EXPECT_EQ(EntriesOf(tmp), before);
  const Outcome seen = Launch(media, env, programs, user);
  const ChildReport child = ReadReport(world.Path("report"));
  const bool has_started = !child.arguments.empty();
  const std::string staging = StagedIn(tmp, before);

  ++tally.launches;
  ++tally.ends[report["expectation"].get<std::string>() + (report["staged"] ? ", staged" : "")];
  CompareEnd(report, seen, has_started);
  CompareMessages(report, seen);
  CompareStaged(report, staging);
  if (has_started) CompareStart(report, child, env, staging, programs.Path("fake_installer"));
  for (const std::string& entry : EntriesOf(tmp)) {
    if (!before.contains(entry)) fs::remove_all(entry);
  }
  return report;
}

/// Tells what is different, in a few lines of each text.
void Tell(const testing::TestPartResultArray& failures, const SortedJson& report,
          const std::string& run) {
  constexpr std::size_t kMost = 2'000;
  std::cout << "--- " << run << "\n";
  for (int i = 0; i < failures.size(); ++i) {
    const testing::TestPartResult& failure = failures.GetTestPartResult(i);
    std::cout << "line " << failure.line_number() << ": "
              << std::string(failure.message()).substr(0, kMost) << "\n";
  }
  std::cout << report["expectation"] << report["status"] << report["findings"].dump(1) << "\n";
}

/// All launches of one media.
void LaunchAgainAndAgain(unsigned seed, const Programs& programs, Tally& tally) {
  constexpr unsigned kCalls = 2;
  RandomMedia media(seed, programs);
  for (unsigned call = 1; call <= kCalls; ++call) {
    media.MakeCall();
    for (const User user : {User::kOurs, User::kOrdinary}) {
      if (user == User::kOrdinary && ::geteuid() != 0) continue;
      testing::TestPartResultArray failures;
      SortedJson report;
      {
        const testing::ScopedFakeTestPartResultReporter reporter(&failures);
        report = ExpectAgreement(media, programs, user, tally);
      }
      if (failures.size() == 0) continue;
      ++tally.differences;
      Tell(failures, report,
           "seed " + std::to_string(seed) + ", call " + std::to_string(call) +
               (user == User::kOurs ? "" : ", as an ordinary user"));
    }
  }
}

unsigned NumberIn(const char* variable, unsigned otherwise) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? otherwise : unsigned(std::stoul(value));
}

TEST(CheckAgreesWithTheLauncher, OnHundredsOfMedia) {
  constexpr unsigned kFew = 80;
  const unsigned count = NumberIn("KVL_AGREEMENT_MEDIA", kFew);
  const unsigned first = NumberIn("KVL_AGREEMENT_SEED", 1);
  const ScopedEnv environment({{"TMPDIR", OpenTemporaryDirectory()}});
  const Programs programs;
  Tally tally;
  for (unsigned seed = first; seed < first + count; ++seed) {
    LaunchAgainAndAgain(seed, programs, tally);
  }
  EXPECT_EQ(tally.differences, 0U);
  if (count != kFew) {
    std::cout << count << " media, " << tally.launches << " launches, " << tally.differences
              << " differences" << std::endl;
    return;
  }
  // All that can come of a run came up, and the most usual ends often enough to mean something.
  for (const char* end :
       {"abort", "bad-command-line", "blank-in-installer-media", "cannot-be-known",
        "cannot-be-known, staged", "cannot-start", "cannot-start, staged", "installer-runs",
        "installer-runs, staged", "no-installer", "query", "staging-fails, staged"}) {
    EXPECT_GE(tally.ends[end], 1) << end;
  }
  EXPECT_GE(tally.ends["installer-runs"], 30);
  EXPECT_GE(tally.ends["installer-runs, staged"], 15);
}

}  // namespace
}  // namespace kvl::test
