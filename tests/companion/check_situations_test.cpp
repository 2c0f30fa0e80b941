// kvl-media check: findings about situations that need more than a row of a table.
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

constexpr char kTooLittleSpace[] =
    "error: staging needs <n> bytes, but only <n> are free: {tmp}/<identifier>/; make room there, "
    "or set TMPDIR to another directory\n";

std::string StagedFiles(const std::string& count) {
  return "Start      staged in {tmp}/<identifier>: " + count +
         " files, <n> bytes; <n> bytes free\n";
}

TEST(CheckReports, ADirectoryThatIsNotVolume1) {
  const CheckWorld world("two volumes");
  const std::map<std::string, Environment> systems = {
      {"not set", {}}, {"linux, from the environment", {{"KVL_OS", "linux"}}}};
  for (const auto& [system, env] : systems) {
    world.ExpectReport(world.Companion({"check", "{2}"}, env),
                       "Media      {2}\nSystem     " + system + R"(
Installer  not found; name not set
Volumes    1
Start      not reached
error: the launcher finds no directory inst here, so this is not volume 1: {2}; give the directory that holds inst and StartTUI.sh
1 problem: the launcher will end with status 1
)");
  }
}

TEST(CheckReports, TheSystemInTheFirst64KiBOfTheStartScript) {
  CheckWorld world("first 1");
  const auto system_of = [&](std::size_t length) {
    const std::string line = "\nKVL_OS=linux";
    const std::string before = "KVL_Installer_EXE=installer\n#";
    world.Directory().Write("1/StartTUI.sh",
                            before + std::string(length - before.size() - line.size(), ' ') + line);
    return MatchOf(world.Companion({"check", "{1}"}).out, "[^]*\nSystem +([^\n]*)\n[^]*")[1];
  };
  EXPECT_EQ(system_of(65'536), "linux, from StartTUI.sh");
  EXPECT_EQ(system_of(65'537), "linu, from StartTUI.sh");
}

TEST(CheckReports, ANameTooLongForADisc) {
  const std::string name(254, 'n');
  const CheckWorld world("two volumes; file 2/" + name + "; file 2/" + std::string(253, 'm'));
  world.ExpectReport(
      world.Check(),
      Report(kInPlace, "warning: a disc (ISO 9660 with Rock Ridge) cuts this name off: {2}/" +
                           name + "; shorten the name to 253 bytes or less\n"));
}

TEST(CheckReports, ADirectoryThatCannotBeListed) {
  const CheckWorld world("two volumes; mode 311 1/inst/common");
  const Outcome seen = world.Check({}, {}, GiveUpPermissions);
  SetMode(world.Path("1/inst/common"), 0755);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "permissions cannot be given up here";
  world.ExpectReport(seen, Report(kInPlace, R"(
warning: other users cannot read this directory: {1}/inst/common; give all users read and execute permission (chmod a+rx)
warning: you cannot list this directory, so it counts as empty: {1}/inst/common; give the directory read and execute permission (chmod a+rx)
2 problems: the installer will be started in place
)"));
}

TEST(CheckReports, AVolumeThatTheUserCannotEnter) {
  const CheckWorld world("two volumes; mode 600 2");
  const Outcome seen = world.Check({}, {}, GiveUpPermissions);
  SetMode(world.Path("2"), 0755);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "permissions cannot be given up here";
  world.ExpectReport(seen, Report(kInPlace, R"(
Volumes    2, layout unknown, tag SET-A
           1  found       {1}
           2  unreadable  {2}
)" + StagedFiles("9") + R"(
warning: you cannot enter a directory above the marker of volume 2: {2}/2.txt; give the directories above the marker execute permission (chmod a+x)
1 problem: the installer will be staged and started
)"));
}

TEST(CheckReports, AFirstVolumeThatTheUserCannotEnter) {
  const CheckWorld world("two volumes; mode 0 1");
  const Outcome seen = world.Check({}, {}, GiveUpPermissions);
  SetMode(world.Path("1"), 0755);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "permissions cannot be given up here";
  world.ExpectReport(seen, Report(kInPlace, R"(
Installer  not found; name from --installer
Volumes    unknown number
Start      not reached
error: you cannot enter a directory above this path: {1}/inst; give the directories above it execute permission (chmod a+x)
warning: you cannot enter a directory above this path: {1}/inst/volumes.txt; give the directories above it execute permission (chmod a+x)
error: you cannot enter a directory above this path: {1}/StartTUI.sh; give the directories above it execute permission (chmod a+x)
warning: you cannot list this directory, so it counts as empty: {1}; give the directory read and execute permission (chmod a+rx)
warning: other users cannot read this directory: {1}; give all users read and execute permission (chmod a+rx)
5 problems: StartTUI.sh will fail; without it, the launcher will end with status 1
)"));
}

TEST(CheckReports, APayloadAndAnInstallerThatTheUserCannotReach) {
  const CheckWorld world(
      "two volumes; file 1/meta.TOCxml  payload=\"payload/1\"; dir 1/payload/1; "
      "mode 0 1/payload; mode 0 1/inst");
  const Outcome seen = world.Check({}, {}, GiveUpPermissions);
  for (const char* name : {"1/payload", "1/inst"}) SetMode(world.Path(name), 0755);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "permissions cannot be given up here";
  world.ExpectReport(seen, Report(kInPlace, R"(
Installer  not found; name from --installer
Volumes    unknown number
Start      not reached
error: you cannot enter a directory above this path: {1}/inst/linux/code/bin/installer; give the directories above it execute permission (chmod a+x)
warning: you cannot enter a directory above this path: {1}/inst/volumes.txt; give the directories above it execute permission (chmod a+x)
warning: you cannot enter a directory above this path: {1}/payload/1; give the directories above it execute permission (chmod a+x)
warning: other users cannot read this directory: {1}/inst; give all users read and execute permission (chmod a+rx)
warning: other users cannot read this directory: {1}/payload; give all users read and execute permission (chmod a+rx)
warning: you cannot list this directory, so it counts as empty: {1}/inst; give the directory read and execute permission (chmod a+rx)
warning: you cannot list this directory, so it counts as empty: {1}/payload; give the directory read and execute permission (chmod a+rx)
7 problems: the launcher will end with status 1
)"));
}

TEST(CheckReports, AReadOnlyFileThatAnExternalMediaOverwrites) {
  const CheckWorld world(
      "two volumes; 2: 2=SET-B; installer ext; mode 444 1/inst/common/reffiles/list");
  const bool is_superuser = ::geteuid() == 0;
  world.ExpectReport(
      world.Check({"--", "-installerPath", "{ext}"}, {{"KVL_UseExternalInstaller", "1"}}),
      Report(kStaged,
             "Installer  {ext}/inst/linux/code/bin/installer, from -installerPath; name from "
             "--installer\n" +
                 StagedFiles("9") + (is_superuser ? "warning" : "error") +
                 ": the external installer media replaces a staged file that is read-only: "
                 "{1}/inst/common/reffiles/list; give the owner of the file write permission "
                 "(chmod u+w)\n" +
                 (is_superuser ? "2 problems: the installer will be staged and started\n" : "")));
}

TEST(CheckReports, TooLittleSpaceForStaging) {
  const CheckWorld world("two volumes; 2: 2=SET-B; file 1/inst/huge");
  std::error_code error;
  fs::resize_file(world.Path("1/inst/huge"), 1ULL << 43U, error);  // a sparse file
  if (error) GTEST_SKIP() << "no file of 8 TiB can be made here";
  world.ExpectReport(world.Check(), Report(kStaged, StagedFiles("10") + kTooLittleSpace));
}

TEST(CheckReports, TooFewFreeInodesForStaging) {
  const CheckWorld world("two volumes; 2: 2=SET-B");
  const auto mount = [&] {
    const bool is_possible =
        ::unshare(CLONE_NEWNS) == 0 &&
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        ::mount("none", world.Path("tmp").c_str(), "tmpfs", 0, "nr_inodes=17,mode=755") == 0;
    if (!is_possible) ::_exit(kImpossibleHere);
  };
  const Outcome seen = world.Check({}, {}, mount);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
  world.ExpectReport(seen, Report(kStaged, R"(
error: staging needs room for 17 files and directories, but there is room for only 16: {tmp}/<identifier>/; make room there, or set TMPDIR to another directory
)"));
  ExpectTheSame(world.Check({"--json"}, {}, mount), seen);
}

TEST(CheckReports, ATemporaryDirectoryOfOthersToTheSuperuser) {
  const std::string warning =
      "warning: other users own this directory or may write into it without a sticky bit, so they "
      "can replace what the superuser stages below it: ";
  const std::string remedy =
      "; set TMPDIR to a directory into which, as into all above it, only the superuser can write\n"
      "2 problems: the installer will be staged and started\n";
  const std::string nothing = "1 problem: the installer will be staged and started\n";
  struct Row {
    std::string name, steps, directory;
  };
  for (const Row& row :
       {Row{"sticky", "mode 1777 tmp", ""},
        {"of its group", "mode 775 tmp", ""},
        {"of another group", "mode 775 tmp", "{tmp}"},
        {"open to all", "mode 777 tmp", "{tmp}"},
        {"below an open one", "dir tmp/own; mode 777 tmp", "{tmp}"},
        {"missing in an open one", "mode 777 tmp", "{tmp}"},
        {"behind a link that others may exchange",
         "dir tmp/own; dir open; link open/own ../tmp/own; mode 777 open", "{open}"},
        {"of another user", "dir tmp/own", "{tmp/own}"}}) {
    SCOPED_TRACE(row.name);
    const CheckWorld world("two volumes; remove 2; " + row.steps);
    const std::string own = row.directory == "{open}" ? "{open/own}" : "{tmp/own}";
    const bool is_superuser = ::geteuid() == 0;
    if (row.name == "of another user" && is_superuser) {
      EXPECT_EQ(::chown(world.Path("tmp/own").c_str(), 65534, 0), 0);
    }
    if (row.name == "of another group" && is_superuser) {
      EXPECT_EQ(::chown(world.Path("tmp").c_str(), 0, 65534), 0);
      SetMode(world.Path("tmp"), 0775);
    }
    const Outcome seen = world.Check({}, {{"TMPDIR", own}});
    const bool is_said = is_superuser && !row.directory.empty();
    world.ExpectReport(seen,
                       Report(kInPlace,
                              "Volumes    2, layout unknown, tag SET-A\n"
                              "           1  found       {1}\n"
                              "           2  missing     {2}\n"
                              "Start      staged in " +
                                  own +
                                  "/<identifier>: 9 files, <n> bytes; <n> bytes free\n"
                                  "warning: volume 2 has no marker: {2}/2.txt; copy the whole "
                                  "volume there\n" +
                                  (is_said ? warning + row.directory + remedy : nothing)));
    ExpectTheSame(world.Check({"--json"}, {{"TMPDIR", own}}), seen);
  }
}

TEST(CheckReports, ATreeOfLinksThatTakesYearsToCopy) {
  // The largest number stands for all numbers above it.
  const std::vector<std::pair<std::string, std::string>> rows = {{"ab", "549755813896"},
                                                                 {"abcd", "18446744073709551615"}};
  for (const auto& [links, files] : rows) {
    CheckWorld world("two volumes; 2: 2=SET-B; file 1/inst/38/file x");
    for (int i = 0; i < 38; ++i) {
      const std::string directory = "inst/" + std::to_string(i) + "/";
      const std::string next = "../" + std::to_string(i + 1);
      for (const char link : links) world.Volume("1").Link(directory + link, next);
    }
    world.ExpectReport(world.Check(), Report(kStaged, StagedFiles(files) + kTooLittleSpace));
  }
}

TEST(CheckReports, VolumesBeyondThoseThatAreListed) {
  const CheckWorld world(
      "two volumes; remove 2; 1: volumes=2147483647; 2000000: 2000000=SET-B; dir 1500000");
  world.ExpectReport(world.Check(), Report(kInPlace, R"(
Volumes    2147483647, layout sibling, tag SET-A
                 1  found       {1}
            2-1000  missing     {2} to {1000}
           1500000  missing     {1500000}
           2000000  other-tag   {2000000}, tag SET-B
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes; <n> bytes free
warning: volumes 2 to 1000 have no markers: {2}/2.txt; copy all of these volumes, or correct the number in volumes.txt
warning: volume 1500000 has no marker: {1500000}/1500000.txt; copy the whole volume there
warning: volume 2000000 has the tag SET-B instead of SET-A: {2000000}/2000000.txt; put the volume that belongs to this media there
warning: 2147482645 more volumes above volume 1000 are missing: {1}/inst/volumes.txt; copy these volumes, or correct the number in volumes.txt
4 problems: the installer will be staged and started
)"));
}

TEST(CheckReports, MoreFindingsOfOneCodeThanItLists) {
  CheckWorld world("two volumes");
  std::string lines;
  for (int i = 100; i < 203; ++i) {
    const std::string name = std::to_string(i);
    world.Change("link 2/" + name + " nowhere");
    if (i >= 110) continue;
    lines += "warning: this link leads nowhere: {2}/" + name +
             "; restore what the link leads to, or remove the link if nothing needs it\n";
  }
  world.ExpectReport(
      world.Check(),
      Report(kInPlace, lines + "and 93 more findings with the code dangling-link\n"
                               "103 problems: the installer will be started in place\n"));
  EXPECT_THAT(world.Check({"--json"}).out,
              testing::HasSubstr("\"further\": {\n    \"dangling-link\": 3\n  }"));
}

}  // namespace
}  // namespace kvl::test
