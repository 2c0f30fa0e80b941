#include "tests/carriers/carrier_world.h"

#include "tests/conditions/worlds.h"
#include "tests/insio/surroundings.h"
#include "tests/support/system_faults.h"

namespace kvl::test {

void CarrierWorld::Make(const std::string& directory,
                        const std::vector<std::string>& options) const {
  if (!fs::exists(Path("programs"))) {
    Directory().MakeDir("programs");
    fs::copy_file(BuiltProgram("fake_installer"), Path("programs/installer"));
  }
  std::vector<std::string> command = {BuiltProgram("kvl-media"), "make"};
  command.insert(command.end(), {"--tag", "SET-A", "--installer", "{programs/installer}"});
  command.insert(command.end(), {"--launcher", BuiltProgram("kvl-launcher")});
  command.insert(command.end(), options.begin(), options.end());
  command.insert(command.end(), {"{payload}", "{}/" + directory});
  RunTool(command);
}

void CarrierWorld::MakeSet(int volumes, const std::string& layout) const {
  for (const char* name : {"payload/1/a", "payload/2/b", "payload/3/c d/e"}) {
    Directory().Write(name, name);
  }
  Make("set", {"--presorted", "--layout", layout});
  if (volumes == 3) return;
  for (const char* piece : {"set/3", "set/3.txt", "set/payload/3", "set/3.sha256"}) {
    fs::remove_all(Path(piece));
  }
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

LaunchPlan CarrierWorld::StartOf(const std::string& script, LaunchPlan plan) const {
  plan.command = {script};
  plan.without = {"CurrentMediaDir", "KVL_OS", "KVL_Installer_EXE"};
  plan.directory = Path(".");
  if (ordinary_user_) plan.before = [this] { EnterAsOrdinaryUser(Directory()); };
  return plan;
}

LaunchSeen CarrierWorld::Start(const LaunchPlan& plan) {
  LaunchSeen seen = Run(StartOf(std::string(kFirst) + "/StartTUI.sh", plan));
  TakeAwayTheScript(seen, Text(kFirst));
  return seen;
}

void CarrierWorld::Expect(const LaunchSeen& seen, const ExpectedRun& expected) const {
  const FakeUser user(ordinary_user_ ? 65534 : ::getuid());
  ExpectRun(*this, seen, expected);
}

void ForAllStarters(const std::function<void(CarrierWorld&)>& check) {
  for (const bool ordinary_user : {false, true}) {
    if (ordinary_user && ::geteuid() != 0) return;
    SCOPED_TRACE(ordinary_user ? "as an ordinary user" : "as the user of the tests");
    CarrierWorld world(ordinary_user);
    const std::string why = ordinary_user ? WhyNoOrdinaryUser(world) : std::string();
    if (!why.empty()) GTEST_SKIP() << why;
    check(world);
  }
}

void TakeAwayTheScript(LaunchSeen& seen, const std::string& media) {
  seen.given.insert({{"KVL_OS", "linux"},
                     {"KVL_Installer_EXE", "installer"},
                     {"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"}});
  seen.given["CurrentMediaDir"] = media;
  for (const char* of_shell : {"PWD", "OLDPWD", "SHLVL", "_"}) seen.child.env.erase(of_shell);
}

ExpectedRun InPlaceFromCarrier() {
  return {.out = SaysFoundIn(kFirst) + says::Volumes("3", {kFirst, "{carrier/2}", "{carrier/3}"}),
          .arguments = StartedFrom(kFirst),
          .env = {.media = kFirst,
                  .found = {{"KVLAdmInstVolumesCount", "3"},
                            {"KVLAdmInstMTBDIR", "SET-A"},
                            {"KVLAdmInstVolumePath_2", "{carrier/2}"},
                            {"KVLAdmInstVolumePath_3", "{carrier/3}"}}}};
}

ExpectedRun StagedFromCarrier() {
  ExpectedRun run = Staged();
  run.out = SaysFoundIn(kFirst) + says::Volumes("3", {kFirst, "{carrier/2}"});
  run.env.original = kFirst;
  run.left = {};
  return run;
}

std::vector<std::string> StagedCopyOf(const MediaWorld& world, const std::string& media,
                                      unsigned umask) {
  const std::vector<std::string> pieces = StagedTree().pieces;
  std::vector<std::string> lines = {
      "d 755 {staging}", "f 666 {staging}/remove.bat = " +
                             DescribeContents(CleanUpScriptIn(world.Text("{staging}/")))};
  for (const std::string& line : DescribeTree(world.Text(media))) {
    const std::size_t behind_mode = line.find(' ', 2) + 1;
    const std::string rest = line.substr(behind_mode),
                      name = rest.substr(0, rest.find_first_of("/ "));
    if (std::find(pieces.begin(), pieces.end(), name) == pieces.end()) continue;
    lines.push_back((line[0] == 'd' ? "d 755 " : line.substr(0, behind_mode)) + "{staging}/" +
                    rest);
  }
  for (std::string& line : lines) line = Masked(line, umask);
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace kvl::test
