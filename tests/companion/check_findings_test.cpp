// kvl-media check: one test for each thing that it finds, comparing all that it says.
#include <sys/socket.h>
#include <sys/un.h>

#include <linux/capability.h>

#include "tests/companion/check_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr int kImpossibleHere = 99;

struct Finding {
  std::string name;
  std::function<void(CheckWorld&)> make;
  std::vector<std::string> arguments = {};
  Environment env = {};
  std::string says;  ///< texts as in MediaWorld
  std::function<void()> before = {};
};

/// For the messages of the test's framework.
void PrintTo(const Finding& row, std::ostream* stream) {
  *stream << row.name;
}

class CheckFinds : public testing::TestWithParam<Finding> {};

TEST_P(CheckFinds, SaysSo) {
  const Finding& row = GetParam();
  CheckWorld world;
  row.make(world);
  const std::vector<std::string> before = DescribeTreeExactly(world.Path("."));
  const Outcome seen = world.Check(row.arguments, row.env, row.before);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "this cannot be set up here";
  EXPECT_EQ(WithoutBytes(seen.out), world.Text(row.says));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
}

std::string Padded(std::string severity) {
  severity.resize(11, ' ');
  return severity;
}

std::string InPlace(const std::string& findings) {
  return kTwoVolumes + findings + "1 problem: the installer will be started in place\n";
}

std::string CannotStart(const std::string& finding) {
  return kTwoVolumes + finding + "1 problem: the installer cannot be started, status 255\n";
}

std::string Staged(const std::string& rows, const std::string& findings, int count = 1) {
  return "Media      {1}\nSystem     linux\n"
         "Installer  {1}/inst/linux/code/bin/installer, in the media\n" +
         rows + "Start      staged in {tmp}/<identifier>: 9 files, <n> bytes, free <n>\n" +
         findings + std::to_string(count) + (count == 1 ? " problem" : " problems") +
         ": the installer will be staged and started\n";
}

std::string StagingFails(const std::string& files, const std::string& finding, int count = 2) {
  std::string text = kVolumeMissing;
  text.replace(text.find("9 files"), 7, files);
  const std::size_t missing = text.find("warning ");
  text.insert(missing + text.substr(missing).size(), finding);
  return text + std::to_string(count) + " problems: the launcher will end with status 1\n";
}

void TwoVolumes(CheckWorld& world) {
  world.TwoVolumes();
}

/// A file system that no socket's long path fits into is worked around by going there.
void MakeSocket(const std::string& directory) {
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const fs::path before = fs::current_path();
  fs::current_path(directory);
  address.sun_path[0] = 's';
  ::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  fs::current_path(before);
  ::close(descriptor);
}

/// To be called in the child: the superuser, too, is to ask for permissions.
void GiveUpPermissions() {
  for (const int power : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
    if (::prctl(PR_CAPBSET_DROP, power, 0, 0, 0) != 0 && ::geteuid() == 0) ::_exit(kImpossibleHere);
  }
}

std::vector<Finding> AboutVolumes() {
  const std::string missing_rows =
      "Volumes    2, layout unknown, tag SET-A\n           1  found       {1}\n";
  return {
      {.name = "MissingVolume",
       .make = [](CheckWorld& world) { world.VolumeMissing(); },
       .says =
           std::string(kVolumeMissing) + "1 problem: the installer will be staged and started\n"},
      {.name = "VolumeOfAnotherMedia",
       .make = [](CheckWorld& world) { world.TwoVolumes().Volume("2").Marker(2, "SET-B"); },
       .says = Staged("Volumes    2, layout sibling, tag SET-A\n           1  found       {1}\n"
                      "           2  other-tag   {2}, tag SET-B\n",
                      "warning    {2}/2.txt: volume 2 has the tag SET-B instead of SET-A; put the "
                      "volume of the same media there\n")},
      {.name = "UnreadableMarker",
       .make = [](CheckWorld& world) { world.VolumeMissing().Volume("2").Dir("2.txt"); },
       .says = Staged(missing_rows + "           2  unreadable  {2}\n",
                      "warning    {2}/2.txt: the marker of volume 2 cannot be read; make it a "
                      "regular file with read permission (chmod a+r)\n")},
      {.name = "MarkerWithoutTag",
       .make = [](CheckWorld& world) { world.VolumeMissing().Volume("2").File("2.txt", "tag\n"); },
       .says = Staged(missing_rows + "           2  no-tag      {2}\n",
                      "warning    {2}/2.txt: the marker of volume 2 has no line MTBDIR=<tag>; copy "
                      "the marker again\n")},
      {.name = "MissingMarkerOfTheFirstVolume",
       .make = [](CheckWorld& world) { fs::remove(world.TwoVolumes().Path("1/1.txt")); },
       .says = Staged("Volumes    2, layout unknown\n           1  missing     {1}\n",
                      "warning    {1}/1.txt: volume 1 is missing: it has no marker; copy the whole "
                      "volume there\n")},
      {.name = "AmMarkerWithoutTag",
       .make = [](CheckWorld& world) { world.VolumeMissing().Volume(".").File("7.txt", "x\n"); },
       .says = Staged(
           missing_rows + "           2  missing     {2}\n",
           "warning    {}/7.txt: it looks like the marker of an AM volume, and has no line "
           "MTBDIR=<tag>; copy the marker again, or remove it if it is none\n"
           "warning    {2}/2.txt: volume 2 is missing: it has no marker; copy the whole volume "
           "there\n",
           2)},
      {.name = "EmptyVolumesFile",
       .make =
           [](CheckWorld& world) { world.TwoVolumes().Volume("1").File("inst/volumes.txt", ""); },
       .says = Staged("Volumes    number unknown\n",
                      "warning    {1}/inst/volumes.txt: it has no line with the number of volumes; "
                      "write the number into it\n")},
      {.name = "CarriageReturnInTheVolumesFile",
       .make = [](CheckWorld& world) { world.TwoVolumes().Volume("1").Announces("2\r"); },
       .says =
           InPlace("warning    {1}/inst/volumes.txt: its first line has a carriage return; save it "
                   "with line feeds alone\n")},
      {.name = "NoNumberInTheVolumesFile",
       .make = [](CheckWorld& world) { world.TwoVolumes().Volume("1").Announces("two"); },
       .says =
           "Media      {1}\nSystem     linux\n"
           "Installer  {1}/inst/linux/code/bin/installer, in the media\n"
           "Volumes    number unknown\nStart      none\n"
           "error      {1}/inst/volumes.txt: its first line is no number of volumes, which aborts "
           "the launcher; let its first line be the number of volumes, and nothing else\n"
           "1 problem: the launcher will end with status 134\n"},
      {.name = "ByteOrderMarkInTheVolumesFile",
       .make =
           [](CheckWorld& world) {
             world.TwoVolumes().Volume("1").Announces(
                 "\xEF\xBB\xBF"
                 "2");
           },
       .says =
           "Media      {1}\nSystem     linux\n"
           "Installer  {1}/inst/linux/code/bin/installer, in the media\n"
           "Volumes    number unknown\nStart      none\n"
           "warning    {1}/inst/volumes.txt: it begins with a byte order mark, so that its number "
           "is none; save it without a byte order mark\n"
           "error      {1}/inst/volumes.txt: its first line is no number of volumes, which aborts "
           "the launcher; let its first line be the number of volumes, and nothing else\n"
           "2 problems: the launcher will end with status 134\n"},
  };
}

