// What the sample installer shows of its arguments and variables: what the launcher gives to it.

#include "tests/examples/sample_world.h"
#include "tests/launcher/expected_environment.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// What is shown of an installer with these arguments whose environment is made from that, when
/// nothing but `given` was set before.
std::string Shown(const SampleWorld& world, const std::vector<std::string>& arguments,
                  const Prepared& from, Environment given = {}) {
  given.insert({{"KVL_Installer_EXE", "sample-installer"},
                {"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"},
                {"KVL_OS", "linux"},
                {"PATH", "/usr/bin:/bin"},
                {"TMPDIR", world.Path("tmp")}});
  std::string text = "Arguments:\n";
  for (const std::string& argument : arguments) text += "  " + argument + "\n";
  text += "Variables:\n";
  for (const auto& [name, value] : InstallerEnvironment(world, given, from)) {
    const bool is_shown = name.starts_with("KVL") || name.starts_with("ORB") || name == "TEMP";
    if (is_shown || name == "PATH") text += "  " + name + "=" + value + "\n";
  }
  return text;
}

/// The variables that lead to volumes.
const Environment kThreeVolumes = {{"KVLAdmInstVolumesCount", "3"},
                                   {"KVLAdmInstMTBDIR", "SAMPLE-1"}};

TEST(SampleInstallerShows, ItsArgumentsAndEveryVariableOfARunInPlace) {
  SampleWorld world;
  world.Media();
  ExpectOutcome(
      world, world.Start("media", {"--var", "a b=c  d", "--show-environment", "--var", "", "e"}),
      {0,
       FindsInstallerIn("media") +
           Shown(world,
                 {"-CDpath", "{media}", "--var", "a b=c  d", "--show-environment", "--var", "e"},
                 {.media = "{media}"}),
       ""});
}

TEST(SampleInstallerShows, WhereTheFurtherVolumesAre) {
  SampleWorld world;
  world.Media({.volumes = 3});
  Prepared from = {.media = "{media/1}", .found = kThreeVolumes};
  from.found["KVLAdmInstVolumePath_2"] = "{media/2}";
  from.found["KVLAdmInstVolumePath_3"] = "{media/3}";
  ExpectOutcome(
      world, world.Start("media/1", {"--show-environment"}),
      {0,
       FindsInstallerIn("media/1") + says::Volumes("3", {"{media/1}", "{media/2}", "{media/3}"}) +
           Shown(world, {"-CDpath", "{media/1}", "--show-environment"}, from),
       ""});
}

TEST(SampleInstallerShows, WhereAnOuterSetOfVolumesIs) {
  SampleWorld world;
  world.Media({.layout = "am"});
  const std::string first = "{media/1/media/1}", second = "{media/2/media/2}";
  const Prepared from = {.media = first,
                         .found = {{"KVLAdmInstVolumesCount", "2"},
                                   {"KVLAdmInstMTBDIR", "SAMPLE-1-AM"},
                                   {"KVLAdmInstFirstAMVolume", "1"},
                                   {"KVLAdmInstFirstAMPath", "{media/1}"},
                                   {"KVLAdmInstAMRelativePath", "media"},
                                   {"KVLAdmInstVolumePath_2", second}}};
  ExpectOutcome(
      world, world.Start("media/1/media/1", {"--show-environment"}),
      {0,
       FindsInstallerIn("media/1/media/1") + says::Volumes("2", {first}) +
           says::FoundAm("1", "{media/1}") + says::FoundAm("2", "{media/2}") +
           says::Found("2", second) + Shown(world, {"-CDpath", first, "--show-environment"}, from),
       ""});
}

TEST(SampleInstallerShows, TheStagedCopyAndTheOriginalMedia) {
  SampleWorld world;
  world.Media({.volumes = 3});
  fs::remove_all(world.Path("media/2"));
  const Outcome outcome = world.Start("media/1", {"--show-environment"});
  ExpectOutcome(world, {outcome.status, world.WithoutStaging(outcome.out), outcome.err},
                {0,
                 FindsInstallerIn("media/1") + says::Volumes("3", {"{media/1}", "", "{media/3}"}) +
                     Shown(world, {"-CDpath", "<staging>", "--show-environment"},
                           {.media = "<staging>", .original = "{media/1}", .found = kThreeVolumes}),
                 says::Missing() + says::Staged()});
}

TEST(SampleInstallerShows, WhatSoftwareManagementIsGiven) {
  const std::string media = "the suite/media/1";
  SampleWorld world;
  world.Media({.directory = media});
  for (const std::string action : {"List", "Check", "Commit", "Rollback"}) {
    SCOPED_TRACE(action);
    const bool is_list = action == "List";
    const std::string told = action == "Check" ? "Check1" : action;
    const std::string nothing = "othing is installed in: {the suite}\n";
    ExpectOutcome(world, world.Start(media, {"--show-environment", "-SoftMgt", "-" + action}),
                  {is_list ? 0 : 7,
                   FindsInstallerIn(media) +
                       Shown(world,
                             {"--show-environment", "--mgt", "{the suite}", "--var",
                              "Radio_KVLSoftwareMgtCheck?" + told + "=true"},
                             {.media = "{" + media + "}", .software_management = true}) +
                       (is_list ? "N" + nothing : ""),
                   is_list ? "" : "sample-installer: n" + nothing});
  }
}

TEST(SampleInstallerShows, OldValuesInTheBackupsLineFeedsAsTextAndThenItGoesOn) {
  SampleWorld world;
  world.Media();
  const std::vector<std::string> arguments = {"--show-environment", "--target", "{target}"};
  ExpectOutcome(
      world,
      world.Start("media", arguments,
                  {.env = {{"ORBInst", "two\nlines\\n & more"},
                           {"LD_LIBRARY_PATH", "/old/lib"},
                           {"KVL_own", "&\n"},
                           {"another", "not shown"}}}),
      {0,
       FindsInstallerIn("media") +
           Shown(world, {"-CDpath", "{media}", "--show-environment", "--target", "{target}"},
                 {.media = "{media}"},
                 {{"ORBInst", "two\\nlines\\n & more"},
                  {"LD_LIBRARY_PATH", "/old/lib"},
                  {"KVL_own", "&\\n"}}) +
           SaysInstalled({.volumes = {"media"}}),
       ""});
}

}  // namespace
}  // namespace kvl::test
