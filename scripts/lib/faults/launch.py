"""Launches under strace, and what was seen of them."""

from __future__ import annotations

import dataclasses
import os
import re
import signal
import subprocess
import time
from pathlib import Path

import world as worlds
from calls import Call, Fault
from world import World

LONGEST_SECONDS = 10.0
# The calls of the launcher, and of its child until that becomes the installer.
UNTIL_INSTALLER = ("-f", "-b", "execve")

# A descriptor that a launcher is started with and that its installer is to have.
_GIVEN = os.dup2(os.open(os.devnull, os.O_RDONLY), 77)


@dataclasses.dataclass
class Launch:
    """What was seen of one launch. Texts have no places of the world in them."""

    status: int  # negative: the number of the signal it died by
    out: list[str]
    err: list[str]
    report: list[str]  # of the installer; empty when none was started
    seconds: float
    made: list[Call]  # as far as strace was asked for them
    staging: str  # the path of the copy, as it stands; empty when nothing was staged
    staged: worlds.Tree
    strays: list[str]
    media_changes: list[str]

    def told(self) -> dict[str, object]:
        """What the user and the installer were told."""
        return {name: getattr(self, name) for name in ("status", "out", "err", "report")}

    @property
    def failed(self) -> list[Call]:
        return [call for call in self.made if call.result.endswith("(INJECTED)")]

    @property
    def errors(self) -> list[str]:
        return [line.removeprefix("ERROR: ") for line in self.err if line.startswith("ERROR: ")]


def read_log(text: str) -> list[Call]:
    """The calls in the log of strace, in its order; the first process is the launcher."""
    found: list[Call] = []
    processes: list[str] = []
    waiting: dict[tuple[str, str], int] = {}
    for line in text.splitlines():
        match = re.match(r"(?:(\d+) +)?(<\.\.\. )?(\w+)(?:\(| resumed>)(.*)", line)
        if not match:
            continue
        process, is_rest, name, rest = match.groups()
        arguments, separator, result = rest.rpartition(" = ")
        if is_rest and (process, name) in waiting:
            place = waiting.pop((process, name))
            found[place] = dataclasses.replace(found[place], result=result)
        elif not is_rest:
            processes.append(process)
            if not separator:
                arguments, result = rest, ""
                waiting[process, name] = len(found)
            found.append(Call(name, arguments, result, in_child=process != processes[0]))
    return found


def launch(program: Path, world: World, *tracing: str) -> Launch:
    """A launch, under strace when there are options for it."""
    world.tidy_up()
    log = world.root / "log"
    tracer = ["strace", *tracing, "-y", "-o", str(log)] if tracing else []
    begin = time.monotonic()
    process = subprocess.Popen(
        [*tracer, str(program), *world.arguments],
        env={**world.environment(), "FAULTS_GIVEN": str(_GIVEN)},
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        pass_fds=[_GIVEN],
        start_new_session=True,
        cwd=world.root,
    )
    try:
        # Both streams end with the last process that has them, so also with the installer.
        streams = process.communicate(timeout=LONGEST_SECONDS)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        streams = process.communicate()
    seconds = time.monotonic() - begin

    def lines(text: bytes) -> list[str]:
        plain = world.without_places(text.decode(errors="replace"))
        return plain.removesuffix("\n").split("\n") if plain else []

    out, err = map(lines, streams)
    report = world.report.read_bytes().replace(b"\0", b"\n") if world.report.exists() else b""
    made = read_log(log.read_text(errors="replace")) if tracing else []
    # Before anything reads it: reading may change its times.
    staging, staged = world.staged_copy()
    strays = [str(path) for path in world.staging.iterdir() if str(path) != staging]
    media_changes = worlds.changes(world.original, worlds.describe(world.medias))
    return Launch(
        *(process.returncode, out, err, lines(report), seconds, made),
        *(staging, staged, strays, media_changes),
    )


def failing_launch(program: Path, world: World, fault: Fault) -> Launch:
    """A launch with a failure. strace counts in each process on its own: without -f nothing but the
    launcher is touched, with -b nothing of the installer."""
    follow = UNTIL_INSTALLER if fault.call.in_child else ()
    only = ("-e", f"trace={fault.call.name}", "-e", "signal=none")
    return launch(program, world, *follow, *only, "-e", f"inject={fault.injection}")


def why_not_traceable() -> str:
    """Why strace cannot be used here; empty when it can."""
    command = ["strace", "-o", os.devnull, "-e", "inject=getppid:error=EPERM", "true"]
    try:
        tried = subprocess.run(command, capture_output=True, text=True, check=False)
    except FileNotFoundError:
        return "strace is missing"
    said = [*tried.stderr.strip().splitlines(), f"status {tried.returncode}"]
    return f"ptrace is not permitted here: {said[0]}" if tried.returncode != 0 else ""
