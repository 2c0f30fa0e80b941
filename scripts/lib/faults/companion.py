"""Calls of kvl-media in which something fails, and what may come of them."""

import os
import re
import signal
import subprocess
import tempfile
from functools import cache
from pathlib import Path
from typing import NamedTuple

from launch import LONGEST_SECONDS, Call, Surprise, calls_in, describe
from verdict import ACCEPTED, FAILED, MESSAGE, REMOVED_DIRECTORY, SUCCESS, Verdict

_FILES = {
    "payload/1/a": "a\n",
    "payload/1/b/program": "b\n",
    "payload/2/c": "c" * 70_000,  # read in more than one piece
    "9.txt": "MTBDIR=FENCE\n",  # a search for volumes above the media ends here
    "setup": "#!/bin/sh\n",
    "launcher": "#!/bin/sh\n",
}
_MAKE = "make --jobs 1 --presorted --layout sibling --tag TAG --installer setup --launcher launcher payload"
# For each kind of call: its arguments, and what of the media is harmed before, in bytes of a file.
KINDS: dict[str, tuple[str, str]] = {
    "make": (f"{_MAKE} media", ""),
    "check": ("check media/1", ""),
    "check of a media without a marker": ("check media/1", "2/2.txt"),
    "verify": ("verify media", ""),
    "verify of a damaged media": ("verify media", "2/payload/2/c"),
}
_ABOUT_THE_PATH = ("EACCES", "ELOOP", "ENAMETOOLONG", "ENOENT")
OTHER_ANSWER = "the disc says of a path that it is closed or missing, and otherwise the next time"


class Seen(NamedTuple):
    """What was seen of one call."""

    status: int
    out: str
    err: str
    made: list[Call]
    tree: dict[str, tuple[int, bytes]]  # all that lies there, the media among it

    @property
    def failed(self) -> list[Call]:
        return [call for call in self.made if call.remark.endswith("(INJECTED)")]


