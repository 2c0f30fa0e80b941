// Stages a media, and over it the installer of an external installer media with read-only files.

#include "tests/carriers/carrier.h"

namespace kvl::test {
namespace {

constexpr char kBin[] = "inst/linux/code/bin";

/// Makes a media in {carrier} without the third of its three volumes, and a media of one volume in
/// {update}. Their programs have the same names, but the launchers differ.
void MakeMediaAndUpdate(const CarrierWorld& world) {
  world.MakeSet(2);
  fs::rename(world.Path("set"), world.Path("carrier"));
  world.Make("update", {"--launcher", BuiltProgram("fake_installer")});
}

const LaunchPlan kUpdate = {.arguments = {"-installerPath", "{update}"},
                            .env = {{"KVL_UseExternalInstaller", "1"}, {"FAKE_EXIT", "7"}}};

ExpectedRun ExpectedUpdate() {
  ExpectedRun run = StagedFromCarrier().Ends(7);
  run.out = says::PassedOver(InstallerOf(kFirst)) + says::ArgumentNames("{update}") +
            says::NotBelowOne(InstallerOf("{update}/1")) +
            says::InstallerMedia(InstallerOf("{update}")) +
            run.out.substr(SaysFoundIn(kFirst).size());
  run.env.external = "{update}/inst/";
  return run;
}

/// Returns the staged tree: that of the first media, in which the launcher has the contents of the
/// second one and still the mode of the first.
std::vector<std::string> UpdatedCopy(const CarrierWorld& world, const std::string& mode) {
  const std::string line = "f " + mode + " {staging}/" + kBin + "/kvl-launcher = ";
  const std::string contents = ReadFile(BuiltProgram("fake_installer"));
  std::vector<std::string> lines = StagedCopyOf(world, kFirst);
  for (std::string& old : lines) {
    if (old.starts_with(line)) old = line + DescribeContents(contents);
  }
  return lines;
}

TEST(ReadOnlyUpdate, ReplacesAnInstallerWithWritableFiles) {
  ForAllStarters([](CarrierWorld& world) {
    MakeMediaAndUpdate(world);
    world.RunTool({"/bin/chmod", "-R", "a=rX", "{update}"});
    const LaunchSeen seen = world.Start(kUpdate);
    ExpectedRun expected = ExpectedUpdate();
    expected.left.exactly = UpdatedCopy(world, "755");
    world.Expect(seen, expected);
  });
}

/// Staged files keep their modes, so an ordinary user cannot overwrite a staged file that is
/// read-only: the first such file ends the staging.
TEST(ReadOnlyUpdate, OverwritesReadOnlyFilesOnlyForTheSuperuser) {
  ForAllStarters([](CarrierWorld& world) {
    MakeMediaAndUpdate(world);
    world.RunTool({"/bin/chmod", "-R", "a=rX", "{carrier}", "{update}"});
    const LaunchSeen seen = world.Start(kUpdate);
    ExpectedRun expected = ExpectedUpdate();
    expected.left.exactly = UpdatedCopy(world, "555");
    if (world.IsStartedByOrdinaryUser()) {
      const fs::path first = *fs::directory_iterator(world.Path("update/") + kBin);
      expected.status = 1;
      expected.err = says::Missing() +
                     says::StagingFailed("{staging}/",
                                         "Cannot write into {staging}/" + std::string(kBin) + "/" +
                                             first.filename().string() + " - Permission denied");
      expected.arguments = {};
      expected.left.exactly = StagedCopyOf(world, kFirst);
      std::erase_if(expected.left.exactly, [](const std::string& line) {
        return line.find(" {staging}/remove.bat = ") != std::string::npos;
      });
    }
    world.Expect(seen, expected);
  });
}

}  // namespace
}  // namespace kvl::test
