// Two media of which nothing may be written: the installer of the second one is staged over the
// first.

#include "tests/carriers/carrier.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr char kBin[] = "inst/linux/code/bin";

/// In {carrier/1} the first of three volumes, the third of which is missing; in {update} a media of
/// one volume, whose programs have the same names; one of them is another program.
class ReadOnlyUpdate : public testing::Test {
 protected:
  static void ForAllStarters(const std::function<void(CarrierWorld&, Starter)>& check) {
    for (const Starter starter : AllStarters()) {
      SCOPED_TRACE(starter == Starter::kOurselves ? "by ourselves" : "by an ordinary user");
      CarrierWorld world;
      if (const std::string why = world.WhyNot(starter); !why.empty()) GTEST_SKIP() << why;
      world.MakeSet();
      fs::remove_all(world.Path("set/3"));
      fs::rename(world.Path("set"), world.Path("carrier"));
      world.Make("update", {"--launcher", BuiltProgram("fake_installer")});
      check(world, starter);
    }
  }

  static LaunchPlan Plan() {
    return {.arguments = {"-installerPath", "{update}"},
            .env = {{"KVL_UseExternalInstaller", "1"}, {"FAKE_EXIT", "7"}}};
  }

  static ExpectedRun Expected() {
    const std::string installer = InstallerOf(kFirst), external = InstallerOf("{update}");
    ExpectedRun run = StagedFromCarrier();
    run.status = 7;
    run.out = " INFO: " + installer + "\n INFO: Installer found in the current media, \"" +
              installer +
              "\" but do not use it because of KVL_UseExternalInstaller env var.\n"
              " INFO: Argument \"-installerPath\" found and its value is \"{update}\".\n"
              " INFO: Installer executable \"" +
              InstallerOf("{update}/1") +
              "\" does not exist, trying without sub dir \"1\"\n"
              " INFO: Installer Media: \"" +
              external + "\"\n" +
              " INFO: This media is composed of 3 volumes.\n"
              "       Volume 1 found in: {carrier/1}\n"
              "       Volume 2 found in: {carrier/2}\n";
    run.env.external = "{update}/inst/";
    return run;
  }
};

/// The staged copy of the first media with the program of the second one, which has taken the place
/// of the first one's contents but not of its mode.
std::vector<std::string> UpdatedCopy(const CarrierWorld& world, const std::string& mode) {
  const std::string line = "f " + mode + " {staging}/" + kBin + "/kvl-launcher = ";
  const std::string contents = ReadFile(BuiltProgram("fake_installer"));
  std::vector<std::string> lines = StagedCopyOf(world, kFirst);
  for (std::string& old : lines) {
    if (old.starts_with(line)) old = line + DescribeContents(contents);
  }
  return lines;
}

TEST_F(ReadOnlyUpdate, ReplacesTheInstallerWhoseFilesMayBeWritten) {
  ForAllStarters([](CarrierWorld& world, Starter starter) {
    world.RunTool({"/bin/chmod", "-R", "a=rX", "{update}"});
    const LaunchSeen seen = world.Start(starter, Plan());
    ExpectedRun expected = Expected();
    expected.left.exactly = UpdatedCopy(world, "755");
    ExpectRunBy(starter, world, seen, expected);
  });
}

/// Files keep their modes, and who is not the superuser cannot overwrite a copy that is read-only:
/// the first of them ends the staging.
TEST_F(ReadOnlyUpdate, OfReadOnlyFilesIsOnlyForTheSuperuser) {
  ForAllStarters([](CarrierWorld& world, Starter starter) {
    for (const char* media : {"{carrier}", "{update}"}) {
      world.RunTool({"/bin/chmod", "-R", "a=rX", media});
    }
    const LaunchSeen seen = world.Start(starter, Plan());
    ExpectedRun expected = Expected();
    expected.left.exactly = UpdatedCopy(world, "555");
    if (starter == Starter::kOrdinaryUser || ::geteuid() != 0) {
      const fs::path first = *fs::directory_iterator(world.Path("update/") + kBin);
      expected.status = 1;
      expected.err =
          kMissingVolumes +
          SaysStagingFailed("{staging}/", "Cannot write into {staging}/" + std::string(kBin) + "/" +
                                              first.filename().string() + " - Permission denied");
      expected.arguments = {};
      expected.left.exactly = StagedCopyOf(world, kFirst);
      std::erase_if(expected.left.exactly, [](const std::string& line) {
        return line.find(" {staging}/remove.bat = ") != std::string::npos;
      });
    }
    ExpectRunBy(starter, world, seen, expected);
  });
}

}  // namespace
}  // namespace kvl::test
