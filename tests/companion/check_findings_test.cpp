// kvl-media check: what it finds of the volumes, the installer and the launcher. Each row is a
// transcript of all that it says.
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

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
# EveryVolumeBeyondThoseThatAreListedIsThere: remove 2; 1: volumes=1001; 1000: 1000=SET-A; 1001: 1001=SET-A
Volumes    1001, layout sibling, tag SET-A
               1  found       {1}
           2-999  missing     {2} to {999}
            1000  found       {1000}
            1001  found       {1001}
warning    {2}/2.txt: volumes 2 to 999 are missing: they have no markers; copy the whole volumes there, or correct the number in volumes.txt
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
# InstallerWithoutExecutePermissionToBeStaged: remove 2; mode 644 1/inst/linux/code/bin/installer
           2  missing     {2}
warning    {2}/2.txt: volume 2 is missing: it has no marker; copy the whole volume there
error      {1}/inst/linux/code/bin/installer: the installer has no execute permission; give it that (chmod a+x)
2 problems: the installer cannot be started, status 255
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
)";

INSTANTIATE_TEST_SUITE_P(Volumes, CheckFinds, testing::ValuesIn(ReadTranscripts(kRows)), NameOf);

}  // namespace
}  // namespace kvl::test
