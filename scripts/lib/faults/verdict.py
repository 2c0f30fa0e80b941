"""Judges whether a launch with a failure ended in a permitted way, and names that way."""

import errno
import os
import re
import signal
import tempfile
from functools import cache
from pathlib import Path

from launch import UNTIL_INSTALLER, Call, Entry, Launch, Surprise, World

SUCCESS, MESSAGE, ACCEPTED, FAILED = OUTCOMES = ("success", "message", "accepted", "FAILED")
Verdict = tuple[str, str]  # the outcome and its name

# The ends that may be silent according to the documents. No others are accepted.
NO_VOLUMES_FILE = "without access to volumes.txt, the media has one volume"
EMPTY_VOLUMES_FILE = "with an unreadable volumes.txt, the media is incomplete"
NO_MARKER = "a volume with an unreadable marker is absent"
NO_LIST_ABOVE = "an unlistable directory above the media has no marker"
EMPTY_DIRECTORY = "a closed or missing directory, or the top of a copy, is staged empty"
REMOVED_DIRECTORY = "the list of a directory ends where it was removed meanwhile"
SHORT_FILE = "a file that ends early is staged up to that end"
NO_SCRIPT = "the clean-up script is missing or incomplete"
LOST_OUTPUT = "console output is lost"

_NOT_WAITED_FOR = 'Cannot wait for process ".*"'
# The status and the error messages of a launch that starts no installer.
_REFUSALS = {
    "the installer is not found": r"1\nThe installer is not found, please read the file .*",
    "the installer cannot be copied": r"1\nCannot copy the installer to a temporary directory: "
    r"\{world\}/t/<id>/\n(?:(?:lstat|mkdir|opendir|readdir|SetTime) - |Cannot (?:stat|read|write "
    rf"into) ).+ - (?:{'|'.join(re.escape(os.strerror(number)) for number in errno.errorcode)})",
    "the installer cannot be started or waited for": rf"255\n{_NOT_WAITED_FOR}",
    "the process cannot be created": rf'255\nCannot create process ".*"\n{_NOT_WAITED_FOR}',
}
_MESSAGE_LINE = re.compile(r"( INFO:|ERROR:| WARN:|      ) .*|")

# The unreadable files, by their places in any world, and the name of the consequence.
Absent = frozenset[tuple[Path, str]]


class Judge:
    """Tries launches of one kind, and compares them with one without failures."""

    def __init__(self, program: Path, kind: str) -> None:
        self._program, self._kind = program, kind
        self.usual = self._twin(frozenset())
        if not self.usual.report:
            raise Surprise(f"{kind} starts no installer without a failing call: {self.usual.err}")

    def judge(self, fault: str) -> Verdict:
        """Judges a launch in which strace replaces the result of a call."""
        call, _, failure = fault.partition(":")
        name, _, role = call.partition(" ")
        # Without -ff, strace touches only the launcher; with -b, nothing of the installer.
        follow = UNTIL_INSTALLER if role else ()
        options = (f"--trace={name}", "--signal=none", f"--inject={name}:{failure}")
        with tempfile.TemporaryDirectory(prefix="kvl-faults.") as root:
            world = World(root, self._kind)
            try:
                seen = world.launch(self._program, *follow, *options)
                if not seen.failed:
                    raise Surprise("the launch did not make the call that should fail")
                if seen.status < 0:
                    return judge_abort(world, seen)
                judge = self._judge_start if seen.report else self._judge_refusal
                return judge(world, seen)
            except Surprise as surprise:
                return (FAILED, str(surprise))

    def _judge_refusal(self, world: World, seen: Launch) -> Verdict:
        if strange := [x for x in seen.out + seen.err if not _MESSAGE_LINE.fullmatch(x)]:
            raise Surprise(f"these lines are no messages: {strange}")
        for name, pattern in _REFUSALS.items():
            if re.fullmatch(pattern, seen.end):
                return (MESSAGE, f"{seen.status}, {name}")
        if writes_to_console(seen) and seen.end in ("1", "255"):
            return (ACCEPTED, f"{LOST_OUTPUT}, also the error message (status {seen.status})")
        installer = seen.staged.get("inst/linux/code/bin/installer")
        if seen.end == "0" and installer and not installer.contents:
            if SHORT_FILE in self._judge_copy(world, seen):
                return (ACCEPTED, SHORT_FILE + ", also the installer, which then is empty")
        raise Surprise(f"no installer, status {seen.status}, unexpected messages: {seen.err}")

    # The user and the installer learn what they always learn, or what they learn in a world without
    # the unreadable files; or the console lacks lines.
    def _judge_start(self, world: World, seen: Launch) -> Verdict:
        usual, names = self.usual, self._judge_copy(world, seen)
        for absent in [frozenset(), *absent_files(world, seen)]:
            twin = self._twin(absent)
            if seen.told == twin.told and bool(seen.staged) == bool(twin.staged):
                names += sorted({name for _, name in absent})
                return (ACCEPTED if names else SUCCESS, " + ".join(names))
        if seen.report == usual.report and bool(seen.staged) == bool(usual.staged):
            if re.fullmatch(rf"255\n{_NOT_WAITED_FOR}", seen.end) and not names:
                return (MESSAGE, "255, the installer cannot be waited for")
            rest = iter(usual.told)
            if writes_to_console(seen) and all(line in rest for line in seen.told):
                return (ACCEPTED, " + ".join([*names, LOST_OUTPUT]))
        raise Surprise(f"{seen.told} instead of {usual.told}")

    # Names the differences in the staged copy that the failed calls excuse.
    def _judge_copy(self, world: World, seen: Launch) -> list[str]:
        if not seen.staged:
            return []
        # A launch that usually starts in place stages the installer if a volume is missing.
        no_volume = frozenset({(Path("2/2.txt"), NO_MARKER)})
        usual = self.usual.staged or self._twin(no_volume).staged
        closed = [call.path for call in seen.failed if call.name == "close"]
        excuses = [(call, excuse_of(world, seen, call)) for call in seen.failed]
        names = set()
        for place in sorted(usual | seen.staged):
            whole, part = usual.get(place), seen.staged.get(place)
            # A file system may report as late as on closing that data did not arrive. Here they did
            # arrive, because the failure is not real; still the launcher must not ignore it.
            is_file = part and part.contents and place != "remove.bat"
            if is_file and f"{seen.staging}/{place}" in closed:
                raise Surprise("the launcher started an installer although closing a copy failed")
            if whole == part:
                continue
            # A place may still have what it had before a directory was copied over it.
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
                raise Surprise(f"the staged copy is incomplete: {place}")
            names.add(fitting[0])
        return sorted(names)

    # Returns a launch without failures in a world in which these files are empty or missing.
    @cache
    def _twin(self, absent: Absent) -> Launch:
        with tempfile.TemporaryDirectory(prefix="kvl-faults.") as root:
            world = World(root, self._kind)
            for place, name in absent:
                (world.medias / place).unlink()
                if name in (NO_MARKER, EMPTY_VOLUMES_FILE):
                    (world.medias / place).touch()
            return world.launch(self._program, *UNTIL_INSTALLER)


