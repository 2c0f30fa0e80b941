"""Small media, launches from them under strace, and the observations of each launch."""

import os
import re
import signal
import stat
import subprocess
from pathlib import Path
from typing import NamedTuple

LONGEST_SECONDS = "10"
# Traces the launcher, and its child until that becomes the installer.
UNTIL_INSTALLER = ("-ff", "-b", "execve")
_IDENTIFIER = re.compile(r"[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}")
_OUTER, _SET = "MTBDIR=OUTER\n", "MTBDIR=SET\n"
_MODIFIED = 1_600_000_000_123_456_789  # long ago, with a part of a second that a copy drops
# A descriptor that the launcher inherits and that its installer must have.
_GIVEN = os.dup2(os.open(os.devnull, os.O_RDONLY), 77)

# Reports its descriptor, signal settings, arguments and environment. Other descriptors tell
# nothing: a close that strace lets fail does not happen. The script does not start programs before
# it reads its signals, because they differ while it waits for one.
_INSTALLER = f"""#!/bin/sh
exec >>"$FAULTS_REPORT"
echo started
if [ ! -e /proc/$$/fd/{_GIVEN} ]; then echo 'a descriptor is lost'; fi
while read -r name value; do
  case $name in SigBlk: | SigIgn:) echo "$name $value" ;; esac
done </proc/$$/status
cat /proc/$$/cmdline /proc/$$/environ
exit 37
"""
_ON_MEDIA = {
    "1.txt": _SET,
    "inst/volumes.txt": "3\n",
    "inst/common/notes": "notes\n",
    "inst/common/sub/data": "data\n",
    # Does not fit into the launcher's buffer, so that it is copied in two pieces.
    "inst/linux/big": "0123456789" * 7000,
    **dict.fromkeys(("meta.TOCxml", "media.xml", "media.db", "StartGUI.sh", "StartTUI.sh"), "text"),
}
_MODES = {"notes": 0o664, "data": 0o400, "installer": 0o755}
# For each kind of launch: the media's place, the arguments, and further files.
KINDS: dict[str, tuple[str, list[str], dict[str, str]]] = {
    # An outer set of volumes without the third, so that the launcher tries every layout.
    "staged": ("1/m/1", [], {"1/1.txt": _OUTER, "2/2.txt": _OUTER, "2/m/2/2.txt": _SET}),
    "in place": ("1", [], {"2/2.txt": _SET, "3/3.txt": _SET}),
    # So many volumes that the launcher lists directories instead of trying each number.
    "external": (
        "1",
        ["-installerPath", "{medias}/x"],
        {
            "1/inst/volumes.txt": "120\n",
            "2/2.txt": _SET,
            "x/1/inst/common/notes": "newer notes\n",
            "x/1/inst/common/more": "more\n",
            "x/1/inst/other/not wanted": "",
        },
    ),
    "management": ("a/b/1", ["-SoftMgt", "-List"], {}),
}


class Surprise(Exception):
    """The launch did not end in a permitted way."""


class Entry(NamedTuple):
    mode: int
    modified: int  # in nanoseconds
    contents: bytes


def describe(root: Path) -> dict[str, Entry]:
    """Returns everything below `root`, by its relative path."""
    tree = {}
    for path in root.rglob("*"):
        status, contents = path.lstat(), path.read_bytes() if path.is_file() else b""
        tree[str(path.relative_to(root))] = Entry(status.st_mode, status.st_mtime_ns, contents)
    return tree


class Call(NamedTuple):
    """A system call as strace writes it."""

    label: str  # the name; " (child)" follows for a call of the launcher's child
    number: int  # among the calls of this label
    arguments: str
    error: str  # the error's name; empty without one
    remark: str  # what else strace writes about the result

    @property
    def name(self) -> str:
        return self.label.split()[0]

    @property
    def path(self) -> str:
        """The path it names, behind that of its descriptor; without one, the descriptor's path."""
        named = re.search(r'"((?:[^"\\]|\\.)*)"', self.arguments)
        opened = re.match(r"\d+<([^>]*)>", self.arguments)
        if self.name in ("read", "write", "writev", "getdents64") or not (named and named[1]):
            return opened[1] if opened else ""
        return os.path.join(opened[1] if opened else "", named[1])


def calls_in(root: Path) -> list[Call]:
    """Returns the calls in the log of each process, those of the program itself first."""
    made: list[Call] = []
    for log in sorted(root.glob("log*"), key=lambda log: (len(log.name), log.name)):
        counts: dict[str, int] = {}
        suffix = " (child)" if made else ""
        for line in log.read_text(errors="replace").splitlines():
            if match := re.match(r"(\w+)\((?:(.*)\) += )?(?:-1 (E[A-Z0-9]+))?(.*)", line):
                name, *rest = match.groups(default="")
                counts[name] = counts.get(name, 0) + 1
                made.append(Call(name + suffix, counts[name], *rest))
    return made


