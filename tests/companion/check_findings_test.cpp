// kvl-media check: each thing that it finds, as a transcript of all that it says.
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

class CheckFinds : public testing::TestWithParam<Transcript> {};

TEST_P(CheckFinds, InTwoVolumes) {
  const Transcript& row = GetParam();
  const CheckWorld world(row.steps + row.given);
  const Lines before = DescribeTreeExactly(world.Path("."));
  const Outcome seen = world.CheckBy(row.call);
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "this cannot be set up here";
  world.ExpectReport(seen, Report(row.usual, row.differing));
  ExpectTheSame(world.CheckBy(row.call, {"--json"}), seen);
  EXPECT_EQ(DescribeTreeExactly(world.Path(".")), before);
}

constexpr char kRows[] = R"(
= lacks a volume
# MissingVolume: remove 2
           2  missing     {2}
warning    {2}/2.txt: volume 2 is missing: it has no marker; copy the whole volume there
# MissingVolumesThatFollowEachOther: remove 2; 1: volumes=8; 4: 4=SET-A; 6: 6=SET-B
Volumes    8, layout sibling, tag SET-A
             1  found       {1}
           2-3  missing     {2} to {3}
             4  found       {4}
             5  missing     {5}
             6  other-tag   {6}, tag SET-B
           7-8  missing     {7} to {8}
