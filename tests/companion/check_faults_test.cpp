// kvl-media check on a bad disc: it reports the error of the system, and calls nothing fine that it
// could not look at.
#include "companion/check/media_check.h"
#include "companion/report/text_report.h"
#include "tests/companion/check_world.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

/// Checks a media in this process while the fault from `make_fault` lasts.
template <typename MakeFault>
Outcome CheckHere(const CheckWorld& world, MakeFault make_fault, const std::string& media = "1",
                  const Environment& further = {}) {
  Environment env = world.Text(further);
  env.insert({{"TMPDIR", world.Path("tmp")}, {"PATH", "/usr/bin:/bin"}});
  const ScopedEnv scoped(env);
  Outcome seen;
  Outcome said = Catch([&] {
    [[maybe_unused]] const auto fault = make_fault();
    const MediaReport report = CheckMedia({world.Path(media), "linux", "installer", {}});
    seen = {report.findings.Count() == 0 ? 0 : 1, TextReport(report, Detail::kShort), {}};
  });
  return {seen.status, said.out + seen.out, said.err};
}

class CheckOfABadDisc : public testing::TestWithParam<Transcript> {};

TEST_P(CheckOfABadDisc, GivesTheErrorOfTheSystem) {
  const std::map<std::string, FailingCall::Call> calls = {{"look", FailingCall::kLook},
                                                          {"ask", FailingCall::kAsk},
                                                          {"open", FailingCall::kOpen},
                                                          {"list", FailingCall::kOpenDir}};
  const Transcript& row = GetParam();
  const CheckWorld world(row.steps + row.call);
  const std::size_t last_blank = row.given.rfind(' ');
  std::istringstream failing(row.given.substr(0, last_blank));
  for (std::string call; failing >> call;) {
    SCOPED_TRACE(call);
    const int times = call.ends_with("-once") ? 1 : 0;
    const Outcome seen = CheckHere(world, [&] {
      return FailingCall(calls.at(call.substr(0, call.find('-'))),
                         world.Text(row.given.substr(last_blank + 1)), EIO, /*after=*/0, times);
    });
    world.ExpectReport(seen, Report(row.usual, row.differing));
  }
}

/// Each row gives system calls and a path. Each check lets one of these calls fail for the path;
/// with "-once" only the first time, when the launcher's own code makes it.
constexpr char kBadFiles[] = R"(
= started in place
# StartScript: open look ask {1}/StartTUI.sh
error: the system cannot read this entry (Input/output error): {1}/StartTUI.sh; examine the disc, and copy the entry again if it is part of the media
1 problem: StartTUI.sh will fail; without it, the installer will be started in place
# GraphicalStartScript: look {1}/StartGUI.sh
error: the system cannot read this entry (Input/output error): {1}/StartGUI.sh; examine the disc, and copy the entry again if it is part of the media
1 problem: StartGUI.sh will fail; without it, the installer will be started in place
# InstallerThatOnlyTheStartScriptNames: ask {1}/inst/other/code/bin/installer
$ file 1/StartTUI.sh KVL_OS=other\n
error: the system cannot read this entry (Input/output error): {1}/inst/other/code/bin/installer; examine the disc, and copy the entry again if it is part of the media
1 problem: StartTUI.sh will fail; without it, the installer will be started in place
# VolumesFileThatCannotBeQueried: ask {1}/inst/volumes.txt
Volumes    unknown number
warning: the system cannot read this entry (Input/output error): {1}/inst/volumes.txt; examine the disc, and copy the entry again if it is part of the media
# Directory: list {1}/inst/common
warning: the system cannot read this entry (Input/output error): {1}/inst/common; examine the disc, and copy the entry again if it is part of the media
# File: look {1}/media.db
warning: the system cannot read this entry (Input/output error): {1}/media.db; examine the disc, and copy the entry again if it is part of the media
# EntryAboveTheMedia: look {}/file
$ remove 2; file file
Volumes    2, layout unknown, tag SET-A
           1  found       {1}
           2  missing     {2}
