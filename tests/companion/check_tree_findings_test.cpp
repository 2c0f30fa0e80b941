// kvl-media check: what it finds in the trees of the media and of the temporary directory. Each row is
// a transcript of all that it says; check_findings_test.cpp compares it.
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

constexpr char kTreeRows[] = R"(
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
# LauncherOnSuchAMountBesideAnotherFinding: starter; link 1/inst/linux/code/bin/kvl-launcher installer; file 1/StartTUI.sh #!/bin/sh\r\n"$CurrentMediaDir/inst/$KVL_OS/code/bin/kvl-launcher"\n
$ noexec
Start      staged in {tmp}/<identifier>: 10 files, <n> bytes, free <n>
error      {1}/StartTUI.sh: its first line has a carriage return; save it with line feeds alone
error      {1}/inst/linux/code/bin/kvl-launcher: the launcher would be started from a file system that is mounted noexec; mount it without noexec, or copy the media to another file system
3 problems: the launcher cannot be started
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

INSTANTIATE_TEST_SUITE_P(Trees, CheckFinds, testing::ValuesIn(ReadTranscripts(kTreeRows)), NameOf);

}  // namespace
}  // namespace kvl::test
