// kvl-media check: what it finds where a media cannot be made, or a report not be told, in a line.
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

constexpr char kTooLittleSpace[] =
    "error      {tmp}/<identifier>/: staging needs <n> bytes, and <n> are free; make room there, "
    "or let TMPDIR name another directory\n";

std::string StagedFiles(const std::string& count) {
  return "Start      staged in {tmp}/<identifier>: " + count + " files, <n> bytes, free <n>\n";
}

TEST(CheckFindsMore, ALauncherForAnotherMachine) {
  const std::string launcher = "1/inst/linux/code/bin/kvl-launcher";
  const CheckWorld world("two volumes; starter; link " + launcher + " " +
                         BuiltProgram("kvl-launcher"));
  world.ExpectReport(world.Check(),
                     Report(kInPlace, "Fine: the installer will be started in place\n"));
  // The head of a binary of a machine that nobody has any more, in the byte order of this one.
  std::string head = ReadFile(world.Path(launcher)).substr(0, 64);
  head[18] = head[19] = '\x7F';
  fs::remove(world.Path(launcher));
  SetMode(world.Directory().Write(launcher, head), 0755);
  world.ExpectReport(
      world.Check(),
      Report(kInPlace, "error      {" + launcher +
                           "}: this machine cannot run the launcher; put the launcher for this "
                           "machine there\n"));
}

TEST(CheckFindsMore, ADirectoryThatIsNoFirstVolume) {
  const CheckWorld world("two volumes");
  const std::map<std::string, Environment> systems = {{"none named", {}},
                                                      {"linux", {{"KVL_OS", "linux"}}}};
  for (const auto& [system, env] : systems) {
    for (const std::string directory : {"{}", "{2}"}) {
      world.ExpectReport(
          world.Companion({"check", directory}, env),
          "Media      " + directory + "\nSystem     " + system + R"(
Installer  not found
Volumes    1
Start      none
error      )" +
              directory +
              R"(: this is no volume 1: there is no directory inst in it; give the directory that holds inst and StartTUI.sh
1 problem: the launcher will end with status 1
)");
    }
  }
}

TEST(CheckFindsMore, ANameTooLongForADisc) {
  const std::string name(254, 'n');
  const CheckWorld world("two volumes; file 2/" + name + "; file 2/" + std::string(253, 'm'));
  world.ExpectReport(
      world.Check(),
      Report(kInPlace, "warning    {2}/" + name +
                           ": a name that is cut off on a disc (ISO 9660 with Rock Ridge); "
                           "shorten it to 253 bytes or less\n"));
}

TEST(CheckFindsMore, ADirectoryThatCannotBeListed) {
  const CheckWorld world("two volumes; mode 311 1/inst/common");
  const Outcome seen = world.Check({}, {}, GiveUpPermissions);
  SetMode(world.Path("1/inst/common"), 0755);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "permissions cannot be given up here";
  world.ExpectReport(seen, Report(kInPlace, R"(
warning    {1}/inst/common: an ordinary user cannot read it; give it read and execute permission for all (chmod a+rx)
warning    {1}/inst/common: a directory that you may not list, so that it counts as empty; give it read and execute permission (chmod a+rx)
2 problems: the installer will be started in place
)"));
}

TEST(CheckFindsMore, AReadOnlyFileThatAnExternalMediaOverwrites) {
  const CheckWorld world(
      "two volumes; 2: 2=SET-B; installer ext; mode 444 1/inst/common/reffiles/list");
  const bool is_superuser = ::geteuid() == 0;
  world.ExpectReport(
      world.Check({"--", "-installerPath", "{ext}"}, {{"KVL_UseExternalInstaller", "1"}}),
      Report(kStaged,
             "Installer  {ext}/inst/linux/code/bin/installer, from -installerPath\n" +
                 StagedFiles("12") + (is_superuser ? "warning    " : "error      ") +
                 "{1}/inst/common/reffiles/list: a read-only file that the external installer "
                 "media has to overwrite; give it write permission for its owner (chmod u+w)\n" +
                 (is_superuser ? "2 problems: the installer will be staged and started\n" : "")));
}

TEST(CheckFindsMore, TooLittleSpaceForStaging) {
  const CheckWorld world("two volumes; 2: 2=SET-B; file 1/inst/huge");
  std::error_code error;
  fs::resize_file(world.Path("1/inst/huge"), 1ULL << 43U, error);  // a hole
  if (error) GTEST_SKIP() << "no file of 8 TiB can be made here";
  world.ExpectReport(world.Check(), Report(kStaged, StagedFiles("10") + kTooLittleSpace));
}

TEST(CheckFindsMore, ATreeOfLinksThatACopyWouldTakeYearsFor) {
  CheckWorld world("two volumes; 2: 2=SET-B; file 1/inst/38/file x");
  for (int i = 0; i < 38; ++i) {
    const std::string directory = "inst/" + std::to_string(i);
    const std::string next = "../" + std::to_string(i + 1);
    world.Volume("1").Link(directory + "/a", next).Link(directory + "/b", next);
  }
  world.ExpectReport(world.Check(), Report(kStaged, StagedFiles("549755813896") + kTooLittleSpace));
}

TEST(CheckFindsMore, VolumesBeyondThoseThatAreListed) {
  const CheckWorld world("two volumes; remove 2; 1: volumes=2147483647; 2000000: 2000000=SET-B");
  std::string rows, findings;
  for (int i = 2; i <= 1000; ++i) {
    const std::string number = std::to_string(i), directory = "{" + number + "}";
    rows += "           " + std::string(7 - number.size(), ' ') + number + "  missing     " +
            directory + "\n";
    if (i > 11) continue;
    findings += "warning    " + directory + "/" + number + ".txt: volume " + number +
                " is missing: it has no marker; copy the whole volume there\n";
  }
  world.ExpectReport(world.Check(), Report(kInPlace, R"(
Volumes    2147483647, layout sibling, tag SET-A
                 1  found       {1}
)" + rows + "           2000000  other-tag   {2000000}, tag SET-B\n" +
                                                         StagedFiles("9") + findings +
                                                         R"(
warning    {2000000}/2000000.txt: volume 2000000 has the tag SET-B instead of SET-A; put the volume of the same media there
warning    {1}/inst/volumes.txt: 2147482646 volumes above 1000 are missing; copy them, or correct the number in volumes.txt
           and 989 more of volume-missing
1001 problems: the installer will be staged and started
)"));
}

}  // namespace
}  // namespace kvl::test