std::vector<Finding> AboutTheInstaller() {
  const std::string no_volumes =
      "Volumes    2, layout sibling, tag SET-A\n"
      "           1  found       {1}\n           2  found       {2}\n";
  const std::string installer = "{1}/inst/linux/code/bin/installer";
  const auto with_installer = [](const std::string& contents) {
    return [contents](CheckWorld& world) {
      world.TwoVolumes().Volume("1").File("inst/linux/code/bin/installer", contents);
    };
  };
  return {
      {.name = "NoInstaller",
       .make = TwoVolumes,
       .arguments = {"--installer", "other"},
       .says =
           "Media      {1}\nSystem     linux\nInstaller  not found\n" + no_volumes +
           "Start      none\n"
           "error      {1}/inst/linux/code/bin/other: there is no installer here, nor in an "
           "external installer media; put the installer there, or name its directory (--os) and "
           "file (--installer)\n"
           "1 problem: the launcher will end with status 1\n"},
      {.name = "NoInstallerForWantOfASystem",
       .make = [](CheckWorld& world) { fs::remove(world.TwoVolumes().Path("1/StartTUI.sh")); },
       .arguments = {"--os", ""},
       .says =
           "Media      {1}\nSystem     none named\nInstaller  not found\n" + no_volumes +
           "Start      none\n"
           "error      {1}/StartTUI.sh: the start script is missing or names no system; copy it "
           "again, or use --os and --installer\n"
           "1 problem: the launcher will end with status 1\n"},
      {.name = "BlankInTheInstallerMedia",
       .make =
           [](CheckWorld& world) {
             fs::remove(world.TwoVolumes().Path("1/inst/linux/code/bin/installer"));
             world.Volume("an ext").Installer();
           },
       .env = {{"KVL_ZOLVEN_Installer", "{an ext}"}},
       .says =
           "Media      {1}\nSystem     linux\nInstaller  not usable\n" + no_volumes +
           "Start      none\n"
           "error      {an ext}: the path of the external installer media has a blank in it; copy "
           "that media into a directory without blanks\n"
           "1 problem: the launcher will end with status 12\n"},
      {.name = "InstallerWithoutExecutePermission",
       .make =
           [](CheckWorld& world) {
             SetMode(world.TwoVolumes().Path("1/inst/linux/code/bin/installer"), 0644);
           },
       .says =
           CannotStart("error      " + installer +
                       ": the installer has no execute permission; give it that (chmod a+x)\n")},
      {.name = "InstallerThatIsEmpty",
       .make = with_installer(""),
       .says = kTwoVolumes + ("error      " + installer) +
               ": the installer is empty; copy it again\n"
               "1 problem: the installer cannot be started, status 0\n"},
      {.name = "InstallerWithCarriageReturns",
       .make = with_installer("#!/bin/sh\r\nexit\r\n"),
       .says = CannotStart("error      " + installer +
                           ": its first line has a carriage return; save it with line feeds "
                           "alone\n")},
      {.name = "InstallerWithACarriageReturnThatItsInterpreterGets",
       .make = with_installer("#!/bin/sh -e\r\nexit\r\n"),
       .says = InPlace("error      " + installer +
                       ": its first line has a carriage return; save it with line feeds alone\n")},
      {.name = "InstallerWithoutItsInterpreter",
       .make = with_installer("#! /nowhere/sh -e\n"),
       .says = CannotStart("error      " + installer +
                           ": its first line names a program that is missing or cannot be "
                           "executed: /nowhere/sh; correct the line, or install that program\n")},
      {.name = "InstallerWhoseInterpreterIsADirectory",
       .make = with_installer("#!/"),
       .says = CannotStart("error      " + installer +
                           ": its first line names a program that is missing or cannot be "
                           "executed: /; correct the line, or install that program\n")},
      {.name = "InstallerThatIsADirectory",
       .make =
           [](CheckWorld& world) {
             fs::remove(world.TwoVolumes().Path("1/inst/linux/code/bin/installer"));
             world.Volume("1").Dir("inst/linux/code/bin/installer");
           },
       .says = CannotStart("error      " + installer +
                           ": it is a directory; put the installer there as a file\n")},
      {.name = "BadLauncherArguments",
       .make = TwoVolumes,
       .arguments = {"--", "-SoftMgt"},
       .says =
           "Media      {1}\n"
           "error      -SoftMgt must be used with another flag (either -List, -Check, -Commit or "
           "-Rollback); correct the launcher's arguments\n"
           "1 problem: the launcher will end with status 1\n"},
      {.name = "BadLauncherArgumentsOfTheOtherKind",
       .make = TwoVolumes,
       .arguments = {"--", "-List"},
       .says = "Media      {1}\n"
               "error      -List must be used with the -SoftMgt flag; correct the launcher's "
               "arguments\n"
               "1 problem: the launcher will end with status 1\n"},
      {.name = "ArgumentThatIsSplit",
       .make = TwoVolumes,
       .arguments = {"--", "a\"b"},
       .says =
           InPlace("warning    the installer does not get its path and arguments as they are: a "
                   "double quote, a doubled or last backslash or an empty argument is among them; "
                   "do without them in the paths and arguments\n")},
  };
}

