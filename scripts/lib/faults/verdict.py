"""Whether a launch with a failure in it ended as it may end, and the name of that end."""

from __future__ import annotations

import dataclasses
import errno
import os
import re
import shutil
import signal
import stat
import threading
from pathlib import Path
from typing import NamedTuple

from calls import Call
from launch import LONGEST_SECONDS, Launch, launch
from world import INSTALLER_STATUS, Entry, World

SUCCESS, MESSAGE, ACCEPTED, FAILED = OUTCOMES = ("success", "message", "accepted", "FAILED")

# The ends that are documented to be silent. No other is accepted.
NO_VOLUMES_FILE = "volumes.txt cannot be reached: a media of one volume"
EMPTY_VOLUMES_FILE = "volumes.txt cannot be read: the media is not complete"
NO_MARKER = "a marker that cannot be read is an absent volume"
NO_LIST_ABOVE = "a directory above the media that cannot be listed has no marker"
EMPTY_DIRECTORY = "a directory that is closed or missing, or heads a copy, is staged empty"
REMOVED_DIRECTORY = "the list of a directory that was removed meanwhile ends there"
SHORT_FILE = "a file that ends early is staged as far as it goes"
NO_SCRIPT = "the clean-up script cannot be written whole"
LOST_OUTPUT = "console output is lost"

_NOT_WAITED_FOR = r'Cannot wait for process ".*'
# Of a launch without installer: the status, its meaning and its error messages.
_REFUSALS = {
    (1, "the installer is not found"): [
        r'The installer is not found, please read the file "ReadMe_UNIX\.txt"\.'
    ],
    (1, "the installer cannot be copied"): [
        r"Cannot copy the installer to a temporary directory: \{world\}/t/<id>/",
        r"(?:(?:lstat|mkdir|opendir|readdir|SetTime) - |Cannot (?:stat|read|write into) ).+"
        r" - (?P<reason>(?:(?! - ).)+)",
    ],
    (255, "the installer cannot be started or waited for"): [_NOT_WAITED_FOR],
    (255, "the process cannot be created"): [r'Cannot create process ".*', _NOT_WAITED_FOR],
}
# What is said on the way to it and not in a launch without failures.
_ALSO_SAID = re.compile(
    r"""ERROR:\ .*|\ {7}(?:Please\ make\ sure\ you\ copied\ .*)?
    |\ INFO:\ (?:No\ installer\ in\ the\ current\ media\.
      |Invalid\ Installer\ media,\ "\S+"\ does\ not\ exist
      |Installer\ executable\ "\S+"\ does\ not\ exist,\ trying\ without\ sub\ dir\ "1")
    |\ WARN:\ (?:Missing\ volumes\.\ Please\ make\ sure\ you\ copied\ everything\ correctly\.
      |Cannot\ open\ \d+\.txt\ in\ \S+|1\.txt\ not\ found\ or\ not\ accessible\ in:\ \S+)""",
    re.VERBOSE,
)


class Verdict(NamedTuple):
    outcome: str
    name: str


class Surprise(Exception):
    """The launch did not end as it may end."""


# Files that could not be read, in the world: how each is as if it were ("missing" or "empty"), and
# the name of that.
Absent = dict[Path, tuple[str, str]]


