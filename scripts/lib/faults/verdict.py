"""Whether a launch with a failure in it ended as it may end, and the name of that end."""

from __future__ import annotations

import errno
import os
import re
import shutil
import signal
from pathlib import Path
from typing import NamedTuple

from launch import UNTIL_INSTALLER, Call, Entry, Launch, Surprise, World

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

_NOT_WAITED_FOR = 'Cannot wait for process ".*"'
# The status and the error messages of a launch without installer.
_REFUSALS = {
    "the installer is not found": r"1\nThe installer is not found, please read the file .*",
    "the installer cannot be copied": r"1\nCannot copy the installer to a temporary directory: "
    r"\{world\}/t/<id>/\n(?:(?:lstat|mkdir|opendir|readdir|SetTime) - |Cannot (?:stat|read|write "
    rf"into) ).+ - (?:{'|'.join(re.escape(os.strerror(number)) for number in errno.errorcode)})",
    "the installer cannot be started or waited for": rf"255\n{_NOT_WAITED_FOR}",
    "the process cannot be created": rf'255\nCannot create process ".*"\n{_NOT_WAITED_FOR}',
}
_MESSAGE_LINE = re.compile(r"( INFO:|ERROR:| WARN:|      ) .*|")

# Files that could not be read, in the world: how each is as if it were ("missing" or "empty"), and
# the name of that.
Absent = dict[Path, tuple[str, str]]


class Verdict(NamedTuple):
    outcome: str
    name: str


class Judge:
    """Tries launches of one kind, and judges them by what one without failures is like."""

    def __init__(self, program: Path, workplace: Path, kind: str) -> None:
        self._program, self._workplace, self._kind = program, workplace, kind
        self.usual = World(workplace, kind).launch(program, *UNTIL_INSTALLER)
        if not self.usual.report:
            raise Surprise(f"{kind}: no installer without failures, either: {self.usual.err}")
        self._twins = {frozenset[tuple[Path, str]](): self.usual}

    def judge(self, fault: str) -> Verdict:
        """Of a launch in which strace makes this of a call."""
        call, _, failure = fault.partition(":")
        name, _, role = call.partition(" ")
        # Without -ff nothing but the launcher is touched, with -b nothing of the installer.
        follow = UNTIL_INSTALLER if role else ()
        options = (f"--trace={name}", "--signal=none", f"--inject={name}:{failure}")
        world = World(self._workplace, self._kind)
        try:
            seen = world.launch(self._program, *follow, *options)
            if not seen.failed:
                raise Surprise("the call to fail was not made")
            if seen.status < 0:
                return judge_abort(world, seen)
            judge = self._judge_start if seen.report else self._judge_refusal
            return judge(world, seen)
        except Surprise as surprise:
            return Verdict(FAILED, str(surprise))
        finally:
            shutil.rmtree(world.root)

    def _judge_refusal(self, world: World, seen: Launch) -> Verdict:
        if strange := [x for x in seen.out + seen.err if not _MESSAGE_LINE.fullmatch(x)]:
            raise Surprise(f"no messages: {strange}")
        for name, pattern in _REFUSALS.items():
            if re.fullmatch(pattern, "\n".join([str(seen.status), *seen.errors])):
                return Verdict(MESSAGE, f"{seen.status}, {name}")
        if writes_to_console(seen) and seen.status in (1, 255) and not seen.errors:
            also = f", also the error message (status {seen.status})"
            return Verdict(ACCEPTED, LOST_OUTPUT + also)
        installer = seen.staged.get("inst/linux/code/bin/installer")
        if seen.status == 0 and not seen.errors and installer and not installer.contents:
            if SHORT_FILE in self._judge_copy(world, seen):
                return Verdict(ACCEPTED, SHORT_FILE + ", also the installer, which then is empty")
        raise Surprise(f"no installer, status {seen.status}, and this said: {seen.err}")

    # The user and the installer are told what they are always told, or in a world without what
    # could not be read, or lines are missing on the console.
    def _judge_start(self, world: World, seen: Launch) -> Verdict:
        usual = self.usual
        names = self._judge_copy(world, seen)
        nothing: Absent = {}
        for absent in (nothing, *absent_files(world, seen)):
            twin = self._twin(world, absent)
            if seen.told == twin.told and bool(seen.staged) == bool(twin.staged):
                names += sorted({name for _, name in absent.values()})
                break
        else:
            if seen.report != usual.report or bool(seen.staged) != bool(usual.staged):
                raise Surprise(f"{seen.told} instead of {usual.told}")
            is_not_waited = re.fullmatch(_NOT_WAITED_FOR, "\n".join(seen.errors))
            if seen.status == 255 and is_not_waited and not names:
                return Verdict(MESSAGE, "255, the installer cannot be waited for")
            rest_out, rest_err = iter(usual.out), iter(usual.err)
            is_part = all(x in rest_out for x in seen.out) and all(x in rest_err for x in seen.err)
            if not (is_part and writes_to_console(seen) and seen.status == usual.status):
                raise Surprise(f"{seen.told} instead of {usual.told}")
            names.append(LOST_OUTPUT)
        return Verdict(ACCEPTED if names else SUCCESS, " + ".join(names))

    # What may be otherwise in the staged copy than ever, by the calls that failed.
    def _judge_copy(self, world: World, seen: Launch) -> list[str]:
        if not seen.staged:
            return []
        # What is usually started in place is staged when a volume is missing.
        no_volume: Absent = {world.medias / "2/2.txt": ("missing", NO_MARKER)}
        usual = self.usual.staged or self._twin(world, no_volume).staged
        excuses = [(call, excuse_of(world, seen, call)) for call in seen.failed]
        names = set()
        for place in sorted(usual | seen.staged):
            whole, part = usual.get(place), seen.staged.get(place)
            # On closing, a file system may say for the last time that the data did not arrive. Here
            # they did, as the failure is not a real one; still it must not be passed over.
            closing = ("close", f"{seen.staging}/{place}")
            is_file = part and part.contents and place != "remove.bat"
            if is_file and closing in [(call.name, call.path) for call in seen.failed]:
                raise Surprise("an installer was started although closing a copy failed")
            if whole == part:
                continue
            # What was there before a directory was to be copied over it may still be there.
            before = world.media / place
            is_before = not part or (before.is_file() and part.contents == before.read_bytes())
            is_cut = whole and is_cut_off(whole, part)
            fitting = [
                name
                for call, name in excuses
                if (name == NO_SCRIPT and is_cut and place == "remove.bat")
                or (name == SHORT_FILE and is_cut and is_about(world, call, place))
                or (name in (EMPTY_DIRECTORY, REMOVED_DIRECTORY) and is_before)
                and any(is_about(world, call, str(above)) for above in Path(place).parents)
            ]
            if not fitting:
                raise Surprise(f"the staged copy is not whole: {place}")
            names.add(fitting[0])
        return sorted(names)

    # A launch without failures in a world in which these files are not there.
    def _twin(self, world: World, absent: Absent) -> Launch:
        key = frozenset((path.relative_to(world.medias), how) for path, (how, _) in absent.items())
        if key not in self._twins:
            twin = World(self._workplace, self._kind)
            for place, how in key:
                (twin.medias / place).write_text("")
                if how == "missing":
                    (twin.medias / place).unlink()
            self._twins[key] = twin.launch(self._program)
            shutil.rmtree(twin.root)
        return self._twins[key]