/// A start script that starts the launcher of its media.
void StartsLauncher(CheckWorld& world) {
  world.TwoVolumes().Volume("1").File(
      "StartTUI.sh",
      "#!/bin/sh\nKVL_OS=linux\nexec \"$CurrentMediaDir/inst/$KVL_OS/code/bin/kvl-launcher\"\n");
}

/// The head of a binary of a machine that nobody has any more, in the byte order of this one.
std::string BinaryOfAnotherMachine() {
  std::string head = ReadFile(BuiltProgram("kvl-launcher")).substr(0, 64);
  head[18] = head[19] = '\x7F';
  return head;
}

std::vector<Finding> AboutTheStart() {
  const std::string script = "error      {1}/StartTUI.sh: ";
  const std::string launcher = "error      {1}/inst/linux/code/bin/kvl-launcher: ";
  const auto with_launcher = [](const std::string& contents, unsigned mode) {
    return [contents, mode](CheckWorld& world) {
      StartsLauncher(world);
      world.Volume("1").File("inst/linux/code/bin/kvl-launcher", contents);
      SetMode(world.Path("1/inst/linux/code/bin/kvl-launcher"), mode);
    };
  };
  return {
      {.name = "NoStartScript",
       .make = [](CheckWorld& world) { fs::remove(world.TwoVolumes().Path("1/StartTUI.sh")); },
       .says = InPlace(script + "there is no start script here; copy it again\n")},
      {.name = "StartScriptWithoutExecutePermission",
       .make = [](CheckWorld& world) { SetMode(world.TwoVolumes().Path("1/StartTUI.sh"), 0644); },
       .says = InPlace(script +
                       "the start script has no execute permission; give it that (chmod a+x)\n")},
      {.name = "StartScriptWithWindowsWithoutExecutePermission",
       .make = [](CheckWorld& world) { SetMode(world.TwoVolumes().Path("1/StartGUI.sh"), 0644); },
       .says = InPlace(
           "error      {1}/StartGUI.sh: the start script has no execute permission; give it that "
           "(chmod a+x)\n")},
      {.name = "StartScriptThatOthersOnlyMayExecute",
       .make = [](CheckWorld& world) { SetMode(world.TwoVolumes().Path("1/StartTUI.sh"), 0645); },
       .says = InPlace(script +
                       "the start script has no execute permission; give it that (chmod a+x)\n"),
       .before = GiveUpPermissions},
      {.name = "StartScriptWithCarriageReturns",
       .make =
           [](CheckWorld& world) {
             world.TwoVolumes().Volume("1").File("StartTUI.sh", "#!/bin/sh\r\nexit\r\n");
           },
       .says = InPlace(script +
                       "its first line has a carriage return; save it with line feeds alone\n")},
      {.name = "StartScriptThatIsAPipe",
       .make =
           [](CheckWorld& world) {
             fs::remove(world.TwoVolumes().Path("1/StartTUI.sh"));
             world.Directory().Pipe("1/StartTUI.sh");
           },
       .says = InPlace(script + "a pipe, which cannot be copied; remove it from the media\n")},
      {.name = "StartScriptThatLeadsNowhere",
       .make =
           [](CheckWorld& world) {
             fs::remove(world.TwoVolumes().Path("1/StartTUI.sh"));
             world.Volume("1").Link("StartTUI.sh", "nowhere");
           },
       .says =
           InPlace(script + "a link that leads nowhere; put there what it leads to, or remove the "
                            "link\n")},
      {.name = "StartScriptMissingForStaging",
       .make = [](CheckWorld& world) { fs::remove(world.VolumeMissing().Path("1/StartTUI.sh")); },
       .says = StagingFails("8 files", script +
                                           "it is needed to stage the installer, and is not there; "
                                           "put it there\n")},
      {.name = "NoLauncher",
       .make = StartsLauncher,
       .says =
           InPlace(launcher + "there is no launcher here, and the start script starts it; put the "
                              "launcher there\n")},
      {.name = "LauncherWithoutExecutePermission",
       .make = with_launcher("#!/bin/sh\n", 0644),
       .says = InPlace(launcher +
                       "the launcher has no execute permission; give it that (chmod a+x)\n")},
      {.name = "LauncherThatIsEmpty",
       .make = with_launcher("", 0755),
       .says = InPlace(launcher +
                       "this machine cannot run the launcher; put the launcher for this machine "
                       "there\n")},
      {.name = "LauncherForAnotherMachine",
       .make = with_launcher(BinaryOfAnotherMachine(), 0755),
       .says = InPlace(launcher +
                       "this machine cannot run the launcher; put the launcher for this machine "
                       "there\n")},
      {.name = "LauncherThatIsAScriptWithoutItsInterpreter",
       .make = with_launcher("#! /nowhere/sh -e\n", 0755),
       .says = InPlace(launcher +
                       "its first line names a program that is missing or cannot be executed: "
                       "/nowhere/sh; correct the line, or install that program\n")},
  };
}

