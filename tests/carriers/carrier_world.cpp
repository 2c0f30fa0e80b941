#include "tests/carriers/carrier_world.h"

#include "tests/conditions/ordinary_user.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr unsigned kOrdinaryUser = 65534;
constexpr char kPath[] = "/usr/bin:/bin";

const Environment kSetByTheScript = {{"KVL_OS", "linux"},
                                     {"KVL_Installer_EXE", "installer"},
                                     {"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"}};

/// An entry of a tree as DescribeTree gives it, taken apart.
struct Line {
  char kind = '\0';
  unsigned mode = 0;
  std::string rest;  ///< the name, and for a file its contents
};

Line LineFrom(const std::string& text) {
  std::istringstream stream(text);
  Line line;
  stream >> line.kind >> std::oct >> line.mode;
  stream.get();
  line.rest = text.substr(static_cast<std::size_t>(stream.tellg()));
  return line;
}

std::string Written(const Line& line) {
  std::ostringstream text;
  text << line.kind << " " << std::oct << line.mode << " " << line.rest;
  return text.str();
}

bool LiesIn(const std::string& rest, const std::string& piece) {
  return rest == piece || rest.starts_with(piece + "/") || rest.starts_with(piece + " = ");
}

}  // namespace

std::vector<Starter> AllStarters() {
  if (::geteuid() != 0) return {Starter::kOurselves};
  return {Starter::kOurselves, Starter::kOrdinaryUser};
}

void CarrierWorld::Make(const std::string& directory,
                        const std::vector<std::string>& options) const {
  if (!fs::exists(Path("programs"))) {
    Directory().MakeDir("programs");
    fs::copy_file(BuiltProgram("fake_installer"), Path("programs/installer"));
  }
  std::vector<std::string> command = {BuiltProgram("kvl-media"),
                                      "make",
                                      "--tag",
                                      "SET-A",
                                      "--installer",
                                      "{programs/installer}",
                                      "--launcher",
                                      BuiltProgram("kvl-launcher")};
  command.insert(command.end(), options.begin(), options.end());
  command.insert(command.end(), {"{payload}", "{}/" + directory});
  RunTool(command);
}

void CarrierWorld::MakeSet(const std::string& layout) const {
  for (const char* name : {"payload/1/a", "payload/2/b", "payload/3/c d/e"}) {
    Directory().Write(name, name);
  }
  Make("set", {"--presorted", "--layout", layout});
}

void CarrierWorld::RunTool(const std::vector<std::string>& command) const {
  std::vector<std::string> words;
  for (const std::string& word : command) words.push_back(Text(word));
  const Outcome outcome = RunProgram(
      {words, {{"PATH", "/usr/sbin:/sbin:/usr/bin:/bin"}, {"TMPDIR", Path(".")}}, Path(".")});
  if (outcome.status == 0) return;
  throw std::runtime_error(words.front() + " ended with status " + std::to_string(outcome.status) +
                           ": " + outcome.out + outcome.err);
}

std::string CarrierWorld::WhyNot(Starter starter) const {
  return starter == Starter::kOurselves ? std::string() : WhyNoOrdinaryUser(*this);
}

LaunchPlan CarrierWorld::StartOf(const std::string& script, Starter starter,
                                 LaunchPlan plan) const {
  plan.command = {script};
  plan.env.emplace("PATH", kPath);
  plan.without = {"CurrentMediaDir", "KVL_OS", "KVL_Installer_EXE"};
  plan.directory = Path(".");
  if (starter == Starter::kOrdinaryUser) plan.before = [this] { BecomeOrdinaryUser(*this); };
  return plan;
}

LaunchSeen CarrierWorld::Start(Starter starter, const LaunchPlan& plan) {
  LaunchSeen seen = Run(StartOf(std::string(kFirst) + "/StartTUI.sh", starter, plan));
  TakeAwayTheScript(seen, Text(kFirst));
  return seen;
}

void TakeAwayTheScript(LaunchSeen& seen, const std::string& media) {
  seen.given.insert(kSetByTheScript.begin(), kSetByTheScript.end());
  seen.given["CurrentMediaDir"] = media;
  for (const char* of_shell : {"PWD", "OLDPWD", "SHLVL", "_"}) seen.child.env.erase(of_shell);
}

ExpectedRun InPlaceFromCarrier() {
  ExpectedRun run;
  run.out = SaysFoundIn(kFirst) +
            " INFO: This media is composed of 3 volumes.\n"
            "       Volume 1 found in: {carrier/1}\n"
            "       Volume 2 found in: {carrier/2}\n"
            "       Volume 3 found in: {carrier/3}\n";
  run.arguments = StartedFrom(kFirst);
  run.env = {.media = kFirst,
             .found = {{"KVLAdmInstVolumesCount", "3"},
                       {"KVLAdmInstMTBDIR", "SET-A"},
                       {"KVLAdmInstVolumePath_2", "{carrier/2}"},
                       {"KVLAdmInstVolumePath_3", "{carrier/3}"}}};
  return run;
}

ExpectedRun StagedFromCarrier() {
  ExpectedRun run;
  run.out = SaysFoundIn(kFirst) +
            " INFO: This media is composed of 3 volumes.\n"
            "       Volume 1 found in: {carrier/1}\n"
            "       Volume 2 found in: {carrier/2}\n";
  run.err = std::string(kMissingVolumes) + kStagedWarning;
  run.arguments = StartedFrom("{staging}");
  run.env = {.media = "{staging}",
             .original = kFirst,
             .found = {{"KVLAdmInstVolumesCount", "3"}, {"KVLAdmInstMTBDIR", "SET-A"}}};
  return run;
}

std::vector<std::string> StagedCopyOf(const MediaWorld& world, const std::string& media,
                                      unsigned umask) {
  const std::vector<std::string> pieces = StagedTree().pieces;
  std::vector<std::string> lines = {Written({'d', 0755 & ~umask, "{staging}"})};
  for (const std::string& text : DescribeTree(world.Text(media))) {
    Line line = LineFrom(text);
    if (std::none_of(pieces.begin(), pieces.end(),
                     [&](const std::string& piece) { return LiesIn(line.rest, piece); })) {
      continue;
    }
    line.mode = (line.kind == 'd' ? 0755 : line.mode) & ~umask;
    line.rest = "{staging}/" + line.rest;
    lines.push_back(Written(line));
  }
  lines.push_back(Written(
      {'f', 0666 & ~umask,
       "{staging}/remove.bat = " + DescribeContents(CleanUpScriptIn(world.Text("{staging}/")))}));
  std::sort(lines.begin(), lines.end());
  return lines;
}

void ExpectRunBy(Starter starter, const LaunchWorld& world, const LaunchSeen& seen,
                 const ExpectedRun& expected) {
  std::optional<FakeUser> user;
  if (starter == Starter::kOrdinaryUser) user.emplace(kOrdinaryUser);
  ExpectRun(world, seen, expected);
}

}  // namespace kvl::test