class Launch(NamedTuple):
    """The observations of one launch. Texts contain no places of the world."""

    status: int  # negative: the number of the signal it died by
    out: list[str]
    err: list[str]
    report: list[str]  # of the installer; empty if none started
    made: list[Call]  # the calls that strace traced
    staging: str  # the path of the staged copy; empty without one
    staged: dict[str, Entry]

    @property
    def told(self) -> list[str]:
        """What the user and the installer learned."""
        lines = ["output:", *self.out, "errors:", *self.err, "installer:", *self.report]
        return [f"status {self.status}", *lines]

    @property
    def failed(self) -> list[Call]:
        return [call for call in self.made if call.remark.endswith("(INJECTED)")]

    @property
    def end(self) -> str:
        """The status and the error messages, one per line."""
        errors = [line.removeprefix("ERROR: ") for line in self.err if line.startswith("ERROR: ")]
        return "\n".join([str(self.status), *errors])


class World:
    """The media of one launch, everything beside it, and a temporary directory."""

    def __init__(self, root: str, kind: str) -> None:
        self.root = Path(root).resolve()
        self.medias, self.staging = self.root / "w", self.root / "t"
        self.staging.mkdir()
        place, arguments, others = KINDS[kind]
        self.media, self.external = self.medias / place, self.medias / "x/1/inst"
        self.arguments = [text.format(medias=self.medias) for text in ["passed on", *arguments]]
        home = "x/1" if kind == "external" else place
        # Whatever the launcher cannot find, its search for volumes ends at 9.txt, not in the root
        # directory.
        files = {"9.txt": "MTBDIR=FENCE\n", f"{home}/inst/linux/code/bin/installer": _INSTALLER}
        files |= {f"{place}/{name}": text for name, text in _ON_MEDIA.items()} | others
        for name, text in files.items():
            path = self.medias / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
            path.chmod(_MODES.get(path.name, 0o644))
            os.utime(path, ns=(_MODIFIED, _MODIFIED))
        (self.media / "inst/common/link").symlink_to("notes")
        (self.media / "inst/common/way").symlink_to("sub")
        (self.media / "inst/empty").mkdir()

    def without_places(self, text: str) -> str:
        """Returns the text without the parts that differ between worlds or launches."""
        return _IDENTIFIER.sub("<id>", text.replace(str(self.root), "{world}"))

    def launch(self, program: Path, *tracing: str) -> Launch:
        """Launches under strace with these options."""
        before, report = describe(self.medias), self.root / "report"
        report.touch()
        tracer = ["strace", *tracing, "-y", "-o", f"{self.root}/log"]
        # When its time is over, "timeout" kills all processes that it started.
        ran = subprocess.run(
            ["timeout", "-s", "KILL", LONGEST_SECONDS, *tracer, program, *self.arguments],
            env={
                "PATH": "/usr/bin:/bin",
                "TMPDIR": str(self.staging),
                "CurrentMediaDir": str(self.media),
                "KVL_OS": "linux",
                "KVL_Installer_EXE": "installer",
                "KVL_LIBPATH_VARNAME": "LD_LIBRARY_PATH",
                "FAULTS_REPORT": str(report),
            },
            stdin=subprocess.DEVNULL,
            capture_output=True,
            errors="replace",
            pass_fds=[_GIVEN],
            cwd=self.root,
        )
        if ran.returncode == -signal.SIGKILL:
            raise Surprise(f"it took more than {LONGEST_SECONDS} s")
        after = describe(self.medias)
        if changed := [place for place in before | after if before.get(place) != after.get(place)]:
            raise Surprise(f"the launch changed the media: {changed}")
        texts = (ran.stdout, ran.stderr, report.read_text(errors="replace").replace("\0", "\n"))
        out, err, reported = (self.without_places(text).splitlines() for text in texts)
        return Launch(ran.returncode, out, err, reported, calls_in(self.root), *self._staged_copy())

    def _staged_copy(self) -> tuple[str, dict[str, Entry]]:
        """Returns its path and contents, without the times of directories and the clean-up script."""
        found = list(self.staging.iterdir())
        if not found:
            return "", {}
        if len(found) > 1 or not _IDENTIFIER.fullmatch(found[0].name):
            raise Surprise(f"unexpected in the temporary directory: {found}")
        tree = describe(found[0])
        for path, entry in tree.items():
            if stat.S_ISDIR(entry.mode) or path == "remove.bat":
                text = self.without_places(entry.contents.decode())
                tree[path] = Entry(entry.mode, 0, text.encode())
        return str(found[0]), tree