std::vector<Finding> AboutFiles() {
  return {
      {.name = "DanglingLink",
       .make = [](CheckWorld& world) { world.TwoVolumes().Volume("2").Link("link", "nowhere"); },
       .says =
           InPlace("warning    {2}/link: a link that leads nowhere; put there what it leads to, or "
                   "remove the link\n")},
      {.name = "LinkToADirectoryAbove",
       .make = [](CheckWorld& world) { world.TwoVolumes().Volume("1").Link("inst/up", ".."); },
       .says =
           InPlace("warning    {1}/inst/up: a link that leads round in a circle; remove the link, "
                   "or let it lead to something else\n")},
      {.name = "LinksToEachOther",
       .make =
           [](CheckWorld& world) {
             world.TwoVolumes().Volume("1").Link("a/b", "../c").Link("c/d", "../a");
           },
       .says =
           InPlace("warning    {1}/c/d: a link that leads round in a circle; remove the link, or "
                   "let it lead to something else\n")},
      {.name = "LinksToEachOtherOfWhichTheOtherWasMadeFirst",
       .make =
           [](CheckWorld& world) {
             world.TwoVolumes().Volume("1").Link("c/d", "../a").Link("a/b", "../c");
           },
       .says =
           InPlace("warning    {1}/c/d: a link that leads round in a circle; remove the link, or "
                   "let it lead to something else\n")},
      {.name = "LinkToItself",
       .make = [](CheckWorld& world) { world.TwoVolumes().Volume("1").Link("self", "self"); },
       .says = InPlace(
           "warning    {1}/self: links that lead round in a circle, or too many of them one "
           "behind the other; remove the link, or let it lead to something else\n")},
      {.name = "Pipe",
       .make = [](CheckWorld& world) { world.TwoVolumes().Directory().Pipe("2/pipe"); },
       .says = InPlace("warning    {2}/pipe: a pipe, which cannot be copied; remove it from the "
                       "media\n")},
      {.name = "LinkToADevice",
       .make = [](CheckWorld& world) { world.TwoVolumes().Volume("2").Link("zero", "/dev/zero"); },
       .says = InPlace("warning    {2}/zero: a device, which cannot be copied; remove it from the "
                       "media\n")},
      {.name = "Socket",
       .make = [](CheckWorld& world) { MakeSocket(world.TwoVolumes().Path("2")); },
       .says = InPlace("warning    {2}/s: a socket, which cannot be copied; remove it from the "
                       "media\n")},
      {.name = "FileThatOthersCannotRead",
       .make = [](CheckWorld& world) { SetMode(world.TwoVolumes().Path("1/media.db"), 0640); },
       .says = InPlace("warning    {1}/media.db: an ordinary user cannot read it; give it read "
                       "permission for all (chmod a+r)\n")},
      {.name = "DirectoryThatOthersCannotRead",
       .make = [](CheckWorld& world) { SetMode(world.TwoVolumes().Path("1/inst/common"), 0754); },
       .says =
           InPlace("warning    {1}/inst/common: an ordinary user cannot read it; give it read and "
                   "execute permission for all (chmod a+rx)\n")},
      {.name = "NameTooLongForADisc",
       .make =
           [](CheckWorld& world) {
             world.TwoVolumes()
                 .Volume("2")
                 .File(std::string(254, 'n'), "")
                 .File(std::string(253, 'm'), "");
           },
       .says =
           InPlace("warning    {2}/" + std::string(254, 'n') +
                   ": a name that is cut off on a disc (ISO 9660 with Rock Ridge); shorten it to "
                   "253 bytes or less\n")},
      {.name = "BytesThatAreNoText",
       .make = [](CheckWorld& world) { world.TwoVolumes().Volume("2").Link("a\xFF\n\\", "x"); },
       .says =
           InPlace("warning    {2}/a\\xFF\\x0A\\\\: a link that leads nowhere; put there what it "
                   "leads to, or remove the link\n")},
      {.name = "ManyOfOneKind",
       .make =
           [](CheckWorld& world) {
             world.TwoVolumes();
             for (int i = 100; i < 112; ++i) world.Volume("2").Link(std::to_string(i), "nowhere");
           },
       .says =
           [] {
             std::string text = kTwoVolumes;
             for (int i = 100; i < 110; ++i) {
               text += "warning    {2}/" + std::to_string(i) +
                       ": a link that leads nowhere; put there what it leads to, or remove the "
                       "link\n";
             }
             return text +
                    "           and 2 more of dangling-link\n"
                    "12 problems: the installer will be started in place\n";
           }()},
  };
}

