#include "tests/launcher/launch_world.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// One line for each entry, so that a failed comparison shows the lines that differ.
std::string Lines(const Environment& variables) {
  std::string lines;
  for (const auto& [name, value] : variables) {
    lines += name + " = " + testing::PrintToString(value) + "\n";
  }
  return lines;
}

std::string Lines(const std::vector<std::string>& texts) {
  std::string lines;
  for (const std::string& text : texts) lines += testing::PrintToString(text) + "\n";
  return lines;
}

std::vector<std::string> AllTexts(const MediaWorld& world, std::vector<std::string> texts) {
  for (std::string& text : texts) text = world.Text(text);
  return texts;
}

/// Everything in the world but what a run may leave in it.
std::vector<std::string> MediaIn(const MediaWorld& world) {
  std::vector<std::string> lines = DescribeTreeExactly(world.Path("."));
  const std::regex of_the_run("^[dflp] ([0-7]+ )?(tmp|report)[ /]");
  std::erase_if(lines,
                [&](const std::string& line) { return std::regex_search(line, of_the_run); });
  return lines;
}

void CopyOver(const std::string& from, const std::string& to) {
  fs::create_directories(fs::path(to).parent_path());
  fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
}

}  // namespace

const char kTwoOfThree[] =
    " INFO: This media is composed of 3 volumes.\n"
    "       Volume 1 found in: {1}\n"
    "       Volume 2 found in: {2}\n";

const char kStagedWarning[] =
    " WARN: This media is composed of multiple volumes.\n"
    " WARN: If it is not done already, please copy each volume on a local hard drive before "
    "starting the installation.\n"
    " WARN: Not doing so might result in the installation leaving temporary files behind.\n";

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
  const LaunchSeen seen = Launch(media, plan);
  EXPECT_EQ(Lines(MediaIn(*this)), Lines(before)) << "the run changed something";
  return seen;
}

ExpectedRun InPlace() {
  ExpectedRun run;
  run.out = SaysFoundIn("{1}");
  run.arguments = StartedFrom("{1}");
  return run;
}

ExpectedRun Staged() {
  ExpectedRun run;
  run.out = SaysFoundIn("{1}") + kTwoOfThree;
  run.err = std::string(kMissingVolumes) + kStagedWarning;
  run.arguments = StartedFrom("{staging}");
  run.env = {.media = "{staging}",
             .original = "{1}",
             .found = {{"KVLAdmInstVolumesCount", "3"}, {"KVLAdmInstMTBDIR", "SET-A"}}};
  run.left.media = "1";
  return run;
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
  return " INFO: " + InstallerOf(media) + "\n INFO: Installer found in current media: \"" +
         InstallerOf(media) + "\".\n";
}

std::string SaysNoneIn(const std::string& media) {
  return " INFO: " + InstallerOf(media) + "\n INFO: No installer in the current media.\n";
}

std::string SaysStagingFailed(const std::string& staging_slash, const std::string& reason) {
  return "ERROR: Cannot copy the installer to a temporary directory: " + staging_slash +
         "\nERROR: " + reason + "\n       \n";
}

std::string SaysCannotCreate(const std::string& command) {
  return "ERROR: Cannot create process " + command + "\n" + SaysCannotWait(command);
}

std::string SaysCannotWait(const std::string& command) {
  return "ERROR: Cannot wait for process " + command + "\n";
}

std::string CleanUpScriptIn(const std::string& staging_slash) {
  return ":begin\n"
         "rmdir /Q /S \"" +
         staging_slash +
         "inst\" 1>nul 2>nul\n"
         "if exist \"" +
         staging_slash +
         "inst\" goto begin\n"
         "rmdir /Q /S \"" +
         staging_slash + "\" 1>nul 2>nul\n";
}

std::string WithoutIdentifiers(const std::string& text) {
  static const std::regex identifier(
      "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  return std::regex_replace(text, identifier, "<id>");
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

void ExpectRun(const LaunchWorld& world, const LaunchSeen& seen, const ExpectedRun& expected) {
  EXPECT_EQ(seen.status, expected.status);
  EXPECT_EQ(seen.out, world.Text(expected.out));
  EXPECT_EQ(seen.err, world.Text(expected.err));
  EXPECT_EQ(seen.child.started, !expected.arguments.empty());
  EXPECT_EQ(seen.child.arguments, AllTexts(world, expected.arguments));
  if (!expected.arguments.empty()) {
    EXPECT_EQ(Lines(EnvChanges(seen.given, seen.child.env)),
              Lines(EnvChanges(seen.given, InstallerEnvironment(world, seen.given, expected.env))));
  }
  EXPECT_EQ(Lines(seen.staged), Lines(LinesOf(expected.left, world, expected.env.os)));
}

}  // namespace kvl::test
