// kvl-media check says of a media what the launcher does with it. The test compares both for
// hundreds of random media from a fixed seed. The superuser tries each media also as an ordinary
// user.
//
// KVL_AGREEMENT_MEDIA=10000 in the environment sets the number of media; one line at the end then
// says how many differ. KVL_AGREEMENT_SEED=77 sets the first seed.
#include <nlohmann/json.hpp>

#include <gtest/gtest-spi.h>

#include "companion/check/installer_variables.h"
#include "companion/names/plain_text.h"
#include "console/text.h"
#include "tests/companion/random_media.h"
#include "tests/support/sanitized.h"

namespace kvl::test {
namespace {

using SortedJson = nlohmann::json;

/// Returns a temporary directory that every user can enter: that of the environment, or else /tmp.
std::string OpenTemporaryDirectory() {
  const char* given = std::getenv("TMPDIR");
  const fs::path own = fs::canonical(given == nullptr || *given == '\0' ? "/tmp" : given);
  for (fs::path place = own; place.has_relative_path(); place = place.parent_path()) {
    if ((ModeOf(place) & S_IXOTH) == 0) return "/tmp";
  }
  return own;
}

enum class User { kOurs, kOrdinary };

/// Returns the environment of the launcher and the check.
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
  if (user == User::kOurs) {  // in this process: loading a program takes longer than the check
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
  SetMode(world.Directory().Write("report", ""), 0666);  // for any user and umask
  Lines command = TextsOf(media.Plan().arguments, world);
  command.insert(command.begin(), programs.Path("kvl-launcher"));
  // The working directory is for what a shell writes that gets half a program.
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

/// The lines of a run on both streams before it stages and starts the installer.
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

/// Returns the beginning of the next line on standard error; empty if no line follows.
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

/// Returns true if a finding allows the report to leave the outcome open.
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

/// Returns the directory with remove.bat; empty if nothing was staged.
std::string StagedIn(const std::string& tmp, const std::set<std::string>& before) {
  for (const std::string& path : EntriesOf(tmp)) {
    if (before.contains(path) || !fs::is_directory(path)) continue;
    OpenUp(path);
    std::error_code too_long;
    if (fs::exists(path + "/remove.bat", too_long)) return path;
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

/// The counts over all launches.
struct Tally {
  std::map<std::string, int> ends;
  unsigned launches = 0, differences = 0;
};

/// Returns the temporary directory that the launcher uses.
std::string TemporaryDirectoryOf(const RandomMedia& media, CheckWorld& world,
                                 const Environment& env) {
  const Lines& arguments = media.Plan().arguments;
  const bool has_option =
      std::find(arguments.begin(), arguments.end(), kTmpOption) != arguments.end();
  return has_option ? world.Path("tmp/of/option") : env.at("TMPDIR");
}

SortedJson ExpectAgreement(RandomMedia& media, const Programs& programs, User user, Tally& tally,
                           bool is_first) {
  CheckWorld& world = media.World();
  media.MakeTemporaryDirectoriesAnew();
  const Environment env = VariablesOf(media, world);
  const std::string tmp = TemporaryDirectoryOf(media, world, env);
  const std::set<std::string> before = EntriesOf(tmp);
  // Looking at everything takes longer than the check, so only the first call does it.
  const auto look = [&] { return is_first ? DescribeTreeExactly(world.Path(".")) : Lines(); };
  const Lines tree_before = look();
  const SortedJson report = Check(media, env, programs, user);
  EXPECT_EQ(look(), tree_before);
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

/// Prints the differences, of each text only the beginning.
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

/// Tries all launches of one media.
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
        report = ExpectAgreement(media, programs, user, tally, call == 1);
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
  constexpr unsigned kUsual = 80, kWithSanitizers = 20;  // sanitizers take ten times as long
  const unsigned count = NumberIn("KVL_AGREEMENT_MEDIA", kSanitized ? kWithSanitizers : kUsual);
  const unsigned first = NumberIn("KVL_AGREEMENT_SEED", 1);
  const ScopedEnv environment({{"TMPDIR", OpenTemporaryDirectory()}});
  const Programs programs;
  Tally tally;
  for (unsigned seed = first; seed < first + count; ++seed) {
    LaunchAgainAndAgain(seed, programs, tally);
  }
  EXPECT_EQ(tally.differences, 0U);
  if (count != kUsual) {
    std::cout << count << " media, " << tally.launches << " launches, " << tally.differences
              << " differences" << std::endl;
    return;
  }
  // Every outcome occurs, and the usual ones occur often enough to prove something.
  for (const char* end :
       {"abort", "bad-command-line", "blank-in-installer-media", "cannot-be-known", "cannot-start",
        "cannot-start, staged", "installer-runs", "installer-runs, staged", "no-installer", "query",
        "staging-fails, staged"}) {
    EXPECT_GE(tally.ends[end], 1) << end;
  }
  EXPECT_GE(tally.ends["installer-runs"], 30);
  EXPECT_GE(tally.ends["installer-runs, staged"], 15);
}

}  // namespace
}  // namespace kvl::test