Start      not reached
error: the launcher searches for an AM volume above the media, meets an error (lstat - {}/file - Input/output error) and aborts: {1}; remove or repair what the error names, or put the media elsewhere
warning: volume 2 has no marker: {2}/2.txt; copy the whole volume there
2 problems: the launcher will end with status 134
= cannot be started
# Installer: open look {1}/inst/linux/code/bin/installer
error: the system cannot read this entry (Input/output error): {1}/inst/linux/code/bin/installer; examine the disc, and copy the entry again if it is part of the media
= has no installer
# InstallerThatCannotBeQueried: ask {1}/inst/linux/code/bin/installer
error: the system cannot read this entry (Input/output error): {1}/inst/linux/code/bin/installer; examine the disc, and copy the entry again if it is part of the media
# InstallerAtTheFirstLook: ask-once {1}/inst/linux/code/bin/installer
error: the launcher does not find this installer, but a second look finds it: {1}/inst/linux/code/bin/installer; examine the disc, and check the media again
= lacks a volume
# VolumesFileAtTheFirstLook: open-once {1}/inst/volumes.txt
           2  found       {2}
warning: the launcher does not find all volumes, but a second look finds them: {1}; examine the disc, and check the media again
# Marker: open {2}/2.txt
$ 1: volumes=3; 3: 3=SET-A
Volumes    3, layout sibling, tag SET-A
           1  found       {1}
           2  unreadable  {2}
           3  found       {3}
warning: the system cannot read this entry (Input/output error): {2}/2.txt; examine the disc, and copy the entry again if it is part of the media
# MarkerOfTheFirstVolume: open {1}/1.txt
Volumes    2, layout unknown
           1  unreadable  {1}
warning: the system cannot read this entry (Input/output error): {1}/1.txt; examine the disc, and copy the entry again if it is part of the media
# VolumesFile: open {1}/inst/volumes.txt
Volumes    unknown number
warning: the system cannot read this entry (Input/output error): {1}/inst/volumes.txt; examine the disc, and copy the entry again if it is part of the media
# VolumesFileToBeStaged: look {1}/inst/volumes.txt
$ 2: 2=SET-B
Volumes    unknown number
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes; <n> bytes free
error: the system cannot read this entry (Input/output error): {1}/inst/volumes.txt; examine the disc, and copy the entry again if it is part of the media
1 problem: the launcher will end with status 1
= cannot be staged
# InstallerToBeStaged: open {1}/inst/linux/code/bin/installer
error: the system cannot read this entry (Input/output error): {1}/inst/linux/code/bin/installer; examine the disc, and copy the entry again if it is part of the media
# TemporaryDirectory: ask look {tmp}
error: the system cannot read this entry (Input/output error): {tmp}; examine the disc, and copy the entry again if it is part of the media
# DirectoryToBeStaged: list {1}/inst/common
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes; <n> bytes free
error: the system cannot read this entry (Input/output error): {1}/inst/common; examine the disc, and copy the entry again if it is part of the media
# FileToBeStaged: look {1}/media.db
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes; <n> bytes free
error: the system cannot read this entry (Input/output error): {1}/media.db; examine the disc, and copy the entry again if it is part of the media
# FileWhosePermissionCannotBeQueried: ask {1}/media.db
error: the system cannot read this entry (Input/output error): {1}/media.db; examine the disc, and copy the entry again if it is part of the media
)";

INSTANTIATE_TEST_SUITE_P(About, CheckOfABadDisc, testing::ValuesIn(ReadTranscripts(kBadFiles)),
                         NameOf);