class Judge:
    """Judges the launches of one kind by what a launch without failures is like."""

    def __init__(self, program: Path, usual: Launch, workplace: Path) -> None:
        self._program, self._usual, self._workplace = program, usual, workplace
        self._twins: dict[frozenset[tuple[str, str]], Launch] = {}
        self._lock = threading.Lock()

    def judge(self, world: World, seen: Launch) -> Verdict:
        try:
            if seen.seconds > LONGEST_SECONDS:
                raise Surprise(f"it took more than {LONGEST_SECONDS:.0f} s")
            if seen.media_changes:
                raise Surprise("the media was changed: " + ", ".join(seen.media_changes))
            if seen.strays:
                raise Surprise("unexpected in the temporary directory: " + ", ".join(seen.strays))
            if not seen.failed:
                raise Surprise("the call to fail was not made")
            if seen.status < 0:
                return self._judge_abort(world, seen)
            return (self._judge_start if seen.report else self._judge_refusal)(world, seen)
        except Surprise as surprise:
            return Verdict(FAILED, str(surprise))

    # An uncaught exception of the media scan, about an entry of a directory above the media.
    def _judge_abort(self, world: World, seen: Launch) -> Verdict:
        said = re.search(
            r"terminate called after throwing an instance of 'KVLInsIO::KVLInsException'\n"
            r"  what\(\):  lstat - (\S+) - [^\n]+\n\Z",
            "\n".join(seen.err),
        )
        entry = Path(said[1].replace("{world}", str(world.root)) if said else "")
        failed = seen.failed[-1]
        is_of_failed = "SYMLINK_NOFOLLOW" in failed.arguments and failed.path == str(entry)
        is_above = entry.parent in world.media.parents
        is_nothing_done = not seen.staged and not seen.report
        if seen.status != -signal.SIGABRT or not (is_above and is_of_failed and is_nothing_done):
            raise Surprise(f"it died by {signal.Signals(-seen.status).name}: {seen.err[-3:]}")
        return Verdict(MESSAGE, "abort, an entry above the media cannot be looked at")

    def _judge_refusal(self, world: World, seen: Launch) -> Verdict:
        self._check_lines(world, seen)
        for (status, name), patterns in _REFUSALS.items():
            matches = list(map(re.fullmatch, patterns, seen.errors))
            if seen.status == status and len(seen.errors) == len(patterns) and all(matches):
                reason = matches[-1].groupdict().get("reason") if matches[-1] else None
                return Verdict(MESSAGE, f"{status}, {name}{self._other_reason(seen, reason)}")
        if self._writes_to_console(seen) and seen.status in (1, 255) and not seen.errors:
            also = f", also the error message (status {seen.status})"
            return Verdict(ACCEPTED, LOST_OUTPUT + also)
        installer = seen.staged.get("inst/linux/code/bin/installer")
        if seen.status == 0 and not seen.errors and installer and not installer.contents:
            if SHORT_FILE in self._judge_copy(world, seen):
                return Verdict(ACCEPTED, SHORT_FILE + ", also the installer, which then is empty")
        raise Surprise(f"no installer, status {seen.status}, and this said: {seen.err}")

    # What is usually started in place is staged when a volume is missing.
    def _staging(self, world: World) -> Launch:
        if self._usual.staged or world.kind != "in place":
            return self._usual
        return self._twin(world, {world.medias / "2/2.txt": ("missing", NO_MARKER)})

    def _check_lines(self, world: World, seen: Launch) -> None:
        known = {*self._usual.out, *self._usual.err, *self._staging(world).err}
        for line in seen.out + seen.err:
            if line not in known and not _ALSO_SAID.fullmatch(line):
                raise Surprise(f"an unknown message: {line!r}")

    # A message may give the reason of what followed from the failed call.
    @staticmethod
    def _other_reason(seen: Launch, reason: str | None) -> str:
        errors = [call.error or "ENOSPC" for call in seen.failed]
        if reason is None or reason in (os.strerror(getattr(errno, name)) for name in errors):
            return ""
        for number, name in errno.errorcode.items():
            if os.strerror(number) == reason:
                return f" (reason: {name})"
        raise Surprise(f"no error of the system: {reason!r}")

    def _judge_start(self, world: World, seen: Launch) -> Verdict:
        if seen.report[0] != "started" or seen.report.count("started") != 1:
            raise Surprise(f"the installer's starts: {seen.report}")
        is_from_copy = seen.report[seen.report.index("/bin/sh") + 1].startswith("{world}/t/")
        if seen.staged and not is_from_copy:
            raise Surprise("staged, but not started from there")
        accepted = self._judge_copy(world, seen) if is_from_copy else []
        # On closing, a file system may say for the last time that the data did not arrive. Here
        # they did, as the failure is not a real one; still it must not be passed over.
        for call in seen.failed:
            place = call.path.removeprefix((seen.staging or "\0") + "/")
            is_file = place in seen.staged and stat.S_ISREG(seen.staged[place].mode)
            if call.name == "close" and is_file and place != "remove.bat":
                raise Surprise("an installer was started although closing a copy failed")
        errors = seen.errors
        if seen.status == 255 and len(errors) == 1 and re.match(_NOT_WAITED_FOR, errors[0]):
            self._check_lines(world, seen)
            if accepted:
                raise Surprise("an installer from an incomplete copy: " + ", ".join(accepted))
            return Verdict(MESSAGE, "255, the installer cannot be waited for")
        if seen.status != INSTALLER_STATUS or errors:
            raise Surprise(f"status {seen.status} instead of {INSTALLER_STATUS}; {errors}")
        accepted += self._judge_told(world, seen)
        return Verdict(ACCEPTED if accepted else SUCCESS, " + ".join(accepted))

    # The staged copy: what may look otherwise than ever, by the calls that failed.
    def _judge_copy(self, world: World, seen: Launch) -> list[str]:
        usual, copy = self._staging(world).staged, seen.staged
        missing: dict[str, str] = {}  # directories
        cut: dict[str, str] = {}
        for call in seen.failed:
            if call.path == seen.staging + "/remove.bat":
                cut["remove.bat"] = NO_SCRIPT
            for place in usual:
                for source in world.sources_of(place):
                    if not is_about(call, source):
                        continue
                    if call.name == "read" and not call.error:
                        cut[place] = SHORT_FILE
                    elif call.name == "getdents64" and call.error == "ENOENT":
                        missing.setdefault(place, REMOVED_DIRECTORY)
                    # Descriptors and memory that have run out are no property of a directory.
                    elif opens_directory(call) and (
                        call.error not in ("EMFILE", "ENFILE", "ENOMEM")
                        if place == "inst" or source.parent == world.external
                        else call.error in ("EACCES", "ENOENT")
                    ):
                        missing[place] = EMPTY_DIRECTORY
        accepted = set()
        for place in sorted(usual | copy):
            whole, part = usual.get(place), copy.get(place)
            if whole == part:
                continue
            # What was there before the directory was to be copied over it may still be there.
            before = world.media / place
            is_before = part is None or (before.is_file() and part.contents == before.read_bytes())
            above = [directory for directory in missing if place.startswith(directory + "/")]
            names = [missing[directory] for directory in above if is_before]
            if place in cut and whole and is_cut(whole, part):
                names.append(cut[place])
            if not names:
                raise Surprise(f"the staged copy is not whole: {place}")
            accepted.add(names[0])
        return sorted(accepted)

    # What the user and the installer were told: as ever, or as in a world without what could not
    # be read, or with lines missing on the console.
    def _judge_told(self, world: World, seen: Launch) -> list[str]:
        usual = twin = self._usual
        if seen.told() == usual.told():
            return []
        for absent in self._absent(world, seen):
            if absent:
                twin = self._twin(world, absent)
                if seen.told() == twin.told():
                    return sorted({name for _, name in absent.values()})
        with_lines = dataclasses.replace(seen, out=usual.out, err=usual.err)
        is_part = all(
            all(line in rest for line in lines)
            for lines, rest in ((seen.out, iter(usual.out)), (seen.err, iter(usual.err)))
        )
        is_lost = self._writes_to_console(seen) and with_lines.told() == usual.told() and is_part
        if twin is usual and is_lost:
            return [LOST_OUTPUT]
        wanted, got = twin.told(), seen.told()
        differing = [f"{n}: {got[n]} instead of {wanted[n]}" for n in got if got[n] != wanted[n]]
        raise Surprise("not as ever, or without what cannot be read: " + "; ".join(differing))

    @staticmethod
    def _writes_to_console(seen: Launch) -> bool:
        return any(call.name == "write" and call.descriptor in (1, 2) for call in seen.failed)

    # Files of the volume search; or volumes in directories beside the media, not listed.
    @staticmethod
    def _absent(world: World, seen: Launch) -> tuple[Absent, Absent]:
        found: Absent = {}
        beside: Absent = {}
        for call in seen.failed:
            path = Path(os.path.normpath(call.path))
            if path == world.media / "inst/volumes.txt":
                empty, missing = ("empty", EMPTY_VOLUMES_FILE), ("missing", NO_VOLUMES_FILE)
                found.setdefault(path, missing if call.name == "access" else empty)
            elif re.fullmatch(r"[0-9]+\.txt", path.name):
                found.setdefault(path, ("empty", NO_MARKER))
            elif path in world.media.parents and path.is_relative_to(world.medias):
                for marker in path.glob("[0-9].txt"):
                    found.setdefault(marker, ("missing", NO_LIST_ABOVE))
                if (call.name, call.error, path) == ("getdents64", "ENOENT", world.media.parent):
                    markers = path.glob("[2-9]/[2-9].txt")
                    beside |= dict.fromkeys(markers, ("missing", REMOVED_DIRECTORY))
        is_there = {path: how for path, how in found.items() if path.exists()}
        return is_there, beside

    # A launch without failures in a world in which these files are not there.
    def _twin(self, world: World, absent: Absent) -> Launch:
        states = {(str(path.relative_to(world.medias)), how) for path, (how, _) in absent.items()}
        key = frozenset(states)
        with self._lock:
            if key not in self._twins:
                twin = World(self._workplace / "twin", world.kind)
                for place, how in key:
                    (twin.medias / place).write_text("")
                    if how == "missing":
                        (twin.medias / place).unlink()
                self._twins[key] = launch(self._program, twin)
                shutil.rmtree(twin.root)
            return self._twins[key]


def opens_directory(call: Call) -> bool:
    return call.opens_directory or "AT_EMPTY_PATH" in call.arguments or call.name == "fstat"


def is_about(call: Call, source: Path) -> bool:
    """A descriptor is known by its real path only."""
    path = os.path.normpath(call.path) if call.path else ""
    return str(source) == path or (not call.opens_directory and os.path.realpath(source) == path)


def is_cut(whole: Entry, part: Entry | None) -> bool:
    """Whether nothing but its end is missing; the clean-up script may be missing itself."""
    if part is None:
        return whole.modified == 0
    is_head = whole.contents.startswith(part.contents)
    return is_head and whole == part._replace(contents=whole.contents)
