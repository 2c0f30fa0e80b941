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

# A descriptor that a launcher is started with and that its installer is to have.
_GIVEN = os.dup2(os.open(os.devnull, os.O_RDONLY), 77)


@dataclasses.dataclass
class Launch:
    """What was seen of one launch. Texts have no places of the world in them."""

    status: int = 0  # negative: the number of the signal it died by
    out: list[str] = dataclasses.field(default_factory=list)
    err: list[str] = dataclasses.field(default_factory=list)
    report: list[str] = dataclasses.field(default_factory=list)  # empty: no installer started
    arguments: list[str] = dataclasses.field(default_factory=list)
    environment: list[str] = dataclasses.field(default_factory=list)
    staged: worlds.Tree = dataclasses.field(default_factory=dict)
    staging_slash: str = ""  # as it stands, empty when nothing was staged
    strays: list[str] = dataclasses.field(default_factory=list)
    media_changes: list[str] = dataclasses.field(default_factory=list)
    seconds: float = 0.0
    failed: list[Call] = dataclasses.field(default_factory=list)

    def told(self) -> tuple[object, ...]:
        """All but the staged copy: what the user and the installer were told."""
        return (self.status, self.out, self.err, self.report, self.arguments, self.environment)


_LINE = re.compile(r"^(?:(\d+) +)?(\w+)\((.*)$")
_RESUMED = re.compile(r"^(?:(\d+) +)?<\.\.\. (\w+) resumed>(.*)$")


def read_log(text: str) -> list[Call]:
    """The calls in the log of strace, in its order; the first process is the launcher."""
    found: list[Call] = []
    launcher: str | None = None
    waiting: dict[tuple[str | None, str], int] = {}
    for line in text.splitlines():
        if match := _LINE.match(line):
            process, name, rest = match.groups()
            launcher = launcher if found else process
            arguments, separator, result = rest.rpartition(" = ")
            if not separator:
                arguments, result = rest, ""
                waiting[process, name] = len(found)
            found.append(Call(name, arguments, result, in_child=process != launcher))
        elif match := _RESUMED.match(line):
            process, name, rest = match.groups()
            place = waiting.pop((process, name), None)
            if place is not None:
                result = rest.rpartition(" = ")[2]
                found[place] = dataclasses.replace(found[place], result=result)
    return found


class Launcher:
    """The program under test, and how it is launched."""

    def __init__(self, program: Path) -> None:
        self.program = program

    def plain(self, world: World) -> Launch:
        """A launch without any failure."""
        return self._run(world, [])

    def recorded(self, world: World) -> tuple[Launch, list[Call]]:
        """A launch without any failure, and the calls of the launcher and of its child until
        that becomes the installer."""
        log = world.root / "log"
        launch = self._run(world, ["strace", "-f", "-b", "execve", "-y", "-o", str(log)])
        return launch, read_log(log.read_text(errors="replace"))

    def failing(self, world: World, fault: Fault) -> Launch:
        """A launch with a failure. strace counts in each process on its own: without -f nothing
        but the launcher is touched, with -b nothing of the installer."""
        log = world.root / "log"
        follow = ["-f", "-b", "execve"] if fault.in_child else []
        only = ["-e", f"trace={fault.call}", "-e", "signal=none"]
        inject = ["-e", f"inject={fault.injection}"]
        launch = self._run(world, ["strace", *follow, "-y", *only, *inject, "-o", str(log)])
        made = read_log(log.read_text(errors="replace"))
        launch.failed = [call for call in made if call.result.endswith("(INJECTED)")]
        return launch

    def _run(self, world: World, tracer: list[str]) -> Launch:
        world.tidy_up()
        command = [*tracer, str(self.program), *world.arguments]
        environment = {**world.environment(), "FAULTS_GIVEN": str(_GIVEN)}
        begin = time.monotonic()
        process = subprocess.Popen(
            command,
            env=environment,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            pass_fds=[_GIVEN],
            start_new_session=True,
            cwd=world.root,
        )
        try:
            # Both streams end with the last process that has them, so also with the installer.
            out, err = process.communicate(timeout=LONGEST_SECONDS)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            out, err = process.communicate()
        seconds = time.monotonic() - begin
        launch = self._seen(world, process.returncode, out, err)
        launch.seconds = seconds
        return launch

    @staticmethod
    def _seen(world: World, status: int, out: bytes, err: bytes) -> Launch:
        def lines(text: bytes) -> list[str]:
            plain = worlds.without_places(text.decode(errors="replace"), world)
            return plain.removesuffix("\n").split("\n") if plain else []

        def records(name: str) -> list[str]:
            path = Path(f"{world.report}.{name}")
            plain = path.read_bytes().decode(errors="replace") if path.exists() else ""
            return worlds.without_places(plain, world).removesuffix("\0").split("\0")

        launch = Launch(status, lines(out), lines(err))
        if world.report.exists():
            launch.report = world.report.read_text().splitlines()
            launch.arguments = records("arguments")
            launch.environment = sorted(records("environment"))
        found = sorted(world.staging.iterdir())
        if found and worlds.IDENTIFIER.fullmatch(found[0].name):
            # Before anything reads it: reading may change its times.
            launch.staged = worlds.staged_as_seen(found[0])
            launch.staging_slash = f"{found[0]}/"
            found = found[1:]
        launch.strays = [str(path) for path in found]
        launch.media_changes = worlds.changes(world.original, worlds.describe(world.medias))
        return launch


def why_not_traceable() -> str:
    """Why strace cannot be used here; empty when it can."""
    try:
        tried = subprocess.run(
            ["strace", "-o", os.devnull, "-e", "inject=getppid:error=EPERM", "true"],
            capture_output=True,
            text=True,
            check=False,
        )
    except FileNotFoundError:
        return "strace is missing"
    if tried.returncode == 0:
        return ""
    said = tried.stderr.strip().splitlines()
    return "ptrace is not permitted here: " + (said[0] if said else f"status {tried.returncode}")