def judge_abort(world: World, seen: Launch) -> Verdict:
    """Permits an uncaught exception of the scan, about an entry of a directory above the media."""
    entry, (first, last, _) = seen.failed[-1], ["", "", "", *seen.err][-3:]
    is_documented = (
        seen.status == -signal.SIGABRT
        and first.endswith("called after throwing an instance of 'KVLInsIO::KVLInsException'")
        and last.startswith(f"  what():  lstat - {world.without_places(entry.path)} - ")
        and "SYMLINK_NOFOLLOW" in entry.arguments
        and Path(entry.path).parent in world.media.parents
        and not (seen.staged or seen.report)
    )
    if not is_documented:
        raise Surprise(f"it was killed by {signal.Signals(-seen.status).name}: {seen.err[-3:]}")
    return (MESSAGE, "abort, an entry above the media cannot be looked at")


def excuse_of(world: World, seen: Launch, call: Call) -> str:
    """Returns the name of the failed call's effect on the staged copy; empty without one."""
    path = Path(os.path.normpath(call.path))
    if call.path == f"{seen.staging}/remove.bat":
        return NO_SCRIPT
    if call.name == "read" and not call.error:
        return SHORT_FILE
    if call.name == "getdents64" and call.error == "ENOENT":
        return REMOVED_DIRECTORY
    # A lack of descriptors or memory is no property of a directory.
    is_head = path == world.media / "inst" or path.parent == world.external
    is_of_head = is_head and call.error not in ("EMFILE", "ENFILE", "ENOMEM")
    is_opening = call.name == "fstat" or re.search("O_DIRECTORY|AT_EMPTY_PATH", call.arguments)
    is_closed_or_gone = call.error in ("EACCES", "ENOENT")
    return EMPTY_DIRECTORY if is_opening and (is_of_head or is_closed_or_gone) else ""


def is_cut_off(whole: Entry, part: Entry | None) -> bool:
    """Returns true if only the end is missing; the clean-up script may be missing completely."""
    if part is None:
        return whole.modified == 0
    is_head = whole.contents.startswith(part.contents)
    return is_head and whole == part._replace(contents=whole.contents)


def is_about(world: World, call: Call, place: str) -> bool:
    """Returns true if the call names the source of `place`. A descriptor only has a real path."""
    path = os.path.normpath(call.path)
    sources = {str(world.media / place), str(world.external / place.removeprefix("inst/"))}
    if "O_DIRECTORY" not in call.arguments:
        sources |= {os.path.realpath(source) for source in sources}
    return path in sources


def absent_files(world: World, seen: Launch) -> list[Absent]:
    """Returns the unreadable files of the scan, and the volumes in directories left unlisted."""
    found: dict[Path, str] = {}
    beside: dict[Path, str] = {}
    for call in seen.failed:
        path = Path(os.path.normpath(call.path))
        if path == world.media / "inst/volumes.txt":
            name = NO_VOLUMES_FILE if call.name == "access" else EMPTY_VOLUMES_FILE
            found.setdefault(path, name)
        elif re.fullmatch(r"[0-9]+\.txt", path.name) and path.exists():
            found.setdefault(path, NO_MARKER)
        elif path in world.media.parents and path.is_relative_to(world.medias):
            for marker in path.glob("[0-9].txt"):
                found.setdefault(marker, NO_LIST_ABOVE)
            if (call.name, call.error, path) == ("getdents64", "ENOENT", world.media.parent):
                beside |= dict.fromkeys(path.glob("[2-9]/[2-9].txt"), REMOVED_DIRECTORY)
    return [
        frozenset((path.relative_to(world.medias), name) for path, name in files.items())
        for files in (found, beside)
    ]


def writes_to_console(seen: Launch) -> bool:
    return any(call.name == "write" and re.match("[12]<", call.arguments) for call in seen.failed)
