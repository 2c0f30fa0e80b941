// kvl-media check: findings about the volumes, the installer and the launcher. Each row is a
// transcript of the whole report.
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

TEST_P(CheckFinds, WhatIsWrong) {
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
warning: volume 2 has no marker: {2}/2.txt; copy the whole volume there
# MissingVolumesThatFollowEachOther: remove 2; 1: volumes=8; 4: 4=SET-A; 6: 6=SET-B
Volumes    8, layout sibling, tag SET-A
             1  found       {1}
           2-3  missing     {2} to {3}
             4  found       {4}
             5  missing     {5}
             6  other-tag   {6}, tag SET-B
           7-8  missing     {7} to {8}
warning: volumes 2 to 3 have no markers: {2}/2.txt; copy all of these volumes, or correct the number in volumes.txt
warning: volume 5 has no marker: {5}/5.txt; copy the whole volume there
warning: volume 6 has the tag SET-B instead of SET-A: {6}/6.txt; put the volume that belongs to this media there
warning: volumes 7 to 8 have no markers: {7}/7.txt; copy all of these volumes, or correct the number in volumes.txt
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
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes; <n> bytes free
warning: AM volumes 5 to 6 have no markers: {5}/5.txt; copy all of these volumes, or correct the number in volumes.txt
1 problem: the installer will be staged and started
# MissingAmVolumeAndAnAmVolumeWithoutItsVolume: remove 1; remove 2; first 1/m/1; 1/m/1: volumes=3 1=SET-A; 1: 1=AM-A; 3: 3=AM-A
$ check {1/m/1} --os linux --installer installer
Media      {1/m/1}
System     linux, from --os
Installer  {1/m/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    3, layout unknown, tag SET-A
             1  found       {1/m/1}
           2-3  missing     {2/m/2} to {3/m/3}
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes; <n> bytes free
warning: AM volume 2 has no marker: {2}/2.txt; copy the whole volume there
warning: volume 3 has no marker: {3/m/3}/3.txt; copy the whole volume there
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
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes; <n> bytes free
warning: AM volumes 4 to 1002 have no markers: {4}/4.txt; copy all of these volumes, or correct the number in volumes.txt
warning: volume 2000000 has no marker: {2000002/m/2000000}/2000000.txt; copy the whole volume there
warning: 2147481999 more volumes above volume 1000 are missing: {3/m/1}/inst/volumes.txt; copy these volumes, or correct the number in volumes.txt
3 problems: the installer will be staged and started
# MissingVolumesBelowOneBeyondThoseThatAreListed: remove 2; 1: volumes=1001; 1000: 1000=SET-A; 1001: 1001=SET-A
Volumes    1001, layout sibling, tag SET-A
               1  found       {1}
           2-999  missing     {2} to {999}
            1000  found       {1000}
            1001  found       {1001}
warning: volumes 2 to 999 have no markers: {2}/2.txt; copy all of these volumes, or correct the number in volumes.txt
# VolumeOfAnotherMedia: 2: 2=SET-B
Volumes    2, layout sibling, tag SET-A
           1  found       {1}
           2  other-tag   {2}, tag SET-B
warning: volume 2 has the tag SET-B instead of SET-A: {2}/2.txt; put the volume that belongs to this media there
# UnreadableMarker: dir 2/2.txt
           2  unreadable  {2}
warning: the marker of volume 2 cannot be read: {2}/2.txt; make the marker a regular file with read permission (chmod a+r)
# MarkerWithoutTag: file 2/2.txt tag\n
           2  no-tag      {2}
warning: the marker of volume 2 has no line MTBDIR=<tag>: {2}/2.txt; copy the marker again
# MissingMarkerOfTheFirstVolume: remove 1/1.txt
Volumes    2, layout unknown
           1  missing     {1}
warning: volume 1 has no marker: {1}/1.txt; copy the whole volume there
# AmMarkerWithoutTag: remove 2; file 7.txt x\n
           2  missing     {2}
warning: this file looks like the marker of an AM volume, but has no line MTBDIR=<tag>: {}/7.txt; copy the marker again, or remove the file if it is not a marker
warning: volume 2 has no marker: {2}/2.txt; copy the whole volume there
2 problems: the installer will be staged and started
# MissingVolumeBelowAFileOfVolume0: remove 2; file 0.txt x\n
           2  missing     {2}
warning: volume 2 has no marker: {2}/2.txt; copy the whole volume there
# EmptyVolumesFile: file 1/inst/volumes.txt
Volumes    unknown number
warning: volumes.txt is empty: {1}/inst/volumes.txt; write the number of volumes into volumes.txt
# FilesThatCannotBeRead: link 1/1.txt /proc/self/mem; link 1/StartTUI.sh /proc/self/mem
Volumes    2, layout unknown
           1  unreadable  {1}
warning: the system cannot read this entry (Input/output error): {1}/1.txt; examine the disc, and copy the entry again if it is part of the media
error: the start script has no execute permission: {1}/StartTUI.sh; give the start script execute permission (chmod a+x)
error: the system cannot read this entry (Input/output error): {1}/StartTUI.sh; examine the disc, and copy the entry again if it is part of the media
3 problems: StartTUI.sh will fail; without it, the installer will be staged and started
# TemporaryDirectoryByALinkWithABackslash: dir tmp/a/b; link tmp/a\\b a/b; remove 2
$ TMPDIR={tmp}/a\\b
           2  missing     {2}
Start      staged in {tmp}/a\\b/<identifier>: 9 files, <n> bytes; <n> bytes free
warning: volume 2 has no marker: {2}/2.txt; copy the whole volume there
# StagedScriptThatItsOwnerCannotRead: remove 2; file 1/inst/linux/code/bin/installer #!/bin/sh\n
$ without-rights umask-400
           2  missing     {2}
warning: volume 2 has no marker: {2}/2.txt; copy the whole volume there
error: the umask 400 removes permissions that you need on the staged files: {tmp}/<identifier>; set a umask that leaves them to you (umask 022)
2 problems: the outcome of the launch is unknown
# StagedInstallerWithoutExecutePermission: remove 2; mode 644 1/inst/linux/code/bin/installer
           2  missing     {2}
warning: volume 2 has no marker: {2}/2.txt; copy the whole volume there
error: the installer has no execute permission: {1}/inst/linux/code/bin/installer; give the installer execute permission (chmod a+x)
2 problems: the installer cannot be started, and the launcher will end with status 255
= has no installer
# NoInstaller:
$ --installer other
error: the installer is missing, and no external installer media has one: {1}/inst/linux/code/bin/other; put the installer there, or name its directory (--os) and file (--installer)
# NoInstallerBecauseNothingNamesTheSystem: remove 1/StartTUI.sh
$ --os ''
System     not set
error: neither --os nor KVL_OS names a system, and the start script is missing or does not name one: {1}/StartTUI.sh; copy the start script again, or use --os and --installer
# InstallerIgnoredForThatOfAnOption: dir empty
$ -- -env KVL_UseExternalInstaller -installerPath /nowhere
error: this external installer media has no installer, and KVL_UseExternalInstaller makes the launcher ignore that of the media: /nowhere; name another external installer media, or do without KVL_UseExternalInstaller
# InstallerIgnoredForThatOfAVariable: dir empty
$ KVL_ZOLVEN_Installer={empty} -- -env KVL_UseExternalInstaller
error: this external installer media has no installer, and KVL_UseExternalInstaller makes the launcher ignore that of the media: {empty}; name another external installer media, or do without KVL_UseExternalInstaller
# InstallerIgnoredForThatOfBoth: dir empty
$ KVL_ZOLVEN_Installer={empty} -- -env KVL_UseExternalInstaller -installerPath /nowhere
error: this external installer media has no installer, and KVL_UseExternalInstaller makes the launcher ignore that of the media: /nowhere; name another external installer media, or do without KVL_UseExternalInstaller
error: this external installer media has no installer, and KVL_UseExternalInstaller makes the launcher ignore that of the media: {empty}; name another external installer media, or do without KVL_UseExternalInstaller
2 problems: the launcher will end with status 1
# InstallerIgnoredWithoutAnother: dir empty
$ -- -env KVL_UseExternalInstaller
error: KVL_UseExternalInstaller makes the launcher ignore this installer, but no external installer media is named: {1}/inst/linux/code/bin/installer; name an external installer media (-installerPath), or do without KVL_UseExternalInstaller
# TwoInstallerMediaThatTheUserCannotEnter: remove 1/inst/linux/code/bin/installer; dir a; dir b; mode 644 a; mode 644 b
$ without-rights KVL_ZOLVEN_Installer={b} -- -installerPath {a}
error: you cannot enter a directory above this path: {a}/1/inst/linux/code/bin/installer; give the directories above it execute permission (chmod a+x)
error: you cannot enter a directory above this path: {b}/1/inst/linux/code/bin/installer; give the directories above it execute permission (chmod a+x)
2 problems: the launcher will end with status 1
# SystemOfTheEnvironmentBeforeThatOfTheScript: file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ KVL_OS=other check 1
System     other, from the environment
Installer  not found; name from StartTUI.sh
error: the installer is missing, and no external installer media has one: {1}/inst/other/code/bin/installer; put the installer there, or name its directory (--os) and file (--installer)
# SystemOfTheOptionBeforeThatOfTheEnvironment: file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ KVL_OS=other check 1 --os third
System     third, from --os
Installer  not found; name from StartTUI.sh
error: the installer is missing, and no external installer media has one: {1}/inst/third/code/bin/installer; put the installer there, or name its directory (--os) and file (--installer)
# InstallerMediaWithABlank: remove 1/inst/linux/code/bin/installer; installer an ext
$ KVL_ZOLVEN_Installer={an\x20ext}
Installer  not usable; name from --installer
error: the path of the external installer media contains a blank: {an ext}; copy that media into a directory whose path has no blanks
1 problem: the launcher will end with status 12
= cannot be started
# InstallerWithoutExecutePermission: mode 644 1/inst/linux/code/bin/installer
error: the installer has no execute permission: {1}/inst/linux/code/bin/installer; give the installer execute permission (chmod a+x)
# InstallerWithCarriageReturns: file 1/inst/linux/code/bin/installer #!/bin/sh\r\nexit\r\n
error: the first line contains a carriage return: {1}/inst/linux/code/bin/installer; save the file with line feeds alone
# InstallerWithoutItsInterpreter: file 1/inst/linux/code/bin/installer #! /nowhere/sh -e\n
error: the first line of the script names the program /nowhere/sh, which is missing or cannot be executed: {1}/inst/linux/code/bin/installer; correct the first line, or install that program
# InstallerWhoseInterpreterIsADirectory: file 1/inst/linux/code/bin/installer #!/
error: the first line of the script names the program /, which is missing or cannot be executed: {1}/inst/linux/code/bin/installer; correct the first line, or install that program
# InstallerThatMayBeExecutedButNotRead: mode 111 1/inst/linux/code/bin/installer
$ without-rights
warning: you may execute the installer but not read it, so kvl-media cannot tell whether it starts: {1}/inst/linux/code/bin/installer; give the installer read permission (chmod a+r)
1 problem: the outcome of the launch is unknown
# InstallerThatIsADirectory: dir 1/inst/linux/code/bin/installer
error: the installer is a directory: {1}/inst/linux/code/bin/installer; put the file of the installer in place of the directory
# InstallerOnANoexecMount: starter; link 1/inst/linux/code/bin/kvl-launcher installer
$ noexec
error: the installer lies on a file system that is mounted noexec: {1}/inst/linux/code/bin/installer; mount the file system without noexec, or copy the media to another one
1 problem: the launcher cannot be started
= is fine
# NothingInAnOlderContainer:
$ older-container
# NothingWhereTheStartScriptGivesTheNames: file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ check 1
System     linux, from StartTUI.sh
Installer  {1}/inst/linux/code/bin/installer, in the media; name from StartTUI.sh
# NothingOnAPathThroughAnotherDirectory: file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ check 2/../1/
System     linux, from StartTUI.sh
Installer  {1}/inst/linux/code/bin/installer, in the media; name from StartTUI.sh
# NothingOnAPathUpBehindALink: dir other/place; link way {other/place}; file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ check way/../../1
System     linux, from StartTUI.sh
Installer  {1}/inst/linux/code/bin/installer, in the media; name from StartTUI.sh
# NothingWhereTheLastAssignmentCounts: file 1/StartTUI.sh #!/bin/sh\nKVL_OS=other\nKVL_OS=linux\nKVL_Installer_EXE=installer\n
$ check 1
System     linux, from StartTUI.sh
Installer  {1}/inst/linux/code/bin/installer, in the media; name from StartTUI.sh
# NothingInADirectoryOfVolumes:
$ check {} --os linux --installer installer
Media      {1}, found in {}
System     linux, from --os
Installer  {1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2, layout sibling, tag SET-A
           1  found       {1}
           2  found       {2}
Start      in place
Fine: the installer will be started in place
# NothingInADirectoryOfAmVolumes: remove 1; remove 2; first am/1/media/1; am/1/media/1: volumes=2 1=SET-A; am/1: 1=AM-A; am/2: 2=AM-A; am/2/media/2: 2=SET-A
$ check {am} --os linux --installer installer
Media      {am/1/media/1}, found in {am}
System     linux, from --os
Installer  {am/1/media/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2, layout am, tag SET-A
           1  found       {am/1/media/1}
           2  found       {am/2/media/2}
Start      in place
Fine: the installer will be started in place
# NothingOnAPathWithDots: file 1/StartTUI.sh #!/bin/sh\nKVL_OS='linux'\nexport KVL_Installer_EXE=installer\n
$ check ./1/.
System     linux, from StartTUI.sh
Installer  {1}/inst/linux/code/bin/installer, in the media; name from StartTUI.sh
# NothingAboutTheInstallerOfTheScriptBesideAnExternalOne: file 1/StartTUI.sh KVL_OS=other\n; installer ext
$ KVL_ZOLVEN_Installer={ext}
# NothingInAScript: file 1/inst/linux/code/bin/installer #!/bin/sh
# NothingInAScriptWithAnArgument: file 1/inst/linux/code/bin/installer #! \x09/bin/sh -e\nexit\n
# NothingInAScriptThatNamesNoInterpreter: file 1/inst/linux/code/bin/installer #!\n
# NothingInAScriptWithoutAFirstLine: file 1/inst/linux/code/bin/installer exit 0\n
# NothingInALauncherThatIsAScript: starter; file 1/inst/linux/code/bin/kvl-launcher #!/bin/sh\n; mode 755 1/inst/linux/code/bin/kvl-launcher
# NothingWithoutAVolumesFileBesideVolumeTwoOfAnotherSet: remove 1/inst/volumes.txt; 2: 2=SET-B
Volumes    1
# NothingWhereMediaXmlNamesTheSameNumber: 3: 3=SET-A; file 1/media.xml <media tag="SET-A" volumes="2"/>
# NothingInDescriptionsOfAnotherForm: file 1/media.xml <media tag="T"/><set volumes="9"/>; file 1/meta.TOCxml payload/1
# NothingInADescriptionWithoutVolumes: file 1/media.xml <media volumes="-2"/>
# NothingInAFineMedia:
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
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes; <n> bytes free
warning: AM volume 2 has the tag AM-B instead of AM-A: {2}/2.txt; put the volume that belongs to this media there
1 problem: the installer will be staged and started
# CarriageReturnInTheVolumesFile: file 1/inst/volumes.txt 2\r\n
warning: the first line contains a carriage return: {1}/inst/volumes.txt; save the file with line feeds alone
# NoNumberInTheVolumesFile: file 1/inst/volumes.txt two\n
Volumes    unknown number
Start      not reached
error: the first line of volumes.txt is not a number of volumes, so the launcher aborts: {1}/inst/volumes.txt; write the number of volumes, and nothing else, into the first line
1 problem: the launcher will end with status 134
# ByteOrderMarkInTheVolumesFile: file 1/inst/volumes.txt \xEF\xBB\xBF2\n
Volumes    unknown number
Start      not reached
warning: volumes.txt begins with a byte order mark, so the launcher cannot read the number of volumes: {1}/inst/volumes.txt; save volumes.txt without a byte order mark
error: the first line of volumes.txt is not a number of volumes, so the launcher aborts: {1}/inst/volumes.txt; write the number of volumes, and nothing else, into the first line
2 problems: the launcher will end with status 134
# CarriageReturnInAMarker: file 2/2.txt #\r\nMTBDIR=SET-A\r\n
warning: the marker contains a carriage return: {2}/2.txt; save the marker with line feeds alone
# CarriageReturnInTheMarkerOfASingleVolume: remove 2; file 1/inst/volumes.txt 1\n; file 1/1.txt MTBDIR=SET-A\r\n
Volumes    1
warning: the marker contains a carriage return: {1}/1.txt; save the marker with line feeds alone
# CarriageReturnInTheMarkerOfAnAmVolume: remove 1; remove 2; first 1/m/1; 1/m/1: volumes=2 1=SET-A; 1: 1=AM-A; 2: 2=AM-A; 2/m/2: 2=SET-A; file 2/2.txt MTBDIR=AM-A\r\n
$ check {1/m/1} --os linux --installer installer
Media      {1/m/1}
System     linux, from --os
Installer  {1/m/1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    2, layout am, tag SET-A
           1  found       {1/m/1}
           2  found       {2/m/2}
Start      in place
warning: the marker contains a carriage return: {2}/2.txt; save the marker with line feeds alone
1 problem: the installer will be started in place
# NoVolumesFileWhereMediaXmlNamesTwo: remove 1/inst/volumes.txt; remove 2; file 1/media.xml <?xml\n<media tag="a volumes=9" volumes="2"/>\n
Volumes    1
warning: volumes.txt is missing, so the launcher sees one volume, but media.xml says 2: {1}/inst/volumes.txt; copy volumes.txt again, or write the number of volumes into it
# NoVolumesFileWhereAVolumeLiesBeside: remove 1/inst/volumes.txt
Volumes    1
warning: volumes.txt is missing, so the launcher sees one volume, but volume 2 lies in {2}: {1}/inst/volumes.txt; copy volumes.txt again, or write the number of volumes into it
# NoVolumesFileWhereAVolumeLiesInTheSameDirectory: remove 1/inst/volumes.txt; remove 2; 1: 2=SET-A
Volumes    1
warning: volumes.txt is missing, so the launcher sees one volume, but volume 2 lies in {1}: {1}/inst/volumes.txt; copy volumes.txt again, or write the number of volumes into it
# VolumesFileThatSaysOneWhereMediaXmlNamesTwo: file 1/inst/volumes.txt 1\n; file 1/media.xml <media volumes="2"/>
Volumes    1
warning: volumes.txt says 1, but media.xml says 2: {1}/inst/volumes.txt; copy volumes.txt again, or correct the number
# VolumesFileThatSaysTwoWhereMediaXmlNamesOne: file 1/media.xml <media volumes="1"/>
warning: volumes.txt says 2, but media.xml says 1: {1}/inst/volumes.txt; copy volumes.txt again, or correct the number
# VolumesFileThatSaysTwoWhereThreeLieThere: 3: 3=SET-A
warning: volumes.txt says 2, but volume 3 lies in {3}: {1}/inst/volumes.txt; copy volumes.txt again, or correct the number
# NoDirectoryForThePayload: file 1/meta.TOCxml <volume number="1" payload="payload/1"/>\n<volume number="2" payload="payload/2"/>\n; file 1/payload/1/x; file 2/payload/2
warning: the payload directory of volume 2 is missing: {2}/payload/2; copy the whole volume again
# NoDirectoryForThePayloadOfASingleVolume: remove 2; file 1/inst/volumes.txt 1\n; file 1/meta.TOCxml <volume number="1" payload="payload/1"/>\n
Volumes    1
warning: the payload directory of volume 1 is missing: {1}/payload/1; copy the whole volume again
# InstallerThatIsEmpty: file 1/inst/linux/code/bin/installer
error: the installer is empty: {1}/inst/linux/code/bin/installer; copy the installer again
1 problem: the installer cannot be started, and the launcher will end with status 0
# InstallerWithACarriageReturnThatItsInterpreterGets: file 1/inst/linux/code/bin/installer #!/bin/sh -e\r\nexit\r\n
error: the first line contains a carriage return: {1}/inst/linux/code/bin/installer; save the file with line feeds alone
# BadLauncherArguments:
$ -- -SoftMgt
Media      {1}
error: -SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback); correct the launcher's arguments (behind --)
1 problem: the launcher will end with status 1
# OtherBadLauncherArguments:
$ -- -List
Media      {1}
error: -List must be used with the -SoftMgt flag; correct the launcher's arguments (behind --)
1 problem: the launcher will end with status 1
# ArgumentThatIsSplit:
$ -- plain a"b
warning: the launcher changes this path or argument for the installer, because it is empty or has a double quote, a doubled backslash or a backslash at its end: a"b; use a path or argument that is not empty and has none of these
# ArgumentThatIsEmpty:
$ -- '' plain
warning: the launcher changes this path or argument for the installer, because it is empty or has a double quote, a doubled backslash or a backslash at its end: ''; use a path or argument that is not empty and has none of these
# PathThatIsSplit: first q"q; file q"q/inst/volumes.txt 1\n
$ check q"q --os linux --installer installer
Media      {q"q}
System     linux, from --os
Installer  {q"q}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    1
Start      in place
error: the launcher changes this path or argument for the installer, because it is empty or has a double quote, a doubled backslash or a backslash at its end: {q"q}/inst/linux/code/bin/installer; use a path or argument that is not empty and has none of these
1 problem: the installer cannot be started, and the launcher will end with status 255
= has a start script that starts nothing
# NoStartScript: remove 1/StartTUI.sh
error: the start script is missing: {1}/StartTUI.sh; copy the start script again
# StartScriptWithoutExecutePermission: mode 644 1/StartTUI.sh
error: the start script has no execute permission: {1}/StartTUI.sh; give the start script execute permission (chmod a+x)
# NoExecutePermissionInAnOlderContainer: mode 644 1/StartTUI.sh
$ older-container
error: the start script has no execute permission: {1}/StartTUI.sh; give the start script execute permission (chmod a+x)
# GraphicalStartScriptWithoutExecutePermission: mode 644 1/StartGUI.sh
error: the start script has no execute permission: {1}/StartGUI.sh; give the start script execute permission (chmod a+x)
1 problem: StartGUI.sh will fail; without it, the installer will be started in place
# BothStartScriptsWithoutExecutePermission: mode 644 1/StartGUI.sh; mode 644 1/StartTUI.sh
error: the start script has no execute permission: {1}/StartTUI.sh; give the start script execute permission (chmod a+x)
error: the start script has no execute permission: {1}/StartGUI.sh; give the start script execute permission (chmod a+x)
2 problems: StartTUI.sh and StartGUI.sh will fail; without them, the installer will be started in place
# StartScriptThatOnlyOthersMayExecute: mode 645 1/StartTUI.sh
$ without-rights
error: the start script has no execute permission: {1}/StartTUI.sh; give the start script execute permission (chmod a+x)
# StartScriptWithCarriageReturns: file 1/StartTUI.sh #!/bin/sh\r\nexit\r\n
error: the first line contains a carriage return: {1}/StartTUI.sh; save the file with line feeds alone
# StartScriptThatIsAPipe: pipe 1/StartTUI.sh
error: a pipe cannot be copied: {1}/StartTUI.sh; put a file in place of the pipe, or remove the pipe if nothing needs it
# StartScriptThatIsADanglingLink: link 1/StartTUI.sh nowhere
error: this link leads nowhere: {1}/StartTUI.sh; restore what the link leads to, or remove the link if nothing needs it
# StartScriptThatNamesAnotherInstaller: file 1/StartTUI.sh KVL_OS=other\nKVL_Installer_EXE=setup\n
error: the start script names the installer {1}/inst/other/code/bin/setup, which is missing: {1}/StartTUI.sh; put the installer there, or correct KVL_OS and KVL_Installer_EXE in the start script
# StartScriptThatNamesAnotherSystem: file 1/StartTUI.sh KVL_OS=other\n
$ KVL_OS=linux check 1 --installer installer
System     linux, from the environment
error: the start script names the installer {1}/inst/other/code/bin/installer, which is missing: {1}/StartTUI.sh; put the installer there, or correct KVL_OS and KVL_Installer_EXE in the start script
= has a launcher that cannot be started
# NoLauncher: starter
error: the start script starts a launcher that is missing: {1}/inst/linux/code/bin/kvl-launcher; put the launcher there
# LauncherWithoutExecutePermission: starter; file 1/inst/linux/code/bin/kvl-launcher #!/bin/sh\n
error: the launcher has no execute permission: {1}/inst/linux/code/bin/kvl-launcher; give the launcher execute permission (chmod a+x)
# LauncherThatIsEmpty: starter; file 1/inst/linux/code/bin/kvl-launcher; mode 755 1/inst/linux/code/bin/kvl-launcher
error: the launcher is neither a script nor a binary: {1}/inst/linux/code/bin/kvl-launcher; put the launcher for this machine there
# LauncherWithoutItsInterpreter: starter; file 1/inst/linux/code/bin/kvl-launcher #! /nowhere/sh -e\n; mode 755 1/inst/linux/code/bin/kvl-launcher
error: the first line of the script names the program /nowhere/sh, which is missing or cannot be executed: {1}/inst/linux/code/bin/kvl-launcher; correct the first line, or install that program
# LauncherOfTheSystemThatTheScriptNames: starter; move 1/inst/linux 1/inst/other
$ -- -env KVL_OS=other
System     other, from -env
Installer  {1}/inst/other/code/bin/installer, in the media; name from --installer
error: the start script names the installer {1}/inst/linux/code/bin/installer, which is missing: {1}/StartTUI.sh; put the installer there, or correct KVL_OS and KVL_Installer_EXE in the start script
error: the start script starts a launcher that is missing: {1}/inst/linux/code/bin/kvl-launcher; put the launcher there
2 problems: the launcher cannot be started
)";

INSTANTIATE_TEST_SUITE_P(Volumes, CheckFinds, testing::ValuesIn(ReadTranscripts(kRows)), NameOf);

}  // namespace
}  // namespace kvl::test