std::vector<Finding> AboutStaging() {
  return {
      {.name = "DescriptionFileMissing",
       .make = [](CheckWorld& world) { fs::remove(world.VolumeMissing().Path("1/media.db")); },
       .says =
           StagingFails("8 files",
                        "error      {1}/media.db: it is needed to stage the installer, and is not "
                        "there; put it there\n")},
      {.name = "PipeToBeStaged",
       .make = [](CheckWorld& world) { world.VolumeMissing().Directory().Pipe("1/inst/pipe"); },
       .says =
           StagingFails("9 files",
                        "error      {1}/inst/pipe: a pipe, which cannot be copied; remove it from "
                        "the media\n")},
      {.name = "DanglingLinkToBeStaged",
       .make = [](CheckWorld& world) { world.VolumeMissing().Volume("1").Link("inst/x", "y"); },
       .says =
           StagingFails("9 files",
                        "error      {1}/inst/x: a link that leads nowhere; put there what it leads "
                        "to, or remove the link\n")},
      {.name = "CircleToBeStaged",
       .make = [](CheckWorld& world) { world.VolumeMissing().Volume("1").Link("inst/x", "."); },
       .says =
           StagingFails("9 files",
                        "error      {1}/inst/x: a link that leads round in a circle; remove the "
                        "link, or let it lead to something else\n")},
      {.name = "UnreadableFileToBeStaged",
       .make = [](CheckWorld& world) { SetMode(world.VolumeMissing().Path("1/media.db"), 0044); },
       .says = StagingFails("9 files",
                            "error      {1}/media.db: you cannot read it; give it read permission "
                            "(chmod a+r)\n"),
       .before = GiveUpPermissions},
      {.name = "FileToBeStagedThatNobodyCanRead",
       .make = [](CheckWorld& world) { SetMode(world.VolumeMissing().Path("1/media.db"), 0); },
       .says = StagingFails("9 files",
                            "error      {1}/media.db: you cannot read it; give it read permission "
                            "(chmod a+r)\n"),
       .before = GiveUpPermissions},
      {.name = "TemporaryDirectoryInsideOfWhatIsCopied",
       .make = [](CheckWorld& world) { world.VolumeMissing().Volume("1").Dir("inst/tmp"); },
       .env = {{"TMPDIR", "{1/inst/tmp}"}},
       .says =
           [] {
             std::string text = StagingFails(
                 "5 files",
                 "error      {1}/inst: the temporary directory lies inside of what is copied; let "
                 "TMPDIR name a directory outside the media\n");
             return text.replace(text.find("{tmp}"), 5, "{1}/inst/tmp");
           }()},
      {.name = "TemporaryDirectoryThatIsNone",
       .make = [](CheckWorld& world) { world.VolumeMissing().Volume(".").File("file", ""); },
       .env = {{"TMPDIR", "{file}"}},
       .says =
           [] {
             std::string text =
                 StagingFails("9 files",
                              "error      {file}: the temporary directory is none; let "
                              "TMPDIR name a directory that you can write into\n");
             return text.replace(text.find("{tmp}"), 5, "{file}");
           }()},
      {.name = "TemporaryDirectoryThatIsMissing",
       .make =
           [](CheckWorld& world) {
             world.VolumeMissing().Volume("closed");
             SetMode(world.Path("closed"), 0555);
           },
       .env = {{"TMPDIR", "{closed/no/where}"}},
       .says =
           [] {
             std::string text = StagingFails(
                 "9 files",
                 "error      {closed/no/where}: the temporary directory is missing and cannot be "
                 "made; let TMPDIR name a directory that you can write into\n");
             return text.replace(text.find("{tmp}"), 5, "{closed/no/where}");
           }(),
       .before = GiveUpPermissions},
      {.name = "TemporaryDirectoryThatIsClosed",
       .make =
           [](CheckWorld& world) {
             world.VolumeMissing().Volume("closed");
             SetMode(world.Path("closed"), 0555);
           },
       .env = {{"TMPDIR", "{closed}"}},
       .says =
           [] {
             std::string text = StagingFails(
                 "9 files",
                 "error      {closed}: you cannot write into the temporary directory; let TMPDIR "
                 "name a directory that you can write into\n");
             return text.replace(text.find("{tmp}"), 5, "{closed}");
           }(),
       .before = GiveUpPermissions},
  };
}

