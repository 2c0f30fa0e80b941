#include "tests/launcher/launch_world.h"

namespace kvl::test {
namespace {

using testing::ContainerEq;

std::vector<std::string> AllTexts(const MediaWorld& world, std::vector<std::string> texts) {
  for (std::string& text : texts) text = world.Text(text);
  return texts;
}

/// Describes the world without the parts that a run may change.
std::vector<std::string> MediaIn(const MediaWorld& world) {
  std::vector<std::string> lines = DescribeTreeExactly(world.Path("."));
  const std::string of_the_run = "[dflp] ([0-7]+ )?(tmp|report)[ /][^]*";
  std::erase_if(lines, [&](const std::string& line) { return !MatchOf(line, of_the_run).empty(); });
  return lines;
}

void CopyOver(const std::string& from, const std::string& to) {
  fs::create_directories(fs::path(to).parent_path());
  fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
}

}  // namespace

LaunchWorld& LaunchWorld::OneVolume() {
  Volume("1").Installer().Descriptions();
  return *this;
}

LaunchWorld& LaunchWorld::VolumeMissing() {
  Volume("1").Installer().Descriptions().Announces("3").Marker(1, "SET-A");
  Volume("2").Marker(2, "SET-A");
  return *this;
}

void LaunchWorld::EmptyTmp() const {
  for (const fs::directory_entry& entry : fs::directory_iterator(Path("tmp"))) {
    fs::remove_all(entry.path());
  }
}

LaunchSeen LaunchWorld::Run(const LaunchPlan& plan, const std::string& media) {
  const std::vector<std::string> before = MediaIn(*this);
  LaunchPlan launch = plan;
  launch.directory = Text(plan.directory);
  const LaunchSeen seen = Launch(media, launch);
  EXPECT_THAT(MediaIn(*this), ContainerEq(before)) << "the run changed something";
  return seen;
}

LaunchSeen LaunchWorld::Expect(const ExpectedRun& expected, const LaunchPlan& plan,
                               const std::string& media) {
  const LaunchSeen seen = Run(plan, media);
  ExpectRun(*this, seen, expected);
  return seen;
}

void ExpectRuns(const std::vector<RunRow>& rows) {
  for (const RunRow& row : rows) {
    SCOPED_TRACE(row.name);
    LaunchWorld world;
    row.media(world);
    world.Expect(row.expected, row.plan);
  }
}

LaunchPlan WithArguments(const std::vector<std::string>& arguments, const Environment& env) {
  return {.arguments = arguments, .env = env};
}

LaunchPlan WithVariables(const Environment& env) {
  return {.env = env};
}

ExpectedRun ExpectedRun::But(const std::function<void(ExpectedRun&)>& change) const {
  ExpectedRun run = *this;
  change(run);
  return run;
}

ExpectedRun InPlace() {
  return {.out = SaysFoundIn("{1}"), .arguments = StartedFrom("{1}")};
}

ExpectedRun Staged() {
  return {.out = SaysFoundIn("{1}") + kTwoOfThree,
          .err = says::Missing() + says::Staged(),
          .arguments = StartedFrom("{staging}"),
          .env = {.media = "{staging}",
                  .original = "{1}",
                  .found = {{"KVLAdmInstVolumesCount", "3"}, {"KVLAdmInstMTBDIR", "SET-A"}}},
          .left = {.media = "1"}};
}

std::string InstallerOf(const std::string& media) {
  return media + "/inst/linux/code/bin/installer";
}

std::vector<std::string> StartedFrom(const std::string& media,
                                     const std::vector<std::string>& further) {
  std::vector<std::string> arguments = {InstallerOf(media), "-CDpath", media};
  arguments.insert(arguments.end(), further.begin(), further.end());
  return arguments;
}

std::string CommandOf(const std::vector<std::string>& arguments) {
  std::string command;
  for (const std::string& argument : arguments) command += " \"" + argument + "\"";
  return command.substr(1);
}

std::string SaysFoundIn(const std::string& media) {
  return says::FoundInCurrentMedia(InstallerOf(media));
}

std::string SaysNoneIn(const std::string& media) {
  return says::NoneInCurrentMedia(InstallerOf(media));
}

std::string CleanUpScriptIn(const std::string& staging_slash) {
  const std::string inst = "\"" + staging_slash + "inst\"";
  return ":begin\n"
         "rmdir /Q /S " +
         inst +
         " 1>nul 2>nul\n"
         "if exist " +
         inst +
         " goto begin\n"
         "rmdir /Q /S \"" +
         staging_slash + "\" 1>nul 2>nul\n";
}

std::string WithoutIdentifiers(const std::string& text) {
  return Replaced(text, "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}",
                  "<id>");
}

std::vector<std::string> LinesOf(const StagedTree& tree, const MediaWorld& world,
                                 const std::string& os) {
  if (!tree.exactly.empty()) return tree.exactly;
  if (tree.media.empty()) return {};
  const TestDirectory twin;
  const std::string staging_slash = twin.Path("{staging}/");
  for (const std::string& piece : tree.pieces) {
    CopyOver(world.Path(tree.media) + "/" + piece, staging_slash + piece);
  }
  if (!tree.external_inst.empty()) {
    for (const std::string& name : {std::string("common"), os}) {
      CopyOver(world.Path(tree.external_inst) + "/" + name, staging_slash + "inst/" + name);
    }
  }
  for (const auto& [name, contents] : tree.also) twin.Write("{staging}/" + name, contents);
  if (!tree.script_for.empty()) {
    twin.Write("{staging}/remove.bat", CleanUpScriptIn(world.Text(tree.script_for)));
  }
  return DescribeTree(twin.Path());
}

void LeaveNoCore() {
  const rlimit none = {0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
}

void ExpectRun(const LaunchWorld& world, const LaunchSeen& seen, const ExpectedRun& expected) {
  EXPECT_EQ(seen.status, expected.status);
  EXPECT_EQ(seen.out, world.Text(expected.out));
  EXPECT_EQ(seen.err, world.Text(expected.err));
  EXPECT_EQ(seen.child.started, !expected.arguments.empty());
  EXPECT_EQ(seen.child.arguments, AllTexts(world, expected.arguments));
  if (!expected.arguments.empty()) {
    const Environment env = InstallerEnvironment(world, seen.given, expected.env);
    EXPECT_THAT(EnvChanges(seen.given, seen.child.env), ContainerEq(EnvChanges(seen.given, env)));
  }
  EXPECT_THAT(seen.staged, ContainerEq(LinesOf(expected.left, world, expected.env.os)));
}

}  // namespace kvl::test
