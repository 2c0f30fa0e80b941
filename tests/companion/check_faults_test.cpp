// kvl-media check on a bad disc: the system's error is what it says, and nothing that could not be
// looked at is called fine.

#include <linux/filter.h>
#include <linux/seccomp.h>

#include "companion/check/media_check.h"
#include "companion/report/text_report.h"
#include "tests/companion/check_world.h"
#include "tests/support/path_faults.h"
#include "tests/support/system_faults.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr int kImpossibleHere = 99;

/// What is checked, and how.
struct Call {
  std::string media = "1";
  Environment env = {};  ///< texts as in MediaWorld
};

/// What a check says in this process, with what `make_fault` makes while it lasts.
template <typename MakeFault>
Outcome CheckHere(const CheckWorld& world, MakeFault make_fault, const Call& call = {}) {
  return RunIsolated([&] {
    ::clearenv();
    Environment env = {{"TMPDIR", "{tmp}"}, {"PATH", "/usr/bin:/bin"}};
    env.insert(call.env.begin(), call.env.end());
    for (const auto& [name, value] : world.Text(env)) ::setenv(name.c_str(), value.c_str(), 1);
    [[maybe_unused]] const auto fault = make_fault();
    const MediaReport report = CheckMedia({world.Path(call.media), "linux", "installer", {}});
    const std::string text = TextReport(report, Detail::kShort);
    std::fwrite(text.data(), 1, text.size(), stdout);
    return report.findings.Count() == 0 ? 0 : 1;
  });
}

void TwoVolumes(CheckWorld& world) {
  world.TwoVolumes();
}

struct BadFile {
  std::string name;
  FailingPath::Call call;
  std::string path;  ///< texts as in MediaWorld
  std::string says;
  std::function<void(CheckWorld&)> make = TwoVolumes;
};

/// For the messages of the test's framework.
void PrintTo(const BadFile& row, std::ostream* stream) {
  *stream << row.name;
}

class CheckOfABadDisc : public testing::TestWithParam<BadFile> {};