TEST(CheckFindsMore, AnAmVolumeOfAnotherSet) {
  CheckWorld world;
  world.FirstVolume("1/m/1").Announces("3").Marker(1, "SET-A");
  world.Volume("1").Marker(1, "AM-A");
  world.Volume("2").Marker(2, "AM-B");
  world.Volume("3").Marker(3, "AM-A");
  world.Volume("3/m/3").Marker(3, "SET-A");
  const Outcome seen = world.Companion(
      {"check", "{1/m/1}", "--os", "linux", "--installer", "installer"}, {{"TMPDIR", "{tmp}"}});
  EXPECT_EQ(
      WithoutBytes(seen.out),
      world.Text("Media      {1/m/1}\n"
                 "System     linux\n"
                 "Installer  {1/m/1}/inst/linux/code/bin/installer, in the media\n"
                 "Volumes    3, layout am, tag SET-A\n"
                 "           1  found       {1/m/1}\n"
                 "           2  other-tag   {2/m/2}\n"
                 "           3  found       {3/m/3}\n"
                 "Start      staged in {tmp}/<identifier>: 9 files, <n> bytes, free <n>\n"
                 "warning    {2}/2.txt: AM volume 2 has the tag AM-B instead of AM-A; put the "
                 "volume of the same media there\n"
                 "1 problem: the installer will be staged and started\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

TEST(CheckFindsMore, ADirectoryThatIsNoFirstVolume) {
  CheckWorld world;
  world.TwoVolumes();
  for (const Environment& env : {Environment(), Environment{{"KVL_OS", "linux"}}}) {
    for (const std::string directory : {"", "2"}) {
      const Outcome seen = world.Companion({"check", "{" + directory + "}"}, env);
      EXPECT_EQ(seen.out, world.Text("Media      {" + directory +
                                     "}\n"
                                     "System     " +
                                     (env.empty() ? "none named" : "linux") +
                                     "\n"
                                     "Installer  not found\n"
                                     "Volumes    1\n"
                                     "Start      none\n"
                                     "error      {" +
                                     directory +
                                     "}: this is no volume 1: there is no directory inst in it; "
                                     "give the directory that holds inst and StartTUI.sh\n"
                                     "1 problem: the launcher will end with status 1\n"));
      EXPECT_EQ(seen.err, "");
      EXPECT_EQ(seen.status, 1);
    }
  }
}

TEST(CheckFindsMore, AnInstallerOfTheMediaThatIsPassedOverInFavourOfNone) {
  CheckWorld world;
  world.TwoVolumes().Volume("empty");
  struct Row {
    std::vector<std::string> arguments;
    Environment env;
    std::vector<std::string> findings;
  };
  const auto without_installer = [](const std::string& media) {
    return "error      " + media +
           ": there is no installer in this installer media, and KVL_UseExternalInstaller passes "
           "over that of the media; name another installer media, or do without that variable\n";
  };
  const std::vector<std::string> option = {"-installerPath", "/nowhere"};
  const Environment variable = {{"KVL_ZOLVEN_Installer", "{empty}"}};
  const std::vector<Row> rows = {
      {option, {}, {without_installer("/nowhere")}},
      {{}, variable, {without_installer("{empty}")}},
      {option, variable, {without_installer("/nowhere"), without_installer("{empty}")}},
      {{},
       {},
       {"error      {1}/inst/linux/code/bin/installer: KVL_UseExternalInstaller passes over it, "
        "and "
        "no installer media is named; name one (-installerPath), or do without that variable\n"}},
  };
  for (const Row& row : rows) {
    std::vector<std::string> arguments = {"--", "-env", "KVL_UseExternalInstaller"};
    arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
    const Outcome seen = world.Check(arguments, row.env);
    std::string findings;
    for (const std::string& finding : row.findings) findings += finding;
    const std::string count = row.findings.size() == 1 ? "1 problem" : "2 problems";
    EXPECT_EQ(seen.out, world.Text("Media      {1}\n"
                                   "System     linux\n"
                                   "Installer  not found\n"
                                   "Volumes    2, layout sibling, tag SET-A\n"
                                   "           1  found       {1}\n"
                                   "           2  found       {2}\n"
                                   "Start      none\n" +
                                   findings + count + ": the launcher will end with status 1\n"));
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 1);
  }
}

/// To be called in the child: nothing of the directory can be executed there.
void ForbidToExecute(const std::string& directory) {
  const unsigned long again = MS_REMOUNT | MS_BIND | MS_NOEXEC;
  const bool is_possible =
      ::unshare(CLONE_NEWNS) == 0 &&
      ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
      ::mount(directory.c_str(), directory.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
      ::mount("none", directory.c_str(), nullptr, again, nullptr) == 0;
  if (!is_possible) ::_exit(kImpossibleHere);
}

TEST(CheckFindsMore, AMountThatForbidsToExecute) {
  CheckWorld world;
  StartsLauncher(world);
  world.Volume("1").Link("inst/linux/code/bin/kvl-launcher", "installer");
  const std::string media = world.Path("1");
  const Outcome seen = world.Check({}, {}, [&] { ForbidToExecute(media); });
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(seen.out, world.Text(CannotStart(
                          "error      {1}/inst/linux/code/bin/installer: the installer would "
                          "be started from a file system that is mounted noexec; mount it "
                          "without noexec, or copy the media to another file system\n")));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

TEST(CheckFindsMore, AMountThatForbidsToExecuteTheLauncherOfAStagedInstaller) {
  CheckWorld world;
  StartsLauncher(world);
  world.Volume("1").Link("inst/linux/code/bin/kvl-launcher", "installer");
  fs::remove(world.Path("2/2.txt"));
  const std::string media = world.Path("1");
  const Outcome seen = world.Check({}, {}, [&] { ForbidToExecute(media); });
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
  std::string said = kVolumeMissing;
  said.replace(said.find("9 files"), 7, "10 files");
  EXPECT_EQ(
      WithoutBytes(seen.out),
      world.Text(said + "error      {1}/inst/linux/code/bin/kvl-launcher: the launcher would be "
                        "started from a file system that is mounted noexec; mount it without "
                        "noexec, or copy the media to another file system\n"
                        "2 problems: the installer will be staged and started\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

constexpr char kTooLittleSpace[] =
    "error      {tmp}/<identifier>/: staging needs <n> bytes, and <n> are free; make room there, "
    "or "
    "let TMPDIR name another directory\n";

TEST(CheckFindsMore, TooLittleSpaceForStaging) {
  CheckWorld world;
  world.VolumeMissing().Volume("1").File("inst/huge", "");
  std::error_code error;
  fs::resize_file(world.Path("1/inst/huge"), 1ULL << 43U, error);  // a hole
  if (error) GTEST_SKIP() << "no file of 8 TiB can be made here";
  const Outcome seen = world.Check();
  EXPECT_EQ(WithoutBytes(seen.out), world.Text(StagingFails("10 files", kTooLittleSpace)));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

TEST(CheckFindsMore, AReadOnlyFileThatAnExternalMediaOverwrites) {
  CheckWorld world;
  world.VolumeMissing();
  world.Volume("ext").Installer();
  SetMode(world.Path("1/inst/common/reffiles/list"), 0444);
  const Outcome seen =
      world.Check({"--", "-installerPath", "{ext}"}, {{"KVL_UseExternalInstaller", "1"}});
  const bool is_superuser = ::geteuid() == 0;
  EXPECT_EQ(
      WithoutBytes(seen.out),
      world.Text("Media      {1}\n"
                 "System     linux\n"
                 "Installer  {ext}/inst/linux/code/bin/installer, from -installerPath\n"
                 "Volumes    2, layout unknown, tag SET-A\n"
                 "           1  found       {1}\n"
                 "           2  missing     {2}\n"
                 "Start      staged in {tmp}/<identifier>: 12 files, <n> bytes, free <n>\n"
                 "warning    {2}/2.txt: volume 2 is missing: it has no marker; copy the whole "
                 "volume there\n" +
                 Padded(is_superuser ? "warning" : "error") +
                 "{1}/inst/common/reffiles/list: a read-only file that the external installer "
                 "media has to overwrite; give it write permission for its owner (chmod u+w)\n"
                 "2 problems: " +
                 (is_superuser ? "the installer will be staged and started\n"
                               : "the launcher will end with status 1\n")));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

TEST(CheckFindsMore, ADirectoryThatCannotBeListed) {
  CheckWorld world;
  world.TwoVolumes();
  SetMode(world.Path("1/inst/common"), 0311);
  const Outcome seen = world.Check({}, {}, GiveUpPermissions);
  SetMode(world.Path("1/inst/common"), 0755);
  if (seen.status == kImpossibleHere)
    GTEST_SKIP() << "the superuser cannot give up permissions here";
  EXPECT_EQ(
      seen.out,
      world.Text(std::string(kTwoVolumes) +
                 "warning    {1}/inst/common: an ordinary user cannot read it; give it read and "
                 "execute permission for all (chmod a+rx)\n"
                 "warning    {1}/inst/common: a directory that you may not list, so that it "
                 "counts as empty; give it read and execute permission (chmod a+rx)\n"
                 "2 problems: the installer will be started in place\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

TEST(CheckFindsMore, AColonInThePathOfAMedia) {
  CheckWorld world;
  world.FirstVolume("a:b").Announces("1");
  const Outcome seen =
      world.Companion({"check", "a:b", "--os", "linux", "--installer", "installer"});
  EXPECT_EQ(seen.out,
            world.Text("Media      {a:b}\n"
                       "System     linux\n"
                       "Installer  {a:b}/inst/linux/code/bin/installer, in the media\n"
                       "Volumes    1\n"
                       "Start      in place\n"
                       "warning    {a:b}: a colon in it takes the path lists of the installer "
                       "apart; use a directory without a colon in its path\n"
                       "1 problem: the installer will be started in place\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

TEST(CheckFindsMore, AFileAndADirectoryOfOneNameInBothMedia) {
  CheckWorld world;
  world.VolumeMissing().Volume("1").File("inst/common/x", "").Dir("inst/common/y");
  world.Volume("ext").Installer().File("inst/common/x/z", "").File("inst/common/y", "");
  const Outcome seen =
      world.Check({"--", "-installerPath", "{ext}"}, {{"KVL_UseExternalInstaller", "1"}});
  EXPECT_EQ(
      WithoutBytes(seen.out),
      world.Text(
          "Media      {1}\n"
          "System     linux\n"
          "Installer  {ext}/inst/linux/code/bin/installer, from -installerPath\n"
          "Volumes    2, layout unknown, tag SET-A\n"
          "           1  found       {1}\n"
          "           2  missing     {2}\n"
          "Start      staged in {tmp}/<identifier>: 15 files, <n> bytes, free <n>\n"
          "warning    {2}/2.txt: volume 2 is missing: it has no marker; copy the whole volume "
          "there\n"
          "error      {ext}/inst/common/x: a directory, and in the media a file has its name; "
          "rename one of the two\n"
          "error      {ext}/inst/common/y: a file, and in the media a directory has its name; "
          "rename one of the two\n"
          "3 problems: the launcher will end with status 1\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

TEST(CheckFindsMore, VolumesBeyondThoseThatAreListed) {
  CheckWorld world;
  world.VolumeMissing().Volume("1").Announces("2147483647");
  world.Volume("2000000").Marker(2000000, "SET-B");
  const Outcome seen = world.Check();
  std::string rows, findings;
  for (int i = 2; i <= 1000; ++i) {
    const std::string number = std::to_string(i), directory = "{" + number + "}";
    rows += "           " + std::string(7 - number.size(), ' ') + number + "  missing     " +
            directory + "\n";
    if (i > 11) continue;
    findings += "warning    " + directory + "/" + number + ".txt: volume " + number +
                " is missing: it has no marker; copy the whole volume there\n";
  }
  EXPECT_EQ(
      WithoutBytes(seen.out),
      world.Text("Media      {1}\n"
                 "System     linux\n"
                 "Installer  {1}/inst/linux/code/bin/installer, in the media\n"
                 "Volumes    2147483647, layout sibling, tag SET-A\n"
                 "                 1  found       {1}\n" +
                 rows +
                 "           2000000  other-tag   {2000000}, tag SET-B\n"
                 "Start      staged in {tmp}/<identifier>: 9 files, <n> bytes, free <n>\n" +
                 findings +
                 "warning    {2000000}/2000000.txt: volume 2000000 has the tag SET-B instead "
                 "of SET-A; put the volume of the same media there\n"
                 "warning    {1}/inst/volumes.txt: 2147482646 volumes above 1000 are missing; "
                 "copy them, or correct the number in volumes.txt\n"
                 "           and 989 more of volume-missing\n"
                 "1001 problems: the installer will be staged and started\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

void ExpectFine(const CheckWorld& world) {
  const Outcome seen = world.Check();
  EXPECT_EQ(seen.out, world.Text(std::string(kTwoVolumes) +
                                 "Fine: the installer will be started in place\n"));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 0);
}

TEST(CheckFindsMore, NothingInAMediaThatIsAsItShouldBe) {
  CheckWorld world;
  world.TwoVolumes();
  ExpectFine(world);
}

TEST(CheckFindsMore, NothingInAnInstallerThatIsAScript) {
  for (const char* script : {"#!/bin/sh", "#! \t/bin/sh -e\nexit\n", "#!\n", "exit 0\n"}) {
    CheckWorld world;
    world.TwoVolumes().Volume("1").File("inst/linux/code/bin/installer", script);
    ExpectFine(world);
  }
}

TEST(CheckFindsMore, NothingInALauncherThatIsABinaryOfThisMachineOrAScript) {
  CheckWorld world;
  StartsLauncher(world);
  const std::string launcher = "inst/linux/code/bin/kvl-launcher";
  world.Volume("1").Link(launcher, BuiltProgram("kvl-launcher"));
  ExpectFine(world);
  fs::remove(world.Path("1/" + launcher));
  world.Volume("1").File(launcher, "#!/bin/sh\n");
  SetMode(world.Path("1/" + launcher), 0755);
  ExpectFine(world);
}

TEST(CheckEnds, InATreeOfLinksThatACopyWouldTakeYearsFor) {
  CheckWorld world;
  world.VolumeMissing();
  for (int i = 0; i < 38; ++i) {
    const std::string directory = "inst/" + std::to_string(i);
    const std::string next = "../" + std::to_string(i + 1);
    world.Volume("1").Link(directory + "/a", next).Link(directory + "/b", next);
  }
  world.Volume("1").File("inst/38/file", "x");
  const Outcome seen = world.Check();
  EXPECT_EQ(WithoutBytes(seen.out),
            world.Text(StagingFails("549755813896 files", kTooLittleSpace)));
  EXPECT_EQ(seen.err, "");
  EXPECT_EQ(seen.status, 1);
}

TEST(CheckEnds, WithPipesInPlaceOfEveryFileThatItReads) {
  CheckWorld world;
  world.TwoVolumes();
  for (const char* name : {"1/inst/volumes.txt", "1/1.txt", "1/StartTUI.sh", "2/2.txt", "7.txt"}) {
    fs::remove(world.Path(name));
    world.Directory().Pipe(name);
  }
  const std::string remove = ": a pipe, which cannot be copied; remove it from the media\n";
  const std::string regular = "; make it a regular file with read permission (chmod a+r)\n";
  const auto expect = [&](const Outcome& seen, const std::string& out) {
    EXPECT_EQ(WithoutBytes(seen.out), world.Text(out));
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 1);
  };
  expect(world.Companion({"check", "1"}, {{"TMPDIR", "{tmp}"}}),
         "Media      {1}\n"
         "System     none named\n"
         "Installer  not found\n"
         "Volumes    number unknown\n"
         "Start      none\n"
         "error      {1}/StartTUI.sh: the start script is missing or names no system; copy it "
         "again, or use --os and --installer\n"
         "warning    {1}/inst/volumes.txt: the number of volumes cannot be read" +
             regular + "warning    {1}/1.txt" + remove + "warning    {1}/StartTUI.sh" + remove +
             "warning    {1}/inst/volumes.txt" + remove +
             "5 problems: the launcher will end with status 1\n");

  fs::remove(world.Path("1/inst/volumes.txt"));
  world.Volume("1").Announces("2");
  const std::string head =
      "Media      {1}\n"
      "System     linux\n"
      "Installer  {1}/inst/linux/code/bin/installer, in the media\n";
  const std::string start =
      "Start      staged in {tmp}/<identifier>: 8 files, <n> bytes, free <n>\n";
  expect(world.Check(), head +
                            "Volumes    2, layout unknown\n"
                            "           1  unreadable  {1}\n" +
                            start + "warning    {1}/1.txt: the marker of volume 1 cannot be read" +
                            regular + "error      {1}/StartTUI.sh" + remove +
                            "warning    {1}/1.txt" + remove +
                            "3 problems: the launcher will end with status 1\n");

  fs::remove(world.Path("1/1.txt"));
  world.Volume("1").Marker(1, "SET-A");
  expect(world.Check(),
         head +
             "Volumes    2, layout unknown, tag SET-A\n"
             "           1  found       {1}\n"
             "           2  unreadable  {2}\n" +
             start +
             "warning    {}/7.txt: it looks like the marker of an AM volume, and has no line "
             "MTBDIR=<tag>; copy the marker again, or remove it if it is none\n"
             "warning    {2}/2.txt: the marker of volume 2 cannot be read" +
             regular + "error      {1}/StartTUI.sh" + remove +
             "3 problems: the launcher will end with status 1\n");
}

INSTANTIATE_TEST_SUITE_P(AboutVolumes, CheckFinds, testing::ValuesIn(AboutVolumes()),
                         [](const auto& row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(AboutTheInstaller, CheckFinds, testing::ValuesIn(AboutTheInstaller()),
                         [](const auto& row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(AboutTheStart, CheckFinds, testing::ValuesIn(AboutTheStart()),
                         [](const auto& row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(AboutFiles, CheckFinds, testing::ValuesIn(AboutFiles()),
                         [](const auto& row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(AboutStaging, CheckFinds, testing::ValuesIn(AboutStaging()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace kvl::test