TEST(CheckWithABadDirectory, ReportsADirectoryAboveTheMediaThatCannotBeListed) {
  const CheckWorld world("first m/1; m/1: volumes=2 1=SET-A; file 7.txt x\\n");
  const auto make_fault = [&] { return FailingCall(FailingCall::kOpenDir, world.Path("m"), EIO); };
  world.ExpectReport(CheckHere(world, make_fault, "m/1"), R"(Media      {m/1}
System     linux, from --os
Installer  {m/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2, layout unknown, tag SET-A
           1  found       {m/1}
           2  missing     {m/2}
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes; <n> bytes free
warning: the system cannot read this entry (Input/output error): {m}; examine the disc, and copy the entry again if it is part of the media
warning: this file looks like the marker of an AM volume, but has no line MTBDIR=<tag>: {}/7.txt; copy the marker again, or remove the file if it is not a marker
warning: volume 2 has no marker: {m/2}/2.txt; copy the whole volume there
3 problems: the installer will be staged and started
)");
}

TEST(CheckWithABadDirectory, RefusesAMediaThatTheSystemCannotLookAt) {
  const TestDirectory directory;
  const FailingCall fault(FailingCall::kLook, directory.Path(), EIO);
  EXPECT_THAT(
      [&] { MediaDirectory(directory.Path()); },
      testing::ThrowsMessage<std::system_error>("the system cannot look at this directory: " +
                                                directory.Path() + ": Input/output error"));
  CheckWorld().ExpectRefused(
      CheckWorld::CompanionHere({"check", directory.Path()}),
      "the system cannot look at this directory: " + directory.Path() + ": Input/output error");
}

TEST(CheckWithABadDirectory, RefusesAWorkingDirectoryThatIsGone) {
  const CheckWorld world("dir gone");
  world.ExpectRefused(
      world.Companion({"check", "."}, {},
                      [&] {
                        if (::chdir("gone") != 0) ::_exit(kImpossibleHere);
                        fs::remove(world.Path("gone"));
                      }),
      "DIR is not a directory: .; name the directory of a volume, or the one that holds "
      "volumes as 1, 2, ...");
}

/// Repeats the check, lets another system call fail each time, and expects each failure to change
/// the report. Ends when no call is left.
void ExpectEveryFailureToBeReported(const std::string& steps, const Environment& env = {}) {
  constexpr int kMore = 20;  // checks after the first unchanged report; none may change it
  constexpr int kMost = 2000;
  const FakeFreeBlocks always_as_many(1'000'000, 4096);
  const CheckWorld world("two volumes; " + steps);
  const std::string without = CheckHere(
                                  world, [] { return 0; }, "1", env)
                                  .out;
  for (const FailingCall::Call call :
       {FailingCall::kLook, FailingCall::kAsk, FailingCall::kOpen, FailingCall::kOpenDir,
        FailingCall::kRead, FailingCall::kReadDir}) {
    SCOPED_TRACE(call);
    const bool has_path = call != FailingCall::kRead && call != FailingCall::kReadDir;
    const auto text_with_failure = [&](int after) {
      const auto make_fault = [&] {
        return has_path ? FailingCall(call, "", EIO, after, /*times=*/1)
                        : FailingCall(call, EIO, after, /*times=*/1);
      };
      return CheckHere(world, make_fault, "1", env).out;
    };
    int after = 0;
    for (; after < kMost; ++after) {
      const std::string with = text_with_failure(after);
      if (with == without) break;
      EXPECT_EQ(with.find("Fine:"), std::string::npos) << after << ": " << with;
    }
    EXPECT_GT(after, 0);
    EXPECT_LT(after, kMost);
    for (int more = 1; more <= kMore; ++more) {
      EXPECT_EQ(text_with_failure(after + more), without)
          << "failure " << after << " changes nothing, but failure " << after + more << " does";
    }
  }
}

TEST(CheckOfADiscThatFailsOnce, ReportsEachFailureOfAMediaInPlace) {
  ExpectEveryFailureToBeReported("");
}

TEST(CheckOfADiscThatFailsOnce, ReportsEachFailureOfAScript) {
  ExpectEveryFailureToBeReported("file 1/inst/linux/code/bin/installer #!/bin/sh\\n");
}

TEST(CheckOfADiscThatFailsOnce, ReportsEachFailureOfAStagedMedia) {
  ExpectEveryFailureToBeReported("2: 2=SET-B");
}

TEST(CheckOfADiscThatFailsOnce, ReportsEachFailureOfAnExternalInstallerMedia) {
  ExpectEveryFailureToBeReported(
      "2: 2=SET-B; remove 1/inst/linux/code/bin/installer; installer ext",
      {{"KVL_ZOLVEN_Installer", "{ext}"}});
}

}  // namespace
}  // namespace kvl::test