class CompanionJudge:
    """Tries calls of one kind, and judges them by one without failures."""

    def __init__(self, program: Path, kind: str) -> None:
        self._program, self._kind = program, kind
        self._arguments, self._harmed = KINDS[kind]
        with tempfile.TemporaryDirectory(prefix="kvl-faults.") as root:
            self.usual = self._run(Path(root))
        if self.usual.status != bool(self._harmed):
            raise Surprise(f"{kind}: without failures, too: {self.usual.out}{self.usual.err}")

    def judge(self, fault: str) -> Verdict:
        """Of a call in which strace makes this of a system call."""
        name, _, failure = fault.partition(":")
        options = (f"--trace={name}", "--signal=none", f"--inject={name}:{failure}")
        with tempfile.TemporaryDirectory(prefix="kvl-faults.") as root:
            try:
                seen = self._run(Path(root), *options)
                return self._judge(Path(root), seen, is_once=failure.split("=")[-1].isdigit())
            except Surprise as surprise:
                return (FAILED, str(surprise))

    def _judge(self, root: Path, seen: Seen, is_once: bool) -> Verdict:
        if not seen.failed:
            raise Surprise("the call to fail was not made")
        if seen.status not in (0, 1, 2, 3, 4):
            raise Surprise(f"it ended with {seen.status}: {seen.err}")
        has_report = self._kind != "make" or seen.status == 0
        if has_report and seen.status != 2 and any(is_of_report(call) for call in seen.failed):
            raise Surprise(f"the report is lost, and the status is {seen.status}")
        is_removed = any((c.name, c.error) == ("getdents64", "ENOENT") for c in seen.failed)
        if self._kind == "make" and seen.tree != self.usual.tree and not is_removed:
            if seen.status == 0 or self._looks_whole(root):
                raise Surprise(f"status {seen.status}, and a media that only looks whole")
        if seen.status == 0:
            if is_removed and not self._harmed:
                return (ACCEPTED, f"kvl-media {self._kind}: {REMOVED_DIRECTORY}")
            # The check at the end of make only warns; what was made is compared instead.
            if self._harmed or (self._kind != "make" and seen.out != self.usual.out):
                raise Surprise(f"it calls fine what it has not seen: {seen.out}")
            there = {str(root / "w" / name) for name in self.usual.tree}
            unseen = [c.path for c in seen.failed if is_last_look(c) and c.path in there]
            is_other = is_once and seen.failed[0].error in _ABOUT_THE_PATH
            if unseen and self._kind == "check" and is_other:
                return (ACCEPTED, f"kvl-media {self._kind}: {OTHER_ANSWER}")
            if unseen and self._kind != "make":
                raise Surprise(f"it calls fine what it could not look at: {unseen[0]}")
            return (SUCCESS, "")
        if not seen.out + seen.err and not any(is_of_console(call) for call in seen.failed):
            raise Surprise(f"status {seen.status}, and nothing is said")
        return (MESSAGE, f"kvl-media {self._kind.split()[0]}, status {seen.status}")

    def _looks_whole(self, root: Path) -> bool:
        calls = ("check media/1", "verify media")
        return any(self._start(root, call).returncode == 0 for call in calls)

    # Makes what the call needs in `root`, and calls with what strace is told.
    def _run(self, root: Path, *tracing: str) -> Seen:
        for name, text in _FILES.items():
            path = root / "w" / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
            path.chmod(0o755 if "program" in name or text.startswith("#!") else 0o644)
        (root / "w/payload/1/link").symlink_to("a")
        (root / "t").mkdir()
        if self._kind != "make":
            self._start(root, f"{_MAKE} media").check_returncode()
        if self._harmed:
            (root / "w/media" / self._harmed).write_bytes(b"other")
        before = describe(root / "w")
        tracer = ["strace", *tracing, "-y", "-o", f"{root}/log"]
        ran = self._start(root, self._arguments, *tracer)
        if ran.returncode == -signal.SIGKILL:
            raise Surprise(f"it took more than {LONGEST_SECONDS} s")
        after = describe(root / "w")
        touched = [name for name in before if before[name] != after.get(name)]
        if touched and (self._kind != "make" or touched != ["."]):
            raise Surprise(f"it has changed what it was given: {touched}")
        tree = {name: (entry.mode, entry.contents) for name, entry in after.items()}
        out, err = ((root / name).read_text(errors="replace") for name in ("out", "err"))
        places = [re.sub(r"[0-9]+ bytes", "", text.replace(str(root), "")) for text in (out, err)]
        return Seen(ran.returncode, *places, calls_in(root), tree)

    def _start(self, root: Path, arguments: str, *tracer: str) -> subprocess.CompletedProcess[bytes]:
        with (root / "out").open("wb") as out, (root / "err").open("wb") as err:
            return subprocess.run(
                [*"timeout -s KILL".split(), LONGEST_SECONDS, *tracer, self._program]
                + arguments.split(),
                env={"PATH": "/usr/bin:/bin", "TMPDIR": f"{root}/t", "SOURCE_DATE_EPOCH": "1"},
                stdin=subprocess.DEVNULL,
                stdout=out,
                stderr=err,
                cwd=root / "w",
            )


def is_of_console(call: Call) -> bool:
    return call.name in ("write", "writev") and call.arguments.startswith(("1<", "2<"))


def is_of_report(call: Call) -> bool:
    """A failure by which a part of standard output does not arrive."""
    is_given_up = call.error not in ("EINTR", "EAGAIN")
    is_end = call.name == "close" and call.path.endswith("/out")
    return is_given_up and (is_end or (is_of_console(call) and call.arguments.startswith("1<")))


def is_last_look(call: Call) -> bool:
    """That is not made again, or by another call. An early end is the usual one of a small file, and
    instead of a file its directory can be asked for its file system."""
    is_made_again = call.error in ("EINTR", "EAGAIN", "") or (call.name, call.error) == ("faccessat2", "EPERM")
    return not is_made_again and call.name not in ("close", "statfs")