TEST_P(CheckOfABadDisc, GivesTheErrorOfTheSystem) {
  const BadFile& row = GetParam();
  CheckWorld world;
  row.make(world);
  const Outcome seen =
      CheckHere(world, [&] { return FailingPath(row.call, world.Text(row.path), EIO); });
  EXPECT_EQ(WithoutBytes(seen.out), world.Text(row.says));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

constexpr char kError[] =
    ": it cannot be read: Input/output error; look at the disc, and copy it again\n";

std::string Line(const std::string& severity, const std::string& path) {
  return severity + std::string(11 - severity.size(), ' ') + path + kError;
}

std::string InPlace(const std::string& finding) {
  return kTwoVolumes + finding + "1 problem: the installer will be started in place\n";
}

constexpr char kHead[] =
    "Media      {1}\nSystem     linux\n"
    "Installer  {1}/inst/linux/code/bin/installer, in the media\n";
constexpr char kInstaller[] = "{1}/inst/linux/code/bin/installer";

constexpr char kStaged[] =
    "Start      staged in {tmp}/<identifier>: 9 files, <n> bytes, free <n>\n";

/// A media that is staged without a look at the directories above, which others use.
void Staged(CheckWorld& world) {
  world.TwoVolumes().Volume("2").Marker(2, "SET-B");
}

std::string StagingFails(const std::string& files, const std::string& finding) {
  std::string text =
      kHead +
      std::string(
          "Volumes    2, layout sibling, tag SET-A\n"
          "           1  found       {1}\n"
          "           2  other-tag   {2}, tag SET-B\n") +
      kStaged +
      "warning    {2}/2.txt: volume 2 has the tag SET-B instead of SET-A; put the volume of the "
      "same media there\n";
  text.replace(text.find("9 files"), 7, files);
  return text + finding + "2 problems: the launcher will end with status 1\n";
}

std::vector<BadFile> BadFiles() {
  const std::string installer = kInstaller;
  const std::string staged = "1 problem: the installer will be staged and started\n";
  return {
      {"StartScript", FailingPath::kOpen, "{1}/StartTUI.sh",
       InPlace(Line("error", "{1}/StartTUI.sh"))},
      {"StartScriptThatCannotBeLookedAt", FailingPath::kLook, "{1}/StartTUI.sh",
       InPlace(Line("error", "{1}/StartTUI.sh"))},
      {"StartScriptWhosePermissionCannotBeAsked", FailingPath::kAsk, "{1}/StartTUI.sh",
       InPlace(Line("error", "{1}/StartTUI.sh"))},
      {"StartScriptWithWindows", FailingPath::kLook, "{1}/StartGUI.sh",
       InPlace(Line("error", "{1}/StartGUI.sh"))},
      {"Installer", FailingPath::kOpen, installer,
       kTwoVolumes + Line("error", installer) +
           "1 problem: the installer cannot be started, status 255\n"},
      {"InstallerToBeStaged", FailingPath::kOpen, installer,
       StagingFails("9 files", Line("error", installer)), Staged},
      {"InstallerThatCannotBeLookedAt", FailingPath::kLook, installer,
       kTwoVolumes + Line("error", installer) +
           "1 problem: the installer cannot be started, status 255\n"},
      {"InstallerThatCannotBeAskedFor", FailingPath::kAsk, installer,
       "Media      {1}\nSystem     linux\nInstaller  not found\n"
       "Volumes    2, layout sibling, tag SET-A\n"
       "           1  found       {1}\n           2  found       {2}\nStart      none\n" +
           Line("error", installer) + "1 problem: the launcher will end with status 1\n"},
      {"Marker", FailingPath::kOpen, "{2}/2.txt",
       kHead +
           std::string("Volumes    3, layout sibling, tag SET-A\n"
                       "           1  found       {1}\n           2  unreadable  {2}\n"
                       "           3  found       {3}\n") +
           kStaged + Line("warning", "{2}/2.txt") + staged,
       [](CheckWorld& world) {
         world.TwoVolumes().Volume("1").Announces("3");
         world.Volume("3").Marker(3, "SET-A");
       }},
      {"MarkerOfTheFirstVolume", FailingPath::kOpen, "{1}/1.txt",
       kHead + std::string("Volumes    2, layout unknown\n           1  unreadable  {1}\n") +
           kStaged + Line("warning", "{1}/1.txt") + staged},
      {"VolumesFile", FailingPath::kOpen, "{1}/inst/volumes.txt",
       kHead + std::string("Volumes    number unknown\n") + kStaged +
           Line("warning", "{1}/inst/volumes.txt") + staged},
      {"VolumesFileThatCannotBeAskedFor", FailingPath::kAsk, "{1}/inst/volumes.txt",
       kHead + std::string("Volumes    number unknown\nStart      in place\n") +
           Line("warning", "{1}/inst/volumes.txt") +
           "1 problem: the installer will be started in place\n"},
      {"Directory", FailingPath::kOpenDir, "{1}/inst/common",
       InPlace(Line("warning", "{1}/inst/common"))},
      {"TemporaryDirectoryThatCannotBeAskedFor", FailingPath::kAsk, "{tmp}",
       StagingFails("9 files", Line("error", "{tmp}")), Staged},
      {"TemporaryDirectory", FailingPath::kLook, "{tmp}",
       StagingFails("9 files", Line("error", "{tmp}")), Staged},
      {"DirectoryToBeStaged", FailingPath::kOpenDir, "{1}/inst/common",
       StagingFails("8 files", Line("error", "{1}/inst/common")), Staged},
      {"File", FailingPath::kLook, "{1}/media.db", InPlace(Line("warning", "{1}/media.db"))},
      {"FileToBeStaged", FailingPath::kLook, "{1}/media.db",
       StagingFails("8 files", Line("error", "{1}/media.db")), Staged},
      {"FileToBeStagedWhosePermissionCannotBeAsked", FailingPath::kAsk, "{1}/media.db",
       StagingFails("9 files", Line("error", "{1}/media.db")), Staged},
      {"EntryAboveTheMedia", FailingPath::kLook, "{}/file",
       kHead + std::string("Volumes    number unknown\nStart      none\n"
                           "error      {1}: the search for volumes meets an error, which aborts "
                           "the launcher: lstat - {}/file - Input/output error; look at what it "
                           "names\n"
                           "1 problem: the launcher will end with status 134\n"),
       [](CheckWorld& world) { world.VolumeMissing().Volume(".").File("file", ""); }},
  };
}

INSTANTIATE_TEST_SUITE_P(About, CheckOfABadDisc, testing::ValuesIn(BadFiles()),
                         [](const auto& row) { return row.param.name; });

TEST(CheckOfABadDirectory, SaysWhichDirectoryAboveTheMediaCannotBeListed) {
  CheckWorld world;
  world.FirstVolume("m/1").Announces("2").Marker(1, "SET-A");
  world.Volume(".").File("7.txt", "x\n");
  const auto make_fault = [&] { return FailingPath(FailingPath::kOpenDir, world.Path("m"), EIO); };
  const Outcome seen = CheckHere(world, make_fault, {.media = "m/1"});
  EXPECT_EQ(WithoutBytes(seen.out),
            world.Text("Media      {m/1}\nSystem     linux\n"
                       "Installer  {m/1}/inst/linux/code/bin/installer, in the media\n"
                       "Volumes    2, layout unknown, tag SET-A\n"
                       "           1  found       {m/1}\n           2  missing     {m/2}\n" +
                       std::string(kStaged) + Line("warning", "{m}") +
                       "warning    {}/7.txt: it looks like the marker of an AM volume, and has no "
                       "line MTBDIR=<tag>; copy the marker again, or remove it if it is none\n"
                       "warning    {m/2}/2.txt: volume 2 is missing: it has no marker; copy the "
                       "whole volume there\n"
                       "3 problems: the installer will be staged and started\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

/// One moment in which the disc fails while the launcher's own code looks at it.
TEST(CheckOfADiscThatFailsForAMoment, SaysThatTheSearchForVolumesFails) {
  CheckWorld world;
  world.TwoVolumes();
  const auto make_fault = [&] {
    return FailingPath(FailingPath::kOpen, world.Path("1/inst/volumes.txt"), EIO, /*after=*/0,
                       /*times=*/1);
  };
  const Outcome seen = CheckHere(world, make_fault);
  EXPECT_EQ(WithoutBytes(seen.out),
            world.Text(kHead +
                       std::string("Volumes    2, layout unknown, tag SET-A\n"
                                   "           1  found       {1}\n"
                                   "           2  found       {2}\n") +
                       kStaged +
                       "warning    {1}: the launcher does not find all volumes, and a second look "
                       "does; look at the disc, and check again\n"
                       "1 problem: the installer will be staged and started\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

TEST(CheckOfADiscThatFailsForAMoment, SaysThatTheInstallerIsNotFound) {
  CheckWorld world;
  world.TwoVolumes();
  const auto make_fault = [&] {
    return FailingPath(FailingPath::kAsk, world.Text(kInstaller), EIO, /*after=*/0, /*times=*/1);
  };
  const Outcome seen = CheckHere(world, make_fault);
  EXPECT_EQ(seen.out,
            world.Text("Media      {1}\nSystem     linux\nInstaller  not found\n"
                       "Volumes    2, layout sibling, tag SET-A\n"
                       "           1  found       {1}\n           2  found       {2}\n"
                       "Start      none\nerror      " +
                       std::string(kInstaller) +
                       ": the launcher does not find it, and a second look does; look at the disc, "
                       "and check again\n"
                       "1 problem: the launcher will end with status 1\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

TEST(CheckOfABadDirectory, SaysWhyItCannotBeLookedAtWhenItIsTheMediaItself) {
  const TestDirectory directory;
  const FailingPath fault(FailingPath::kLook, directory.Path(), EIO);
  try {
    MediaDirectory(directory.Path());
    ADD_FAILURE() << "nothing is thrown";
  } catch (const std::system_error& failure) {
    EXPECT_STREQ(
        failure.what(),
        ("cannot look at the directory: " + directory.Path() + ": Input/output error").c_str());
  }
}

struct Campaign {
  std::string name;
  std::function<void(CheckWorld&)> make;
  Call call = {};
};

/// For the messages of the test's framework.
void PrintTo(const Campaign& campaign, std::ostream* stream) {
  *stream << campaign.name;
}

class CheckOfADiscThatFailsOnce : public testing::TestWithParam<Campaign> {
 protected:
  CheckOfADiscThatFailsOnce() { GetParam().make(world_); }

  /// Runs a check for each call that it makes, in which that call fails, until no call has failed.
  /// Each of them must make a difference.
  template <typename MakeFault>
  void ExpectEveryFailureToBeSaid(MakeFault make_fault) {
    constexpr int kMore = 20;  // behind the first check that says nothing, none must say anything
    constexpr int kMost = 2000;
    const std::string without = Text([] { return 0; });
    int after = 0;
    for (; after < kMost; ++after) {
      const std::string with = Text([&] { return make_fault(after); });
      if (with == without) break;
      EXPECT_EQ(with.find("Fine:"), std::string::npos) << after << ": " << with;
    }
    EXPECT_GT(after, 0);
    EXPECT_LT(after, kMost);
    for (int more = 1; more <= kMore; ++more) {
      EXPECT_EQ(Text([&] { return make_fault(after + more); }), without)
          << "nothing is said of failure " << after << ", but of " << after + more;
    }
  }

 private:
  template <typename MakeFault>
  std::string Text(MakeFault make_fault) {
    return WithoutBytes(CheckHere(world_, make_fault, GetParam().call).out);
  }

  CheckWorld world_;
};

TEST_P(CheckOfADiscThatFailsOnce, SaysSoWhateverCallItIs) {
  for (const FailingPath::Call call :
       {FailingPath::kLook, FailingPath::kAsk, FailingPath::kOpen, FailingPath::kOpenDir}) {
    SCOPED_TRACE(call);
    ExpectEveryFailureToBeSaid(
        [&](int after) { return FailingPath(call, "", EIO, after, /*times=*/1); });
  }
  for (const FailingCall::Call call : {FailingCall::kRead, FailingCall::kReadDir}) {
    SCOPED_TRACE(call);
    ExpectEveryFailureToBeSaid(
        [&](int after) { return FailingCall(call, EIO, after, /*times=*/1); });
  }
}

std::vector<Campaign> Campaigns() {
  const auto overlaid = [](CheckWorld& world) {
    Staged(world);
    fs::remove(world.Path("1/inst/linux/code/bin/installer"));
    world.Volume("ext").Installer();
  };
  const auto script = [](CheckWorld& world) {
    TwoVolumes(world);
    SetMode(world.Directory().Write("1/inst/linux/code/bin/installer", "#!/bin/sh\n"), 0755);
  };
  return {
      {"InPlace", TwoVolumes},
      {"OfAScript", script},
      {"ToBeStaged", Staged},
      {"WithAnInstallerMedia", overlaid, {.env = {{"KVL_ZOLVEN_Installer", "{ext}"}}}},
  };
}

INSTANTIATE_TEST_SUITE_P(OfAMedia, CheckOfADiscThatFailsOnce, testing::ValuesIn(Campaigns()),
                         [](const auto& row) { return row.param.name; });

/// To be called in the child: as an older container runtime refuses the newest calls.
void RefuseTheNewAccessCall() {
  constexpr unsigned kFaccessat2 = 439;  // on every machine
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kFaccessat2, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {sizeof filter / sizeof filter[0], filter};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
    ::_exit(kImpossibleHere);
  }
}

TEST(CheckInAnOlderContainer, FindsNothingInAMediaThatIsAsItShouldBe) {
  CheckWorld world;
  world.TwoVolumes();
  const Outcome seen = world.Check({}, {}, RefuseTheNewAccessCall);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "no call can be refused here";
  EXPECT_EQ(seen.out, world.Text(std::string(kTwoVolumes) +
                                 "Fine: the installer will be started in place\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 0);
}

TEST(CheckInAnOlderContainer, FindsWhatMayNotBeExecuted) {
  CheckWorld world;
  SetMode(world.TwoVolumes().Path("1/StartTUI.sh"), 0644);
  const Outcome seen = world.Check({}, {}, RefuseTheNewAccessCall);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "no call can be refused here";
  EXPECT_EQ(seen.out, world.Text(InPlace("error      {1}/StartTUI.sh: the start script has no "
                                         "execute permission; give it that (chmod a+x)\n")));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

/// A link to a regular file, as the system says, of which no byte can be read.
void LinkToAFileOfBadSectors(const CheckWorld& world, const std::string& name) {
  fs::remove(world.Path(name));
  world.Directory().Link(name, "/proc/self/mem");
}

TEST(CheckOfBadSectors, NamesTheErrorOfEachFileThatItReads) {
  CheckWorld world;
  world.TwoVolumes();
  for (const char* name : {"1/1.txt", "1/StartTUI.sh"}) LinkToAFileOfBadSectors(world, name);
  const Outcome seen = world.Check();
  EXPECT_EQ(WithoutBytes(seen.out),
            world.Text(kHead +
                       std::string("Volumes    2, layout unknown\n"
                                   "           1  unreadable  {1}\n") +
                       kStaged + Line("warning", "{1}/1.txt") +
                       "error      {1}/StartTUI.sh: the start script has no execute permission; "
                       "give it that (chmod a+x)\n" +
                       Line("error", "{1}/StartTUI.sh") +
                       "3 problems: the installer will be staged and started\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

}  // namespace
}  // namespace kvl::test
