"""Runs of kvl-media in which a system call fails, and the permitted results."""

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
    "payload/2/c": "c" * 70_000,  # too long to be read at once
    "9.txt": "MTBDIR=FENCE\n",  # ends a search for volumes above the media
    "setup": "#!/bin/sh\n",
    "launcher": "#!/bin/sh\n",
}
_MAKE = "make --jobs 1 --presorted --layout sibling --tag TAG --installer setup --launcher launcher payload"
# For each kind of run: the arguments, and the file of the media that is damaged before.
KINDS: dict[str, tuple[str, str]] = {
    "make": (f"{_MAKE} media", ""),
    "check": ("check media/1", ""),
    "check of a media without a marker": ("check media/1", "2/2.txt"),
    "verify": ("verify media", ""),
    "verify of a damaged media": ("verify media", "2/payload/2/c"),
}
_ABOUT_THE_PATH = ("EACCES", "ELOOP", "ENAMETOOLONG", "ENOENT")
OTHER_ANSWER = "the disc calls a path closed or missing, but only once"


class Seen(NamedTuple):
    """The observations of one run."""

    status: int
    out: str
    err: str
    made: list[Call]
    tree: dict[str, tuple[int, bytes]]  # all files of the run, including the media

    @property
    def failed(self) -> list[Call]:
        return [call for call in self.made if call.remark.endswith("(INJECTED)")]


class CompanionJudge:
    """Tries runs of one kind, and compares them with one without failures."""

    def __init__(self, program: Path, kind: str) -> None:
        self._program, self._kind = program, kind
        self._arguments, self._harmed = KINDS[kind]
        with tempfile.TemporaryDirectory(prefix="kvl-faults.") as root:
            self.usual = self._run(Path(root))
        if self.usual.status != bool(self._harmed):
            raise Surprise(f"{kind} fails without a failing call: {self.usual.out}{self.usual.err}")

    def judge(self, fault: str) -> Verdict:
        """Judges a run in which strace replaces the result of a system call."""
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
            raise Surprise("the run did not make the call that should fail")
        if seen.status not in (0, 1, 2, 3, 4):
            raise Surprise(f"it ended with {seen.status}: {seen.err}")
        has_report = self._kind != "make" or seen.status == 0
        if has_report and seen.status != 2 and any(is_of_report(call) for call in seen.failed):
            raise Surprise(f"the report is lost, but the status is {seen.status}")
        is_removed = any((c.name, c.error) == ("getdents64", "ENOENT") for c in seen.failed)
        if self._kind == "make" and seen.tree != self.usual.tree and not is_removed:
            if seen.status == 0 or self._looks_whole(root):
                raise Surprise(f"status {seen.status}, but the media only looks complete")
        if seen.status == 0:
            if is_removed and not self._harmed:
                return (ACCEPTED, f"kvl-media {self._kind}: {REMOVED_DIRECTORY}")
            # The check at the end of make only warns, so this compares the media.
            if self._harmed or (self._kind != "make" and seen.out != self.usual.out):
                raise Surprise(f"it reports no problem, although it missed something: {seen.out}")
            there = {str(root / "w" / name) for name in self.usual.tree}
            unseen = [c.path for c in seen.failed if is_last_look(c) and c.path in there]
            is_other = is_once and seen.failed[0].error in _ABOUT_THE_PATH
            if unseen and self._kind == "check" and is_other:
                return (ACCEPTED, f"kvl-media {self._kind}: {OTHER_ANSWER}")
            if unseen and self._kind != "make":
                raise Surprise(f"it reports no problem, but could not look at: {unseen[0]}")
            return (SUCCESS, "")
        if not seen.out + seen.err and not any(is_of_console(call) for call in seen.failed):
            raise Surprise(f"status {seen.status} without a message")
        return (MESSAGE, f"kvl-media {self._kind.split()[0]}, status {seen.status}")

    def _looks_whole(self, root: Path) -> bool:
        calls = ("check media/1", "verify media")
        return any(self._start(root, call).returncode == 0 for call in calls)

    # Makes the files of the run in `root`, and runs kvl-media under strace with these options.
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
            raise Surprise(f"it has changed its input: {touched}")
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
    """Returns true if this failure loses a part of standard output."""
    is_given_up = call.error not in ("EINTR", "EAGAIN")
    is_end = call.name == "close" and call.path.endswith("/out")
    return is_given_up and (is_end or (is_of_console(call) and call.arguments.startswith("1<")))


def is_last_look(call: Call) -> bool:
    """Returns true if no later call replaces this one. An early end of a file is the usual end of a
    small one, and a directory can tell the file system instead of its file."""
    is_made_again = call.error in ("EINTR", "EAGAIN", "") or (call.name, call.error) == ("faccessat2", "EPERM")
    return not is_made_again and call.name not in ("close", "statfs")
