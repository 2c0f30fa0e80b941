"""The medias that are launched, and how directory trees are described."""

from __future__ import annotations

import dataclasses
import os
import re
import shutil
import stat
import time
from pathlib import Path

INSTALLER_STATUS = 37
UMASK = 0o022

# Reports what it was given: one line for each start, whether it lacks the descriptor and which signal
# settings it has, its arguments and its environment. Further descriptors tell nothing: a close that
# strace lets fail is none.
_INSTALLER = f"""#!/bin/sh
echo started >>"$FAULTS_REPORT"
if [ ! -e "/proc/$$/fd/$FAULTS_GIVEN" ]; then echo 'a descriptor is lost' >>"$FAULTS_REPORT"; fi
while read -r name value; do
  case $name in SigBlk: | SigIgn:) echo "$name $value" >>"$FAULTS_REPORT" ;; esac
done </proc/$$/status
cat /proc/$$/cmdline >"$FAULTS_REPORT.arguments"
cat /proc/$$/environ >"$FAULTS_REPORT.environment"
exit {INSTALLER_STATUS}
"""

_DESCRIPTIONS = ("meta.TOCxml", "media.xml", "media.db", "StartGUI.sh", "StartTUI.sh")

KINDS = ("staged", "in place", "external", "management")


@dataclasses.dataclass(frozen=True)
class Entry:
    """A file, directory or link, with its contents or its target."""

    kind: str
    mode: int
    modified: int
    accessed: int = 0
    contents: bytes = b""


Tree = dict[str, Entry]


def describe(root: Path) -> Tree:
    """Everything below `root` by its relative path; times in nanoseconds."""
    tree: Tree = {}
    for directory, names, files in os.walk(root):
        for name in names + files:
            path = os.path.join(directory, name)
            status = os.lstat(path)
            kind, contents = "other", b""
            if stat.S_ISDIR(status.st_mode):
                kind = "directory"
            elif stat.S_ISLNK(status.st_mode):
                kind, contents = "link", os.fsencode(os.readlink(path))
            elif stat.S_ISREG(status.st_mode):
                kind = "file"
                with open(path, "rb") as file:
                    contents = file.read()
            mode = stat.S_IMODE(status.st_mode)
            entry = Entry(kind, mode, status.st_mtime_ns, status.st_atime_ns, contents)
            tree[os.path.relpath(path, root)] = entry
    return tree


def changes(before: Tree, after: Tree) -> list[str]:
    """What is no longer as it was; the time of the last reading does not count."""

    def seen(tree: Tree, path: str) -> Entry | None:
        return dataclasses.replace(tree[path], accessed=0) if path in tree else None

    paths = sorted(before.keys() | after.keys())
    return [path for path in paths if seen(before, path) != seen(after, path)]