def judge_abort(world: World, seen: Launch) -> Verdict:
    """An uncaught exception of the media scan, about an entry of a directory above the media."""
    entry, (first, last, _) = seen.failed[-1], ["", "", "", *seen.err][-3:]
    is_documented = (
        seen.status == -signal.SIGABRT
        and first.endswith("called after throwing an instance of 'KVLInsIO::KVLInsException'")
        and last.startswith(f"  what():  lstat - {world.without_places(entry.path)} - ")
        and "SYMLINK_NOFOLLOW" in entry.arguments
        and Path(entry.path).parent in world.media.parents
    )
    if not is_documented or seen.staged or seen.report:
        raise Surprise(f"it died by {signal.Signals(-seen.status).name}: {seen.err[-3:]}")
    return Verdict(MESSAGE, "abort, an entry above the media cannot be looked at")


def excuse_of(world: World, seen: Launch, call: Call) -> str:
    """The name of what the failed call may have done to the staged copy; empty when nothing."""
    path = Path(os.path.normpath(call.path))
    if call.path == f"{seen.staging}/remove.bat":
        return NO_SCRIPT
    if call.name == "read" and not call.error:
        return SHORT_FILE
    if call.name == "getdents64" and call.error == "ENOENT":
        return REMOVED_DIRECTORY
    # Descriptors and memory that have run out are no property of a directory.
    is_head = path == world.media / "inst" or path.parent == world.external
    is_of_head = is_head and call.error not in ("EMFILE", "ENFILE", "ENOMEM")
    is_opening = call.name == "fstat" or re.search("O_DIRECTORY|AT_EMPTY_PATH", call.arguments)
    if is_opening and (is_of_head or call.error in ("EACCES", "ENOENT")):
        return EMPTY_DIRECTORY
    return ""


def is_cut_off(whole: Entry, part: Entry | None) -> bool:
    """Whether nothing but its end is missing; the clean-up script may be missing itself."""
    if part is None:
        return whole.modified == 0
    is_head = whole.contents.startswith(part.contents)
    return is_head and whole == part._replace(contents=whole.contents)


def is_about(world: World, call: Call, place: str) -> bool:
    """Whether it names the source of that of the copy. A descriptor has its real path only."""
    path = os.path.normpath(call.path)
    sources = set(map(str, world.sources_of(place)))
    if "O_DIRECTORY" not in call.arguments:
        sources |= {os.path.realpath(source) for source in sources}
    return path in sources


def absent_files(world: World, seen: Launch) -> tuple[Absent, Absent]:
    """Files of the volume search; or volumes in directories beside the media, not listed."""
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
    return {path: how for path, how in found.items() if path.exists()}, beside


def writes_to_console(seen: Launch) -> bool:
    return any(call.name == "write" and re.match("[12]<", call.arguments) for call in seen.failed)