warning    {2}/2.txt: volumes 2 to 3 are missing: they have no markers; copy the whole volumes there, or correct the number in volumes.txt
warning    {5}/5.txt: volume 5 is missing: it has no marker; copy the whole volume there
warning    {6}/6.txt: volume 6 has the tag SET-B instead of SET-A; put the volume of the same media there
warning    {7}/7.txt: volumes 7 to 8 are missing: they have no markers; copy the whole volumes there, or correct the number in volumes.txt
4 problems: the installer will be staged and started
# MissingAmVolumesThatFollowEachOther: remove 1; remove 2; first 3/m/1; 3/m/1: volumes=4 1=SET-A; 3: 3=AM-A; 4: 4=AM-A; 4/m/2: 2=SET-A
$ check {3/m/1} --os linux --installer installer
Media      {3/m/1}
System     linux, from --os
Installer  {3/m/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    4, layout am, tag SET-A
             1  found       {3/m/1}
             2  found       {4/m/2}
           3-4  missing     {5/m/3} to {6/m/4}
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes, free <n>
warning    {5}/5.txt: AM volumes 5 to 6 are missing: they have no markers; copy the whole volumes there, or correct the number in volumes.txt
1 problem: the installer will be staged and started
# MissingAmVolumeAndAVolumeMissingInTheNext: remove 1; remove 2; first 1/m/1; 1/m/1: volumes=3 1=SET-A; 1: 1=AM-A; 3: 3=AM-A
$ check {1/m/1} --os linux --installer installer
Media      {1/m/1}
System     linux, from --os
Installer  {1/m/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    3, layout unknown, tag SET-A
             1  found       {1/m/1}
           2-3  missing     {2/m/2} to {3/m/3}
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes, free <n>
warning    {2}/2.txt: AM volume 2 is missing: it has no marker; copy the whole volume there
warning    {3/m/3}/3.txt: volume 3 is missing: it has no marker; copy the whole volume there
2 problems: the installer will be staged and started
# AmVolumesBeyondThoseThatAreListed: remove 1; remove 2; first 3/m/1; 3/m/1: volumes=2147483000 1=SET-A; 3: 3=AM-A; 2000002: 2000002=AM-A
$ check {3/m/1} --os linux --installer installer
Media      {3/m/1}
System     linux, from --os
Installer  {3/m/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2147483000, layout unknown, tag SET-A
                 1  found       {3/m/1}
            2-1000  missing     {4/m/2} to {1002/m/1000}
           2000000  missing     {2000002/m/2000000}
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes, free <n>
warning    {4}/4.txt: AM volumes 4 to 1002 are missing: they have no markers; copy the whole volumes there, or correct the number in volumes.txt
warning    {2000002/m/2000000}/2000000.txt: volume 2000000 is missing: it has no marker; copy the whole volume there
warning    {3/m/1}/inst/volumes.txt: 2147481999 volumes above 1000 are missing; copy them, or correct the number in volumes.txt
3 problems: the installer will be staged and started
# VolumeOfAnotherMedia: 2: 2=SET-B
Volumes    2, layout sibling, tag SET-A
           1  found       {1}
           2  other-tag   {2}, tag SET-B
warning    {2}/2.txt: volume 2 has the tag SET-B instead of SET-A; put the volume of the same media there
# UnreadableMarker: dir 2/2.txt
           2  unreadable  {2}
warning    {2}/2.txt: the marker of volume 2 cannot be read; make it a regular file with read permission (chmod a+r)
# MarkerWithoutTag: file 2/2.txt tag\n
           2  no-tag      {2}
warning    {2}/2.txt: the marker of volume 2 has no line MTBDIR=<tag>; copy the marker again
# MissingMarkerOfTheFirstVolume: remove 1/1.txt
Volumes    2, layout unknown
           1  missing     {1}
warning    {1}/1.txt: volume 1 is missing: it has no marker; copy the whole volume there
# AmMarkerWithoutTag: remove 2; file 7.txt x\n
           2  missing     {2}
warning    {}/7.txt: it looks like the marker of an AM volume, and has no line MTBDIR=<tag>; copy the marker again, or remove it if it is none
warning    {2}/2.txt: volume 2 is missing: it has no marker; copy the whole volume there
2 problems: the installer will be staged and started
# NoAmMarkerOfAVolume0: remove 2; file 0.txt x\n
           2  missing     {2}
warning    {2}/2.txt: volume 2 is missing: it has no marker; copy the whole volume there
# EmptyVolumesFile: file 1/inst/volumes.txt
Volumes    number unknown
warning    {1}/inst/volumes.txt: it has no line with the number of volumes; write the number into it
# FilesOfWhichNoByteCanBeRead: link 1/1.txt /proc/self/mem; link 1/StartTUI.sh /proc/self/mem
Volumes    2, layout unknown
           1  unreadable  {1}
warning    {1}/1.txt: it cannot be read: Input/output error; look at its disc, and copy it again if it is part of the media
error      {1}/StartTUI.sh: the start script has no execute permission; give it that (chmod a+x)
error      {1}/StartTUI.sh: it cannot be read: Input/output error; look at its disc, and copy it again if it is part of the media
3 problems: StartTUI.sh starts nothing; without it, the installer will be staged and started
# TemporaryDirectoryByALinkWithABackslash: dir tmp/a/b; link tmp/a\\b a/b; remove 2
$ TMPDIR={tmp}/a\\b
           2  missing     {2}
Start      staged in {tmp}/a\\b/<identifier>: 9 files, <n> bytes, free <n>
warning    {2}/2.txt: volume 2 is missing: it has no marker; copy the whole volume there
# ScriptThatIsToBeReadOnceItIsStaged: remove 2; file 1/inst/linux/code/bin/installer #!/bin/sh\n
$ without-rights umask-400
           2  missing     {2}
warning    {2}/2.txt: volume 2 is missing: it has no marker; copy the whole volume there
error      {tmp}/<identifier>: the umask 400 takes permissions from what is staged that you need yourself; set one that leaves them to you (umask 022)
2 problems: what comes of a start of the installer cannot be known
= has no installer
# NoInstaller:
$ --installer other
error      {1}/inst/linux/code/bin/other: there is no installer here, nor in an external installer media; put the installer there, or name its directory (--os) and file (--installer)
# NoInstallerForWantOfASystem: remove 1/StartTUI.sh
$ --os ''
System     none named
error      {1}/StartTUI.sh: the start script is missing or names no system; copy it again, or use --os and --installer
# InstallerPassedOverInFavourOfAnOption: dir empty
$ -- -env KVL_UseExternalInstaller -installerPath /nowhere
error      /nowhere: there is no installer in this installer media, and KVL_UseExternalInstaller passes over that of the media; name another installer media, or do without that variable
# InstallerPassedOverInFavourOfAVariable: dir empty
$ KVL_ZOLVEN_Installer={empty} -- -env KVL_UseExternalInstaller
error      {empty}: there is no installer in this installer media, and KVL_UseExternalInstaller passes over that of the media; name another installer media, or do without that variable
# InstallerPassedOverInFavourOfBoth: dir empty
$ KVL_ZOLVEN_Installer={empty} -- -env KVL_UseExternalInstaller -installerPath /nowhere
error      /nowhere: there is no installer in this installer media, and KVL_UseExternalInstaller passes over that of the media; name another installer media, or do without that variable
error      {empty}: there is no installer in this installer media, and KVL_UseExternalInstaller passes over that of the media; name another installer media, or do without that variable
2 problems: the launcher will end with status 1
# InstallerPassedOverInFavourOfNone: dir empty
$ -- -env KVL_UseExternalInstaller
error      {1}/inst/linux/code/bin/installer: KVL_UseExternalInstaller passes over it, and no installer media is named; name one (-installerPath), or do without that variable
# TwoInstallerMediaThatNobodyMayLookInto: remove 1/inst/linux/code/bin/installer; dir a; dir b; mode 644 a; mode 644 b
$ without-rights KVL_ZOLVEN_Installer={b} -- -installerPath {a}
error      {a}/1/inst/linux/code/bin/installer: you cannot read it; give the directories above it permission x
error      {b}/1/inst/linux/code/bin/installer: you cannot read it; give the directories above it permission x
2 problems: the launcher will end with status 1
# SystemOfTheEnvironmentBeforeThatOfTheScript: file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ KVL_OS=other check 1
System     other, from the environment
Installer  not found; name from StartTUI.sh
error      {1}/inst/other/code/bin/installer: there is no installer here, nor in an external installer media; put the installer there, or name its directory (--os) and file (--installer)
# SystemOfTheOptionBeforeThatOfTheEnvironment: file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ KVL_OS=other check 1 --os third
System     third, from --os
Installer  not found; name from StartTUI.sh
error      {1}/inst/third/code/bin/installer: there is no installer here, nor in an external installer media; put the installer there, or name its directory (--os) and file (--installer)
# InstallerMediaWithABlank: remove 1/inst/linux/code/bin/installer; installer an ext
$ KVL_ZOLVEN_Installer={an\x20ext}
Installer  not usable; name from --installer
error      {an ext}: the path of the external installer media has a blank in it; copy that media into a directory without blanks
1 problem: the launcher will end with status 12
= cannot be started
# InstallerWithoutExecutePermission: mode 644 1/inst/linux/code/bin/installer
error      {1}/inst/linux/code/bin/installer: the installer has no execute permission; give it that (chmod a+x)
# InstallerWithCarriageReturns: file 1/inst/linux/code/bin/installer #!/bin/sh\r\nexit\r\n
error      {1}/inst/linux/code/bin/installer: its first line has a carriage return; save it with line feeds alone
# InstallerWithoutItsInterpreter: file 1/inst/linux/code/bin/installer #! /nowhere/sh -e\n
error      {1}/inst/linux/code/bin/installer: its first line names a program that is missing or cannot be executed: /nowhere/sh; correct the line, or install that program
# InstallerWhoseInterpreterIsADirectory: file 1/inst/linux/code/bin/installer #!/
error      {1}/inst/linux/code/bin/installer: its first line names a program that is missing or cannot be executed: /; correct the line, or install that program
# InstallerThatMayBeExecutedAndNotRead: mode 111 1/inst/linux/code/bin/installer
$ without-rights
warning    {1}/inst/linux/code/bin/installer: you may execute it, but not read it, so that it cannot be known whether it starts; give it read permission (chmod a+r)
1 problem: what comes of a start of the installer cannot be known
# InstallerThatIsADirectory: dir 1/inst/linux/code/bin/installer
error      {1}/inst/linux/code/bin/installer: it is a directory; put the installer there as a file
# InstallerOnAMountThatForbidsToExecute: starter; link 1/inst/linux/code/bin/kvl-launcher installer
$ noexec
error      {1}/inst/linux/code/bin/installer: the installer would be started from a file system that is mounted noexec; mount it without noexec, or copy the media to another file system
1 problem: the launcher cannot be started
= is fine
# NothingInAnOlderContainer:
$ older-container
# NothingWhereTheStartScriptGivesTheNames: file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ check 1
System     linux, from StartTUI.sh
Installer  {1}/inst/linux/code/bin/installer, in the media; name from StartTUI.sh
# NothingByAWayBelowAnotherDirectory: file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ check 2/../1/
System     linux, from StartTUI.sh
Installer  {1}/inst/linux/code/bin/installer, in the media; name from StartTUI.sh
# NothingByAWayUpBehindALink: dir other/place; link way {other/place}; file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ check way/../../1
System     linux, from StartTUI.sh
Installer  {1}/inst/linux/code/bin/installer, in the media; name from StartTUI.sh
# NothingWhereTheLastAssignmentCounts: file 1/StartTUI.sh #!/bin/sh\nKVL_OS=other\nKVL_OS=linux\nKVL_Installer_EXE=installer\n
$ check 1
System     linux, from StartTUI.sh
Installer  {1}/inst/linux/code/bin/installer, in the media; name from StartTUI.sh
# NothingInTheFirstOfTheVolumesOfADirectory:
$ check {} --os linux --installer installer
Media      {1}, found in {}
System     linux, from --os
Installer  {1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2, layout sibling, tag SET-A
           1  found       {1}
           2  found       {2}
Start      in place
Fine: the installer will be started in place
# NothingInTheFirstOfTheAmVolumesOfADirectory: remove 1; remove 2; first am/1/media/1; am/1/media/1: volumes=2 1=SET-A; am/1: 1=AM-A; am/2: 2=AM-A; am/2/media/2: 2=SET-A
$ check {am} --os linux --installer installer
Media      {am/1/media/1}, found in {am}
System     linux, from --os
Installer  {am/1/media/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2, layout am, tag SET-A
           1  found       {am/1/media/1}
           2  found       {am/2/media/2}
Start      in place
Fine: the installer will be started in place
# NothingByAWayOfDots: file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ check ./1/.
System     linux, from StartTUI.sh
Installer  {1}/inst/linux/code/bin/installer, in the media; name from StartTUI.sh
# NothingOfTheInstallerThatTheScriptNamesWhereAnotherMediaHasOne: file 1/StartTUI.sh KVL_OS=other\n; installer ext
$ KVL_ZOLVEN_Installer={ext}
# NothingInAScript: file 1/inst/linux/code/bin/installer #!/bin/sh
# NothingInAScriptWithAnArgument: file 1/inst/linux/code/bin/installer #! \x09/bin/sh -e\nexit\n
# NothingInAScriptThatNamesNoInterpreter: file 1/inst/linux/code/bin/installer #!\n
# NothingInAScriptWithoutAFirstLine: file 1/inst/linux/code/bin/installer exit 0\n
# NothingInALauncherThatIsAScript: starter; file 1/inst/linux/code/bin/kvl-launcher #!/bin/sh\n; mode 755 1/inst/linux/code/bin/kvl-launcher
# NothingInAMediaWithoutAVolumesFileAndVolumeTwoOfAnotherSet: remove 1/inst/volumes.txt; 2: 2=SET-B
Volumes    1
# NothingWhereMediaXmlNamesTheSameNumber: 3: 3=SET-A; file 1/media.xml <media tag="SET-A" volumes="2"/>
# NothingInDescriptionsOfAnotherForm: file 1/media.xml <media tag="T"/><set volumes="9"/>; file 1/meta.TOCxml payload/1
# NothingInADescriptionWithoutVolumes: file 1/media.xml <media volumes="-2"/>
# NothingInAMediaThatIsAsItShouldBe:
= started in place
# AmVolumeOfAnotherSet: remove 1; remove 2; first 1/m/1; 1/m/1: volumes=3 1=SET-A; 1: 1=AM-A; 2: 2=AM-B; 3: 3=AM-A; 3/m/3: 3=SET-A
$ check {1/m/1} --os linux --installer installer
Media      {1/m/1}
System     linux, from --os
Installer  {1/m/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    3, layout am, tag SET-A
           1  found       {1/m/1}
           2  other-tag   {2/m/2}
           3  found       {3/m/3}
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes, free <n>
warning    {2}/2.txt: AM volume 2 has the tag AM-B instead of AM-A; put the volume of the same media there
1 problem: the installer will be staged and started
# CarriageReturnInTheVolumesFile: file 1/inst/volumes.txt 2\r\n
warning    {1}/inst/volumes.txt: its first line has a carriage return; save it with line feeds alone
# NoNumberInTheVolumesFile: file 1/inst/volumes.txt two\n
Volumes    number unknown
Start      none
error      {1}/inst/volumes.txt: its first line is no number of volumes, which aborts the launcher; let its first line be the number of volumes, and nothing else
1 problem: the launcher will end with status 134
# ByteOrderMarkInTheVolumesFile: file 1/inst/volumes.txt \xEF\xBB\xBF2\n
Volumes    number unknown
Start      none
warning    {1}/inst/volumes.txt: it begins with a byte order mark, so that its number is none; save it without a byte order mark
error      {1}/inst/volumes.txt: its first line is no number of volumes, which aborts the launcher; let its first line be the number of volumes, and nothing else
2 problems: the launcher will end with status 134
# CarriageReturnInAMarker: file 2/2.txt #\r\nMTBDIR=SET-A\r\n
warning    {2}/2.txt: a line of it has a carriage return; save it with line feeds alone
# CarriageReturnInTheMarkerOfASingleVolume: remove 2; file 1/inst/volumes.txt 1\n; file 1/1.txt MTBDIR=SET-A\r\n
Volumes    1
warning    {1}/1.txt: a line of it has a carriage return; save it with line feeds alone
# CarriageReturnInTheMarkerOfAnAmVolume: remove 1; remove 2; first 1/m/1; 1/m/1: volumes=2 1=SET-A; 1: 1=AM-A; 2: 2=AM-A; 2/m/2: 2=SET-A; file 2/2.txt MTBDIR=AM-A\r\n
$ check {1/m/1} --os linux --installer installer
Media      {1/m/1}
System     linux, from --os
Installer  {1/m/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2, layout am, tag SET-A
           1  found       {1/m/1}
           2  found       {2/m/2}
Start      in place
warning    {2}/2.txt: a line of it has a carriage return; save it with line feeds alone
1 problem: the installer will be started in place
# NoVolumesFileWhereMediaXmlNamesTwo: remove 1/inst/volumes.txt; remove 2; file 1/media.xml <?xml\n<media tag="a volumes=9" volumes="2"/>\n
Volumes    1
warning    {1}/inst/volumes.txt: it is missing, so that the launcher sees one volume, and media.xml says 2; copy it again, or write the number of volumes into it
# NoVolumesFileWhereAVolumeLiesBeside: remove 1/inst/volumes.txt
Volumes    1
warning    {1}/inst/volumes.txt: it is missing, so that the launcher sees one volume, and volume 2 lies in {2}; copy it again, or write the number of volumes into it
# NoVolumesFileWhereAVolumeLiesInTheSameDirectory: remove 1/inst/volumes.txt; remove 2; 1: 2=SET-A
Volumes    1
warning    {1}/inst/volumes.txt: it is missing, so that the launcher sees one volume, and volume 2 lies in {1}; copy it again, or write the number of volumes into it
# VolumesFileThatSaysOneWhereMediaXmlNamesTwo: file 1/inst/volumes.txt 1\n; file 1/media.xml <media volumes="2"/>
Volumes    1
warning    {1}/inst/volumes.txt: it says 1, and media.xml says 2; copy it again, or correct the number
# VolumesFileThatSaysTwoWhereMediaXmlNamesOne: file 1/media.xml <media volumes="1"/>
warning    {1}/inst/volumes.txt: it says 2, and media.xml says 1; copy it again, or correct the number
# VolumesFileThatSaysTwoWhereThreeLieThere: 3: 3=SET-A
warning    {1}/inst/volumes.txt: it says 2, and volume 3 lies in {3}; copy it again, or correct the number
# NoDirectoryForThePayload: file 1/meta.TOCxml <volume number="1" payload="payload/1"/>\n<volume number="2" payload="payload/2"/>\n; file 1/payload/1/x; file 2/payload/2
warning    {2}/payload/2: the directory with the payload of volume 2 is missing; copy the whole volume again
# NoDirectoryForThePayloadOfASingleVolume: remove 2; file 1/inst/volumes.txt 1\n; file 1/meta.TOCxml <volume number="1" payload="payload/1"/>\n
Volumes    1
warning    {1}/payload/1: the directory with the payload of volume 1 is missing; copy the whole volume again
# InstallerThatIsEmpty: file 1/inst/linux/code/bin/installer
error      {1}/inst/linux/code/bin/installer: the installer is empty; copy it again
1 problem: the installer cannot be started, status 0
# InstallerWithACarriageReturnThatItsInterpreterGets: file 1/inst/linux/code/bin/installer #!/bin/sh -e\r\nexit\r\n
error      {1}/inst/linux/code/bin/installer: its first line has a carriage return; save it with line feeds alone
# BadLauncherArguments:
$ -- -SoftMgt
Media      {1}
error      -SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback); correct the launcher's arguments
1 problem: the launcher will end with status 1
# BadLauncherArgumentsOfTheOtherKind:
$ -- -List
Media      {1}
error      -List must be used with the -SoftMgt flag; correct the launcher's arguments
1 problem: the launcher will end with status 1
# ArgumentThatIsSplit:
$ -- plain a"b
warning    a"b: the installer does not get it as it is: it has a double quote, a doubled or last backslash, or is empty; do without that in the path or argument
# ArgumentThatIsEmpty:
$ -- '' plain
warning    '': the installer does not get it as it is: it has a double quote, a doubled or last backslash, or is empty; do without that in the path or argument
# PathThatIsSplit: first q"q; file q"q/inst/volumes.txt 1\n
$ check q"q --os linux --installer installer
Media      {q"q}
System     linux, from --os
Installer  {q"q}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    1
Start      in place
error      {q"q}/inst/linux/code/bin/installer: the installer does not get it as it is: it has a double quote, a doubled or last backslash, or is empty; do without that in the path or argument
1 problem: the installer cannot be started, status 255
= has a start script that starts nothing
# NoStartScript: remove 1/StartTUI.sh
error      {1}/StartTUI.sh: there is no start script here; copy it again
# StartScriptWithoutExecutePermission: mode 644 1/StartTUI.sh
error      {1}/StartTUI.sh: the start script has no execute permission; give it that (chmod a+x)
# NoExecutePermissionInAnOlderContainer: mode 644 1/StartTUI.sh
$ older-container
error      {1}/StartTUI.sh: the start script has no execute permission; give it that (chmod a+x)
# StartScriptWithWindowsWithoutExecutePermission: mode 644 1/StartGUI.sh
error      {1}/StartGUI.sh: the start script has no execute permission; give it that (chmod a+x)
1 problem: StartGUI.sh starts nothing; without it, the installer will be started in place
# BothStartScriptsWithoutExecutePermission: mode 644 1/StartGUI.sh; mode 644 1/StartTUI.sh
error      {1}/StartTUI.sh: the start script has no execute permission; give it that (chmod a+x)
error      {1}/StartGUI.sh: the start script has no execute permission; give it that (chmod a+x)
2 problems: StartTUI.sh and StartGUI.sh start nothing; without them, the installer will be started in place
# StartScriptThatOthersOnlyMayExecute: mode 645 1/StartTUI.sh
$ without-rights
error      {1}/StartTUI.sh: the start script has no execute permission; give it that (chmod a+x)
# StartScriptWithCarriageReturns: file 1/StartTUI.sh #!/bin/sh\r\nexit\r\n
error      {1}/StartTUI.sh: its first line has a carriage return; save it with line feeds alone
# StartScriptThatIsAPipe: pipe 1/StartTUI.sh
error      {1}/StartTUI.sh: a pipe, which cannot be copied; put a file in its place, or remove it if nothing needs it
# StartScriptThatLeadsNowhere: link 1/StartTUI.sh nowhere
error      {1}/StartTUI.sh: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
# StartScriptThatNamesAnotherInstaller: file 1/StartTUI.sh KVL_OS=other\nKVL_Installer_EXE=setup\n
error      {1}/StartTUI.sh: the start script names an installer that is not there: {1}/inst/other/code/bin/setup; put it there, or correct KVL_OS and KVL_Installer_EXE in the script
# StartScriptThatNamesAnotherSystem: file 1/StartTUI.sh KVL_OS=other\n
$ KVL_OS=linux check 1 --installer installer
System     linux, from the environment
error      {1}/StartTUI.sh: the start script names an installer that is not there: {1}/inst/other/code/bin/installer; put it there, or correct KVL_OS and KVL_Installer_EXE in the script
= has a launcher that cannot be started
# NoLauncher: starter
error      {1}/inst/linux/code/bin/kvl-launcher: there is no launcher here, and the start script starts it; put the launcher there
# LauncherWithoutExecutePermission: starter; file 1/inst/linux/code/bin/kvl-launcher #!/bin/sh\n
error      {1}/inst/linux/code/bin/kvl-launcher: the launcher has no execute permission; give it that (chmod a+x)
# LauncherThatIsEmpty: starter; file 1/inst/linux/code/bin/kvl-launcher; mode 755 1/inst/linux/code/bin/kvl-launcher
error      {1}/inst/linux/code/bin/kvl-launcher: this machine cannot run the launcher; put the launcher for this machine there
# LauncherWithoutItsInterpreter: starter; file 1/inst/linux/code/bin/kvl-launcher #! /nowhere/sh -e\n; mode 755 1/inst/linux/code/bin/kvl-launcher
error      {1}/inst/linux/code/bin/kvl-launcher: its first line names a program that is missing or cannot be executed: /nowhere/sh; correct the line, or install that program
# LauncherOfTheSystemThatTheScriptNames: starter; move 1/inst/linux 1/inst/other
$ -- -env KVL_OS=other
System     other, from -env
Installer  {1}/inst/other/code/bin/installer, in the media; name from --installer
error      {1}/StartTUI.sh: the start script names an installer that is not there: {1}/inst/linux/code/bin/installer; put it there, or correct KVL_OS and KVL_Installer_EXE in the script
error      {1}/inst/linux/code/bin/kvl-launcher: there is no launcher here, and the start script starts it; put the launcher there
2 problems: the launcher cannot be started
= started in place
# DanglingLink: link 2/link nowhere
warning    {2}/link: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
# LinksOfAPayloadToWhatNoVolumeHas: dir 1/payload/1/d; file 1/payload/1/f; link 2/payload/2/file f; link 2/payload/2/d2/up ../d/../f; link 2/payload/2/gone d/no; link 2/payload/2/out ../f; link 2/payload/2/root /f; link 1/payload/1/l d; link 2/payload/2/past l/no; dir 1/payload/1/d/yes; link 2/payload/2/well l/yes; link 2/payload/2/through f/; link 2/payload/2/v w; link 1/payload/1/w v; link 2/outside f
warning    {1}/payload/1/w: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/outside: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/payload/2/gone: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/payload/2/out: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/payload/2/past: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/payload/2/root: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/payload/2/through: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/payload/2/v: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
8 problems: the installer will be started in place
# LinkToADirectoryAbove: link 1/inst/up ..
warning    {1}/inst/up: a link that leads round in a circle; let it lead to something else, or remove the link if nothing needs it
# LinksToEachOther: link 1/a/b ../c; link 1/c/d ../a
warning    {1}/c/d: a link that leads round in a circle; let it lead to something else, or remove the link if nothing needs it
# LinksToEachOtherOfWhichTheOtherWasMadeFirst: link 1/c/d ../a; link 1/a/b ../c
warning    {1}/c/d: a link that leads round in a circle; let it lead to something else, or remove the link if nothing needs it
# LinkToItself: link 1/self self
warning    {1}/self: links that lead round in a circle, or too many of them one behind the other; let it lead to something else, or remove the link if nothing needs it
# Pipe: pipe 2/pipe
warning    {2}/pipe: a pipe, which cannot be copied; put a file in its place, or remove it if nothing needs it
# LinkToADevice: link 2/zero /dev/zero
warning    {2}/zero: a device, which cannot be copied; put a file in its place, or remove it if nothing needs it
# Socket: socket 2/s
warning    {2}/s: a socket, which cannot be copied; put a file in its place, or remove it if nothing needs it
# FileThatOthersCannotRead: mode 640 1/media.db
warning    {1}/media.db: an ordinary user cannot read it; give it read permission for all (chmod a+r)
# RootOfAVolumeThatOthersCannotRead: mode 700 1; mode 751 2
warning    {1}: an ordinary user cannot read it; give it read and execute permission for all (chmod a+rx)
warning    {2}: an ordinary user cannot read it; give it read and execute permission for all (chmod a+rx)
2 problems: the installer will be started in place
# DirectoryOfAnAmVolumeThatOthersCannotRead: remove 1; remove 2; first 1/m/1; 1/m/1: volumes=2 1=SET-A; 1: 1=AM-A; 2: 2=AM-A; 2/m/2: 2=SET-A; mode 700 1; mode 750 2/m
$ check {1/m/1} --os linux --installer installer
Media      {1/m/1}
System     linux, from --os
Installer  {1/m/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2, layout am, tag SET-A
           1  found       {1/m/1}
           2  found       {2/m/2}
Start      in place
warning    {1}: an ordinary user cannot read it; give it read and execute permission for all (chmod a+rx)
warning    {2/m}: an ordinary user cannot read it; give it read and execute permission for all (chmod a+rx)
2 problems: the installer will be started in place
# DirectoryThatOthersCannotRead: mode 754 1/inst/common
warning    {1}/inst/common: an ordinary user cannot read it; give it read and execute permission for all (chmod a+rx)
# BytesThatAreNoText: link 2/a\xFF\n\\ x
warning    {2}/a\xFF\x0A\\: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
# ManyOfOneKind: link 2/10 x; link 2/11 x; link 2/12 x; link 2/13 x; link 2/14 x; link 2/15 x; link 2/16 x; link 2/17 x; link 2/18 x; link 2/19 x; link 2/20 x; link 2/21 x
warning    {2}/10: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/11: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/12: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/13: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/14: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/15: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/16: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/17: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/18: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
warning    {2}/19: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
           and 2 more of dangling-link
12 problems: the installer will be started in place
# ColonInThePathOfAMedia: first a:b; file a:b/inst/volumes.txt 1\n
$ check a:b --os linux --installer installer
Media      {a:b}
System     linux, from --os
Installer  {a:b}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    1
Start      in place
warning    {a:b}: a colon in it takes the path lists of the installer apart; use a directory without a colon in its path
1 problem: the installer will be started in place
# ColonInThePathOfAnExternalMedia: installer e:xt
$ KVL_UseExternalInstaller=1 -- -installerPath {e:xt}
Installer  {e:xt}/inst/linux/code/bin/installer, from -installerPath; name from --installer
warning    {e:xt}/inst/: a colon in it takes the path lists of the installer apart; use a directory without a colon in its path
# PipesInPlaceOfEveryFileThatItReads: pipe 1/inst/volumes.txt; pipe 1/1.txt; pipe 1/StartTUI.sh; pipe 2/2.txt; pipe 7.txt
$ check 1
System     none named
Installer  not found; none named
Volumes    number unknown
Start      none
error      {1}/StartTUI.sh: the start script is missing or names no system; copy it again, or use --os and --installer
warning    {1}/inst/volumes.txt: the number of volumes cannot be read; make it a regular file with read permission (chmod a+r)
warning    {1}/1.txt: a pipe, which cannot be copied; put a file in its place, or remove it if nothing needs it
warning    {1}/StartTUI.sh: a pipe, which cannot be copied; put a file in its place, or remove it if nothing needs it
warning    {1}/inst/volumes.txt: a pipe, which cannot be copied; put a file in its place, or remove it if nothing needs it
5 problems: the launcher will end with status 1
# PipesInPlaceOfAllMarkers: pipe 1/1.txt; pipe 1/StartTUI.sh; pipe 2/2.txt; pipe 7.txt
Volumes    2, layout unknown
           1  unreadable  {1}
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes, free <n>
warning    {1}/1.txt: the marker of volume 1 cannot be read; make it a regular file with read permission (chmod a+r)
error      {1}/StartTUI.sh: a pipe, which cannot be copied; put a file in its place, or remove it if nothing needs it
warning    {1}/1.txt: a pipe, which cannot be copied; put a file in its place, or remove it if nothing needs it
3 problems: StartTUI.sh starts nothing; without it, the launcher will end with status 1
# PipesInPlaceOfTheMarkersOfOtherVolumes: pipe 1/StartTUI.sh; pipe 2/2.txt; pipe 7.txt
Volumes    2, layout unknown, tag SET-A
           1  found       {1}
           2  unreadable  {2}
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes, free <n>
warning    {}/7.txt: it looks like the marker of an AM volume, and has no line MTBDIR=<tag>; copy the marker again, or remove it if it is none
warning    {2}/2.txt: the marker of volume 2 cannot be read; make it a regular file with read permission (chmod a+r)
error      {1}/StartTUI.sh: a pipe, which cannot be copied; put a file in its place, or remove it if nothing needs it
3 problems: StartTUI.sh starts nothing; without it, the launcher will end with status 1
= cannot be staged
# StartScriptMissing: remove 1/StartTUI.sh
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes, free <n>
error      {1}/StartTUI.sh: it is needed to stage the installer, and is not there; put it there
2 problems: StartTUI.sh starts nothing; without it, the launcher will end with status 1
# DescriptionFileMissing: remove 1/media.db
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes, free <n>
error      {1}/media.db: it is needed to stage the installer, and is not there; put it there
# PipeToBeStaged: pipe 1/inst/pipe
error      {1}/inst/pipe: a pipe, which cannot be copied; put a file in its place, or remove it if nothing needs it
# DanglingLinkToBeStaged: link 1/inst/x y
error      {1}/inst/x: a link that leads nowhere; put there what it leads to, or remove the link if nothing needs it
# Circle: link 1/inst/x .
error      {1}/inst/x: a link that leads round in a circle; let it lead to something else, or remove the link if nothing needs it
# FileThatOnlyOthersCanRead: mode 044 1/media.db
$ without-rights
error      {1}/media.db: you cannot read it; give it read permission (chmod a+r)
# FileThatNobodyCanRead: mode 0 1/media.db
$ without-rights
error      {1}/media.db: you cannot read it; give it read permission (chmod a+r)
# LauncherOnAMountThatForbidsToExecute: starter; link 1/inst/linux/code/bin/kvl-launcher installer
$ noexec
Start      staged in {tmp}/<identifier>: 10 files, <n> bytes, free <n>
error      {1}/inst/linux/code/bin/kvl-launcher: the launcher would be started from a file system that is mounted noexec; mount it without noexec, or copy the media to another file system
2 problems: the launcher cannot be started
# TemporaryDirectoryToBeMadeWhereNothingCanBeExecuted:
$ noexec TMPDIR={1/to/be}
Start      staged in {1}/to/be/<identifier>: 9 files, <n> bytes, free <n>
error      {1}/to/be: the installer would be started from a file system that is mounted noexec; let TMPDIR name a directory of another file system
2 problems: the installer cannot be started, status 255
# FileAndDirectoryOfOneNameInBothMedia: file 1/inst/common/x; dir 1/inst/common/y; installer ext; file ext/inst/common/x/z; file ext/inst/common/y
$ KVL_UseExternalInstaller=1 -- -installerPath {ext}
Installer  {ext}/inst/linux/code/bin/installer, from -installerPath; name from --installer
Start      staged in {tmp}/<identifier>: 12 files, <n> bytes, free <n>
error      {ext}/inst/common/x: a directory, and in the media a file has its name; rename one of the two
error      {ext}/inst/common/y: a file, and in the media a directory has its name; rename one of the two
3 problems: the launcher will end with status 1
# TemporaryDirectoryInsideOfWhatIsCopied: dir 1/inst/tmp
$ TMPDIR={1/inst/tmp}
Start      staged in {1}/inst/tmp/<identifier>: 5 files, <n> bytes, free <n>
error      {1}/inst: the temporary directory lies inside of what is copied; let TMPDIR name a directory outside the media
# TemporaryDirectoryThatIsNone: file none
$ TMPDIR={none}
Start      staged in {none}/<identifier>: 9 files, <n> bytes, free <n>
error      {none}: the temporary directory is none; let TMPDIR name a directory that you can write into
# TemporaryDirectoryThatIsALinkToNothing: link tmp/link nowhere
$ TMPDIR={tmp/link}
Start      staged in {tmp/link}/<identifier>: 9 files, <n> bytes, free <n>
error      {tmp/link}: a link that leads nowhere, on the way to the temporary directory; let TMPDIR name a directory that you can write into
# TemporaryDirectoryBelowALinkToItself: link tmp/link link
$ TMPDIR={tmp/link}/below
Start      staged in {tmp/link}/below/<identifier>: 9 files, <n> bytes, free <n>
error      {tmp/link}: a link that leads nowhere, on the way to the temporary directory; let TMPDIR name a directory that you can write into
# TemporaryDirectoryWithABackslash: dir tmp/a\\b
$ TMPDIR={tmp}/a\\b
Start      staged in {tmp}/a\\b/<identifier>: 9 files, <n> bytes, free <n>
error      {tmp}/a\\b: the temporary directory has a backslash in its path, which stands for a slash where the launcher makes directories; let TMPDIR name a directory without a backslash in its path
# UmaskThatClosesWhatIsStaged:
$ without-rights umask-300
error      {tmp}/<identifier>/: the umask 300 takes permissions from what is staged that you need yourself; set one that leaves them to you (umask 022)
# TemporaryDirectoryThatIsMissing: dir closed; mode 555 closed
$ without-rights TMPDIR={closed/no/where}
Start      staged in {closed/no/where}/<identifier>: 9 files, <n> bytes, free <n>
error      {closed/no/where}: the temporary directory is missing and cannot be made; let TMPDIR name a directory that you can write into
# TemporaryDirectoryThatIsClosed: dir closed; mode 555 closed
$ without-rights TMPDIR={closed}
Start      staged in {closed}/<identifier>: 9 files, <n> bytes, free <n>
error      {closed}: you cannot write into the temporary directory; let TMPDIR name a directory that you can write into
)";

INSTANTIATE_TEST_SUITE_P(All, CheckFinds, testing::ValuesIn(ReadTranscripts(kRows)), NameOf);

}  // namespace
}  // namespace kvl::test
