"""The medias that are launched, and how directory trees are described."""

from __future__ import annotations

import os
import re
import shutil
import stat
import time
from pathlib import Path
from typing import NamedTuple

INSTALLER_STATUS = 37
UMASK = 0o022
# Modified long ago, with a part of a second that a copy drops, and read after all that happens
# here, which makes most file systems leave the time of the last reading alone for a day.
_TIMES = (time.time_ns() + 3600 * 10**9, 1_600_000_000_123_456_789)
IDENTIFIER = re.compile(r"[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}")

# Reports what it was given: that it was started, whether it lacks the descriptor, its signal
# settings, arguments and environment. Further descriptors tell nothing: a close that strace lets
# fail is none.
_INSTALLER = f"""#!/bin/sh
exec >>"$FAULTS_REPORT"
echo started
if [ ! -e "/proc/$$/fd/$FAULTS_GIVEN" ]; then echo 'a descriptor is lost'; fi
while read -r name value; do
  case $name in SigBlk: | SigIgn:) echo "$name $value" ;; esac
done </proc/$$/status
cat /proc/$$/cmdline /proc/$$/environ
exit {INSTALLER_STATUS}
"""
_DESCRIPTIONS = ("meta.TOCxml", "media.xml", "media.db", "StartGUI.sh", "StartTUI.sh")
_OUTER, _SET = "MTBDIR=OUTER\n", "MTBDIR=SET\n"
_MODES = {"notes": 0o664, "data": 0o400, "installer": 0o755}
# Where the media of each kind of launch is, and what else there is.
_PLACES: dict[str, tuple[str, dict[str, str]]] = {
    # An outer set of volumes, of which the third is missing: every layout is looked for.
    "staged": ("1/m/1", {"1/1.txt": _OUTER, "2/2.txt": _OUTER, "2/m/2/2.txt": _SET}),
    "in place": ("1", {"2/2.txt": _SET, "3/3.txt": _SET}),
    # So many volumes that the launcher lists directories instead of trying each number.
    "external": (
        "1",
        {
            "1/inst/volumes.txt": "120\n",
            "2/2.txt": _SET,
            "x/1/inst/common/notes": "newer notes\n",
            "x/1/inst/common/more": "more\n",
            "x/1/inst/linux/code/bin/installer": _INSTALLER,
            "x/1/inst/other/not wanted": "",
        },
    ),
    "management": ("a/b/1", {}),
}
KINDS = tuple(_PLACES)


class Entry(NamedTuple):
    """A file, directory or link, with its contents or its target."""

    mode: int
    modified: int = 0
    accessed: int = 0
    contents: bytes = b""


Tree = dict[str, Entry]


def describe(root: Path) -> Tree:
    """Everything below `root` by its relative path; times in nanoseconds."""
    tree: Tree = {}
    for path in root.rglob("*"):
        status, contents = path.lstat(), b""
        if path.is_symlink():
            contents = os.fsencode(path.readlink())
        elif path.is_file():
            contents = path.read_bytes()
        entry = Entry(status.st_mode, status.st_mtime_ns, status.st_atime_ns, contents)
        tree[str(path.relative_to(root))] = entry
    return tree


def changes(before: Tree, after: Tree) -> list[str]:
    """What is no longer as it was; the time of the last reading does not count."""
    seen = [{p: e._replace(accessed=0) for p, e in tree.items()} for tree in (before, after)]
    return sorted(path for path in before | after if seen[0].get(path) != seen[1].get(path))


class World:
    """One media with all that belongs to it, for one kind of launch, and a place to stage in."""

    def __init__(self, root: Path, kind: str) -> None:
        shutil.rmtree(root, ignore_errors=True)
        self.root, self.kind = root, kind
        self.medias, self.staging, self.report = root / "w", root / "t", root / "report"
        self.staging.mkdir(parents=True)
        place, others = _PLACES[kind]
        self.media, self.external = self.medias / place, self.medias / "x/1/inst"
        self.arguments = ["passed on"]
        if kind == "external":
            self.arguments += ["-installerPath", str(self.medias / "x")]
        if kind == "management":
            self.arguments += ["-SoftMgt", "-List"]
        inside = {
            "1.txt": _SET,
            "inst/volumes.txt": "3\n",
            "inst/common/notes": "notes\n",
            "inst/common/sub/data": "data\n",
            # More than fits into the launcher's buffer, so that it is copied in two pieces.
            "inst/linux/big": "0123456789" * 7000,
            **({} if kind == "external" else {"inst/linux/code/bin/installer": _INSTALLER}),
            **{name: name + "\n" for name in _DESCRIPTIONS},
        }
        # Whatever cannot be found: the search for volumes ends here and not in the root directory.
        files = {"9.txt": "MTBDIR=FENCE\n"}
        files |= {f"{place}/{name}": text for name, text in inside.items()} | others
        for name, text in files.items():
            path = self.medias / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
            path.chmod(_MODES.get(path.name, 0o644))
        (self.media / "inst/common/link").symlink_to("notes")
        (self.media / "inst/common/way").symlink_to("sub")
        (self.media / "inst/empty").mkdir()
        for path in self.medias.rglob("*"):
            if not path.is_symlink():
                os.utime(path, ns=_TIMES)
        self.original = describe(self.medias)

    def tidy_up(self) -> None:
        """Makes it ready for the next launch."""
        self.report.unlink(missing_ok=True)
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

    def without_places(self, text: str) -> str:
        """The text without what differs from one world or launch to the next."""
        return IDENTIFIER.sub("<id>", text.replace(str(self.root), "{world}"))

    def sources_of(self, place: str) -> list[Path]:
        """Where that of the staged copy may come from; the last one that is there is what stays."""
        return [self.media / place, self.external / place.removeprefix("inst/")]

    def is_whole(self, staged: Tree) -> bool:
        """Whether every file that is to be staged is there, with its contents and its time."""
        files = {str(path.relative_to(self.media)): path for path in self.media.rglob("*")}
        for path in (*self.external.glob("common/**/*"), *self.external.glob("linux/**/*")):
            files[f"inst/{path.relative_to(self.external)}"] = path
        return all(
            (entry := staged.get(place)) is not None
            and entry.contents == path.read_bytes()
            and entry.modified == int(path.stat().st_mtime) * 10**9
            for place, path in files.items()
            if path.is_file() and place.split("/")[0] in ("inst", *_DESCRIPTIONS)
        )

    def staged_copy(self) -> tuple[str, Tree]:
        """Its path and what is in it. Directories and the clean-up script have times of their own,
        which are left out; the installer has been read to be started."""
        for root in self.staging.iterdir():
            if IDENTIFIER.fullmatch(root.name):
                tree = describe(root)
                for path, entry in tree.items():
                    if stat.S_ISDIR(entry.mode) or path == "remove.bat":
                        contents = self.without_places(entry.contents.decode()).encode()
                        tree[path] = Entry(entry.mode, contents=contents)
                    elif path.endswith("/installer"):
                        tree[path] = entry._replace(accessed=0)
                return str(root), tree
        return "", {}