class World:
    """One media with all that belongs to it, for one kind of launch, and a place to stage in."""

    def __init__(self, root: Path, kind: str) -> None:
        self.root = root
        self.kind = kind
        self.arguments: list[str] = ["passed on"]
        self.external: Path | None = None
        shutil.rmtree(root, ignore_errors=True)
        self.medias = root / "w"
        self.staging = root / "t"
        self.report = root / "report"
        self.staging.mkdir(parents=True)
        # Whatever cannot be found: the search for volumes ends here and not in the root directory.
        self._write("9.txt", "MTBDIR=FENCE\n")
        {
            "staged": self._staged,
            "in place": self._in_place,
            "external": self._external,
            "management": self._management,
        }[kind]()
        self._set_times()
        self.original = describe(self.medias)

    # An outer set of volumes, of which the third is missing: every layout is looked for.
    def _staged(self) -> None:
        self._media("1/m/1", with_installer=True)
        self._write("1/1.txt", "MTBDIR=OUTER\n")
        self._write("2/2.txt", "MTBDIR=OUTER\n")
        self._write("2/m/2/2.txt", "MTBDIR=SET\n")

    def _in_place(self) -> None:
        self._media("1", with_installer=True)
        self._write("2/2.txt", "MTBDIR=SET\n")
        self._write("3/3.txt", "MTBDIR=SET\n")

    # So many volumes that the launcher lists directories instead of trying each number.
    def _external(self) -> None:
        self._media("1", with_installer=False)
        self._write("1/inst/volumes.txt", "120\n")
        self._write("2/2.txt", "MTBDIR=SET\n")
        self._write("x/1/inst/common/notes", "newer notes\n", 0o600)
        self._write("x/1/inst/common/more", "more\n", 0o600)
        self._write("x/1/inst/linux/code/bin/installer", _INSTALLER, 0o755)
        self._write("x/1/inst/other/not wanted", "")
        self.external = self.medias / "x/1/inst"
        self.arguments += ["-installerPath", str(self.medias / "x")]

    def _management(self) -> None:
        self._media("a/b/1", with_installer=True)
        self.arguments += ["-SoftMgt", "-List"]

    def _media(self, place: str, with_installer: bool) -> None:
        self.media = self.medias / place
        self._write(f"{place}/1.txt", "MTBDIR=SET\n")
        self._write(f"{place}/inst/volumes.txt", "3\n")
        self._write(f"{place}/inst/common/notes", "notes\n", 0o664)
        self._write(f"{place}/inst/common/sub/data", "data\n", 0o400)
        os.symlink("notes", self.media / "inst/common/link")
        os.symlink("sub", self.media / "inst/common/way")
        (self.media / "inst/empty").mkdir()
        # More than fits into the launcher's buffer, so that it is copied in two pieces.
        self._write(f"{place}/inst/linux/big", "0123456789" * 7000)
        if with_installer:
            self._write(f"{place}/inst/linux/code/bin/installer", _INSTALLER, 0o755)
        for name in _DESCRIPTIONS:
            self._write(f"{place}/{name}", name + "\n")

    def _write(self, relative: str, text: str, mode: int = 0o644) -> None:
        path = self.medias / relative
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        path.chmod(mode)

    # Modified long ago, with a part of a second that a copy drops, and read since then, which makes
    # most file systems leave the time of the last reading alone for a day.
    def _set_times(self) -> None:
        for path in sorted(self.medias.rglob("*")):
            if not path.is_symlink():
                os.utime(path, ns=(path.stat().st_atime_ns, 1_600_000_000_123_456_789))
        time.sleep(0.02)  # more than the step of the clock for such times
        describe(self.medias)

    def tidy_up(self) -> None:
        """Makes it ready for the next launch."""
        for path in self.root.glob("report*"):
            path.unlink()
        for path in self.staging.iterdir():
            shutil.rmtree(path)

    def environment(self) -> dict[str, str]:
        return {
            "PATH": "/usr/bin:/bin",
            "TMPDIR": str(self.staging),
            "CurrentMediaDir": str(self.media),
            "KVL_OS": "linux",
            "KVL_Installer_EXE": "installer",
            "KVL_LIBPATH_VARNAME": "LD_LIBRARY_PATH",
            "FAULTS_REPORT": str(self.report),
        }

    def staged_from(self, unlisted: frozenset[Path] = frozenset()) -> list[tuple[str, Path]]:
        """Every file and directory of the staged copy with where it comes from; what comes twice
        is copied over what came first. The directories `unlisted` are taken for empty."""
        sources: list[tuple[str, Path]] = []

        def add(source: Path, destination: str) -> None:
            sources.append((destination, source))
            if source.is_dir() and source not in unlisted:
                for name in os.listdir(source):
                    add(source / name, f"{destination}/{name}")

        for source in self.copied():
            is_of_media = source.parent == self.media
            add(source, source.name if is_of_media else f"inst/{source.name}")
        return sources

    def copied(self) -> list[Path]:
        """What is copied as a whole, in this order."""
        found = [self.media / name for name in ("inst", *_DESCRIPTIONS)]
        if self.external:
            found += [self.external / name for name in ("common", "linux")]
        return found

    def staged_copy(self, staging_slash: str, unlisted: frozenset[Path] = frozenset()) -> Tree:
        """What a whole staged copy is to look like; the times of directories are left out."""
        tree: Tree = {}
        for path, source in self.staged_from(unlisted):
            status = source.stat()  # of what a link leads to
            if source.is_dir():
                tree[path] = Entry("directory", 0o777 & ~UMASK & 0o755, 0)
                continue
            mode = stat.S_IMODE(status.st_mode) & ~UMASK
            if path in tree:  # what is there already keeps its mode
                mode = tree[path].mode
            times = (int(status.st_mtime), int(status.st_atime))
            tree[path] = Entry("file", mode, *times, source.read_bytes())
        tree["remove.bat"] = Entry("file", 0o644, 0, 0, clean_up_script(staging_slash))
        return _without_own_times(tree)


def staged_as_seen(root: Path) -> Tree:
    """A staged copy in the form of World.staged_copy()."""
    tree: Tree = {}
    for path, entry in describe(root).items():
        times = {"modified": entry.modified // 10**9, "accessed": entry.accessed // 10**9}
        tree[path] = dataclasses.replace(entry, **times)
    return _without_own_times(tree)


# Directories and the script have times of their own; the installer has been read to be started.
def _without_own_times(tree: Tree) -> Tree:
    for path, entry in tree.items():
        if entry.kind == "directory" or path == "remove.bat":
            tree[path] = dataclasses.replace(entry, modified=0, accessed=0)
        elif path.endswith("/installer"):
            tree[path] = dataclasses.replace(entry, accessed=0)
    return tree


def clean_up_script(staging_slash: str) -> bytes:
    return (
        ":begin\n"
        f'rmdir /Q /S "{staging_slash}inst" 1>nul 2>nul\n'
        f'if exist "{staging_slash}inst" goto begin\n'
        f'rmdir /Q /S "{staging_slash}" 1>nul 2>nul\n'
    ).encode()


IDENTIFIER = re.compile(r"[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}")


def without_places(text: str, world: World) -> str:
    """The text without what differs from one world or launch to the next."""
    return IDENTIFIER.sub("<id>", text.replace(str(world.root), "{world}"))
