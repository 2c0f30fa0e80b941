// kvl-media check: findings about the trees of the media and the temporary directory. Each row is a
// transcript of the whole report; check_findings_test.cpp compares it.
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

constexpr char kTreeRows[] = R"(
= started in place
# DanglingLink: link 2/link nowhere
warning: this link leads nowhere: {2}/link; restore what the link leads to, or remove the link if nothing needs it
# LinksOfAPayloadToWhatNoVolumeHas: dir 1/payload/1/d; file 1/payload/1/f; link 2/payload/2/file f; link 2/payload/2/d2/up ../d/../f; link 2/payload/2/gone d/no; link 2/payload/2/out ../f; link 2/payload/2/root /f; link 1/payload/1/l d; link 2/payload/2/past l/no; dir 1/payload/1/d/yes; link 2/payload/2/well l/yes; link 2/payload/2/through f/; link 2/payload/2/v w; link 1/payload/1/w v; link 2/outside f
warning: this link leads nowhere: {1}/payload/1/w; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/outside; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/payload/2/gone; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/payload/2/out; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/payload/2/past; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/payload/2/root; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/payload/2/through; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/payload/2/v; restore what the link leads to, or remove the link if nothing needs it
8 problems: the installer will be started in place
# LinkToADirectoryAbove: link 1/inst/up ..
warning: this link leads round in a circle: {1}/inst/up; let the link lead to something else, or remove the link if nothing needs it
# LinksToEachOther: link 1/a/b ../c; link 1/c/d ../a
warning: this link leads round in a circle: {1}/c/d; let the link lead to something else, or remove the link if nothing needs it
# LinksToEachOtherMadeInReverseOrder: link 1/c/d ../a; link 1/a/b ../c
warning: this link leads round in a circle: {1}/c/d; let the link lead to something else, or remove the link if nothing needs it
# LinkToItself: link 1/self self
warning: this link leads round in a circle or through too many other links: {1}/self; let the link lead to something else, or remove the link if nothing needs it
# Pipe: pipe 2/pipe
warning: a pipe cannot be copied: {2}/pipe; put a file in place of the pipe, or remove the pipe if nothing needs it
# LinkToADevice: link 2/zero /dev/zero
warning: a device cannot be copied: {2}/zero; put a file in place of the device, or remove the device if nothing needs it
# Socket: socket 2/s
warning: a socket cannot be copied: {2}/s; put a file in place of the socket, or remove the socket if nothing needs it
# FileThatOthersCannotRead: mode 640 1/media.db
warning: other users cannot read this file: {1}/media.db; give all users read permission (chmod a+r)
# RootOfAVolumeThatOthersCannotRead: mode 700 1; mode 751 2
warning: other users cannot read this directory: {1}; give all users read and execute permission (chmod a+rx)
warning: other users cannot read this directory: {2}; give all users read and execute permission (chmod a+rx)
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
warning: other users cannot read this directory: {1}; give all users read and execute permission (chmod a+rx)
warning: other users cannot read this directory: {2/m}; give all users read and execute permission (chmod a+rx)
2 problems: the installer will be started in place
# DirectoryThatOthersCannotRead: mode 754 1/inst/common
warning: other users cannot read this directory: {1}/inst/common; give all users read and execute permission (chmod a+rx)
# NameThatIsNotText: link 2/a\xFF\n\\ x
warning: this link leads nowhere: {2}/a\xFF\x0A\\; restore what the link leads to, or remove the link if nothing needs it
# ManyFindingsOfOneCode: link 2/10 x; link 2/11 x; link 2/12 x; link 2/13 x; link 2/14 x; link 2/15 x; link 2/16 x; link 2/17 x; link 2/18 x; link 2/19 x; link 2/20 x; link 2/21 x
warning: this link leads nowhere: {2}/10; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/11; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/12; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/13; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/14; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/15; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/16; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/17; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/18; restore what the link leads to, or remove the link if nothing needs it
warning: this link leads nowhere: {2}/19; restore what the link leads to, or remove the link if nothing needs it
and 2 more findings with the code dangling-link
12 problems: the installer will be started in place
# ColonInThePathOfAMedia: first a:b; file a:b/inst/volumes.txt 1\n
$ check a:b --os linux --installer installer
Media      {a:b}
System     linux, from --os
Installer  {a:b}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    1
Start      in place
warning: the path contains a colon, which splits it in the path lists of the installer: {a:b}; use a directory whose path has no colon
1 problem: the installer will be started in place
# ColonInThePathOfAnExternalMedia: installer e:xt
$ KVL_UseExternalInstaller=1 -- -installerPath {e:xt}
Installer  {e:xt}/inst/linux/code/bin/installer, from -installerPath; name from --installer
warning: the path contains a colon, which splits it in the path lists of the installer: {e:xt}/inst/; use a directory whose path has no colon
# PipesInPlaceOfAllFilesThatItReads: pipe 1/inst/volumes.txt; pipe 1/1.txt; pipe 1/StartTUI.sh; pipe 2/2.txt; pipe 7.txt
$ check 1
System     not set
Installer  not found; name not set
Volumes    unknown number
Start      not reached
error: neither --os nor KVL_OS names a system, and the start script is missing or does not name one: {1}/StartTUI.sh; copy the start script again, or use --os and --installer
warning: volumes.txt cannot be read, so the number of volumes is unknown: {1}/inst/volumes.txt; make volumes.txt a regular file with read permission (chmod a+r)
warning: a pipe cannot be copied: {1}/1.txt; put a file in place of the pipe, or remove the pipe if nothing needs it
warning: a pipe cannot be copied: {1}/StartTUI.sh; put a file in place of the pipe, or remove the pipe if nothing needs it
warning: a pipe cannot be copied: {1}/inst/volumes.txt; put a file in place of the pipe, or remove the pipe if nothing needs it
5 problems: the launcher will end with status 1
# PipesInPlaceOfAllMarkers: pipe 1/1.txt; pipe 1/StartTUI.sh; pipe 2/2.txt; pipe 7.txt
Volumes    2, layout unknown
           1  unreadable  {1}
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes; <n> bytes free
warning: the marker of volume 1 cannot be read: {1}/1.txt; make the marker a regular file with read permission (chmod a+r)
error: a pipe cannot be copied: {1}/StartTUI.sh; put a file in place of the pipe, or remove the pipe if nothing needs it
warning: a pipe cannot be copied: {1}/1.txt; put a file in place of the pipe, or remove the pipe if nothing needs it
3 problems: StartTUI.sh will fail; without it, the launcher will end with status 1
# PipesInPlaceOfTheMarkersOfOtherVolumes: pipe 1/StartTUI.sh; pipe 2/2.txt; pipe 7.txt
Volumes    2, layout unknown, tag SET-A
           1  found       {1}
           2  unreadable  {2}
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes; <n> bytes free
warning: this file looks like the marker of an AM volume, but has no line MTBDIR=<tag>: {}/7.txt; copy the marker again, or remove the file if it is not a marker
warning: the marker of volume 2 cannot be read: {2}/2.txt; make the marker a regular file with read permission (chmod a+r)
error: a pipe cannot be copied: {1}/StartTUI.sh; put a file in place of the pipe, or remove the pipe if nothing needs it
3 problems: StartTUI.sh will fail; without it, the launcher will end with status 1
= cannot be staged
# StartScriptMissing: remove 1/StartTUI.sh
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes; <n> bytes free
error: staging needs a file or directory that is missing: {1}/StartTUI.sh; put the file or directory there
2 problems: StartTUI.sh will fail; without it, the launcher will end with status 1
# MediaThatMakeDidNotFinish: remove 1/StartTUI.sh; file StartTUI.sh.unfinished
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes; <n> bytes free
error: staging needs a file or directory that is missing: {1}/StartTUI.sh; put the file or directory there
error: make did not finish this media: {}/StartTUI.sh.unfinished; wait for make, or remove the media and run make again
3 problems: StartTUI.sh will fail; without it, the launcher will end with status 1
# DescriptionFileMissing: remove 1/media.db
Start      staged in {tmp}/<identifier>: 8 files, <n> bytes; <n> bytes free
error: staging needs a file or directory that is missing: {1}/media.db; put the file or directory there
# PipeToBeStaged: pipe 1/inst/pipe
error: a pipe cannot be copied: {1}/inst/pipe; put a file in place of the pipe, or remove the pipe if nothing needs it
# DanglingLinkToBeStaged: link 1/inst/x y
error: this link leads nowhere: {1}/inst/x; restore what the link leads to, or remove the link if nothing needs it
# Circle: link 1/inst/x .
error: this link leads round in a circle: {1}/inst/x; let the link lead to something else, or remove the link if nothing needs it
# FileThatOnlyOthersCanRead: mode 044 1/media.db
$ without-rights
error: you cannot read this file: {1}/media.db; give the file read permission (chmod a+r)
# FileThatNobodyCanRead: mode 0 1/media.db
$ without-rights
error: you cannot read this file: {1}/media.db; give the file read permission (chmod a+r)
# LauncherOnANoexecMount: starter; link 1/inst/linux/code/bin/kvl-launcher installer
$ noexec
Start      staged in {tmp}/<identifier>: 10 files, <n> bytes; <n> bytes free
error: the launcher lies on a file system that is mounted noexec: {1}/inst/linux/code/bin/kvl-launcher; mount the file system without noexec, or copy the media to another one
2 problems: the launcher cannot be started
# LauncherOnANoexecMountBesideAnotherFinding: starter; link 1/inst/linux/code/bin/kvl-launcher installer; file 1/StartTUI.sh #!/bin/sh\r\n"$CurrentMediaDir/inst/$KVL_OS/code/bin/kvl-launcher"\n
$ noexec
Start      staged in {tmp}/<identifier>: 10 files, <n> bytes; <n> bytes free
error: the first line contains a carriage return: {1}/StartTUI.sh; save the file with line feeds alone
error: the launcher lies on a file system that is mounted noexec: {1}/inst/linux/code/bin/kvl-launcher; mount the file system without noexec, or copy the media to another one
3 problems: the launcher cannot be started
# MissingTemporaryDirectoryOnANoexecMount:
$ noexec TMPDIR={1/to/be}
Start      staged in {1}/to/be/<identifier>: 9 files, <n> bytes; <n> bytes free
error: the launcher stages the installer on a file system that is mounted noexec: {1}/to/be; set TMPDIR to a directory on another file system
2 problems: the installer cannot be started, and the launcher will end with status 255
# FileAndDirectoryOfOneNameInBothMedia: file 1/inst/common/x; dir 1/inst/common/y; installer ext; file ext/inst/common/x/z; file ext/inst/common/y
$ KVL_UseExternalInstaller=1 -- -installerPath {ext}
Installer  {ext}/inst/linux/code/bin/installer, from -installerPath; name from --installer
Start      staged in {tmp}/<identifier>: 12 files, <n> bytes; <n> bytes free
error: the external installer media has a directory where the media has a file: {ext}/inst/common/x; rename one of the two
error: the external installer media has a file where the media has a directory: {ext}/inst/common/y; rename one of the two
3 problems: the launcher will end with status 1
# TemporaryDirectoryInsideWhatIsCopied: dir 1/inst/tmp
$ TMPDIR={1/inst/tmp}
Start      staged in {1}/inst/tmp/<identifier>: 5 files, <n> bytes; <n> bytes free
error: the temporary directory lies inside a directory that staging copies: {1}/inst; set TMPDIR to a directory outside the media
# TemporaryDirectoryThatIsAFile: file none
$ TMPDIR={none}
Start      staged in {none}/<identifier>: 9 files, <n> bytes; <n> bytes free
error: TMPDIR is not a directory: {none}; set TMPDIR to a directory that you can write into
# TemporaryDirectoryThatIsALinkToNothing: link tmp/link nowhere
$ TMPDIR={tmp/link}
Start      staged in {tmp/link}/<identifier>: 9 files, <n> bytes; <n> bytes free
error: the path of the temporary directory contains a link that leads nowhere: {tmp/link}; set TMPDIR to a directory that you can write into
# TemporaryDirectoryBelowALinkToItself: link tmp/link link
$ TMPDIR={tmp/link}/below
Start      staged in {tmp/link}/below/<identifier>: 9 files, <n> bytes; <n> bytes free
error: the path of the temporary directory contains a link that leads nowhere: {tmp/link}; set TMPDIR to a directory that you can write into
# TemporaryDirectoryWithABackslash: dir tmp/a\\b
$ TMPDIR={tmp}/a\\b
Start      staged in {tmp}/a\\b/<identifier>: 9 files, <n> bytes; <n> bytes free
error: the path of the temporary directory contains a backslash, which the launcher takes for a slash when it makes directories: {tmp}/a\\b; set TMPDIR to a directory whose path has no backslash
# UmaskThatClosesTheStagedFiles:
$ without-rights umask-300
error: the umask 300 removes permissions that you need on the staged files: {tmp}/<identifier>/; set a umask that leaves them to you (umask 022)
# TemporaryDirectoryThatIsMissing: dir closed; mode 555 closed
$ without-rights TMPDIR={closed/no/where}
Start      staged in {closed/no/where}/<identifier>: 9 files, <n> bytes; <n> bytes free
error: the temporary directory is missing, and you cannot make it: {closed/no/where}; set TMPDIR to a directory that you can write into
# TemporaryDirectoryThatIsClosed: dir closed; mode 555 closed
$ without-rights TMPDIR={closed}
Start      staged in {closed}/<identifier>: 9 files, <n> bytes; <n> bytes free
error: you cannot write into the temporary directory: {closed}; set TMPDIR to a directory that you can write into
)";

INSTANTIATE_TEST_SUITE_P(Trees, CheckFinds, testing::ValuesIn(ReadTranscripts(kTreeRows)), NameOf);

}  // namespace
}  // namespace kvl::test
