"""Whether a launch with a failure in it ended as it may end, and the name of that end."""

from __future__ import annotations

import dataclasses
import errno
import os
import re
import shutil
import signal
import threading
from pathlib import Path

import world as worlds
from calls import Call
from launch import LONGEST_SECONDS, Launch, Launcher
from world import INSTALLER_STATUS, World

SUCCESS, MESSAGE, ACCEPTED, FAILED = "success", "message", "accepted", "FAILED"

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

_STATUS_BY_ERRORS = (
    (
        1,
        "the installer is not found",
        [r'The installer is not found, please read the file "ReadMe_UNIX\.txt"\.'],
    ),
    (
        1,
        "the installer cannot be copied",
        [
            r"Cannot copy the installer to a temporary directory: \{world\}/t/<id>/",
            r"(?:lstat - |mkdir - |opendir - |readdir - |SetTime - |Cannot stat |Cannot read "
            r"|Cannot write into ).+ - (?P<reason>(?:(?! - ).)+)",
        ],
    ),
    (255, "the installer cannot be started or waited for", [r'Cannot wait for process ".*']),
    (
        255,
        "the process cannot be created",
        [r'Cannot create process ".*', r'Cannot wait for process ".*'],
    ),
)

_KNOWN_LINES = re.compile(
    r"""(?:
    \ INFO:\ (?:\{world\}/\S+/installer
      |Installer\ found\ in\ current\ media:\ "\S+"\.
      |No\ installer\ in\ the\ current\ media\.
      |Argument\ "-installerPath"\ found\ and\ its\ value\ is\ "\S+"\.
      |Installer\ executable\ "\S+"\ does\ not\ exist,\ trying\ without\ sub\ dir\ "1"
      |Invalid\ Installer\ media,\ "\S+"\ does\ not\ exist
      |Installer\ Media:\ "\S+"
      |This\ media\ is\ composed\ of\ (?:3|120)\ volumes\.)
    |\ {7}(?:|(?:AM\ v|V)olume\ \d+\ found\ in:\ \S+
      |Please\ make\ sure\ you\ copied\ the\ whole\ volume\.
      |Please\ make\ sure\ you\ copied\ and/or\ extracted\ everything\ properly\.)
    |\ WARN:\ (?:Missing\ volumes\.\ Please\ make\ sure\ you\ copied\ everything\ correctly\.
      |1\.txt\ not\ found\ or\ not\ accessible\ in:\ \S+
      |Cannot\ open\ \d+\.txt\ in\ \S+
      |This\ media\ is\ composed\ of\ multiple\ volumes\.
      |If\ it\ is\ not\ done\ already,\ please\ copy\ each\ volume\ on\ a\ local\ hard\ drive
        \ before\ starting\ the\ installation\.
      |Not\ doing\ so\ might\ result\ in\ the\ installation\ leaving\ temporary\ files\ behind\.)
    |ERROR:\ .*)""",
    re.VERBOSE,
)


@dataclasses.dataclass(frozen=True)
class Verdict:
    outcome: str
    name: str


class Surprise(Exception):
    """The launch did not end as it may end."""


class Judge:
    """Judges the launches of one kind by what a launch without failures is like."""

    def __init__(self, launcher: Launcher, kind: str, usual: Launch, workplace: Path) -> None:
        self._launcher = launcher
        self._kind = kind
        self._usual = usual
        self._workplace = workplace
        self._twins: dict[frozenset[tuple[str, str]], Launch] = {}
        self._lock = threading.Lock()

    def judge(self, world: World, launch: Launch) -> Verdict:
        try:
            return self._judge(world, launch)
        except Surprise as surprise:
            return Verdict(FAILED, str(surprise))

    def _judge(self, world: World, launch: Launch) -> Verdict:
        if launch.seconds > LONGEST_SECONDS:
            raise Surprise(f"it took more than {LONGEST_SECONDS:.0f} s")
        if launch.media_changes:
            raise Surprise("the media was changed: " + ", ".join(launch.media_changes))
        if launch.strays:
            raise Surprise("unexpected in the temporary directory: " + ", ".join(launch.strays))
        if not launch.failed:
            raise Surprise("the call to fail was not made")
        if launch.status < 0:
            return self._judge_abort(world, launch)
        for line in launch.out + launch.err:
            if not _KNOWN_LINES.fullmatch(line):
                raise Surprise(f"an unknown message: {line!r}")
        if not launch.report:
            return self._judge_refusal(world, launch)
        return self._judge_start(world, launch)

    # An uncaught exception of the media scan, about an entry of a directory above the media.
    def _judge_abort(self, world: World, launch: Launch) -> Verdict:
        name = signal.Signals(-launch.status).name
        said = re.search(
            r"terminate called after throwing an instance of 'KVLInsIO::KVLInsException'\n"
            r"  what\(\):  lstat - (\S+) - [^\n]+\n\Z",
            "\n".join(launch.err),
        )
        if -launch.status != signal.SIGABRT or not said or launch.report or launch.staged:
            raise Surprise(f"it died by {name}")
        entry = said[1].replace("{world}", str(world.root))
        failed = launch.failed[-1]
        is_above = Path(os.path.dirname(entry)) in world.media.parents
        if not is_above or "SYMLINK_NOFOLLOW" not in failed.arguments or failed.path != entry:
            raise Surprise(f"it died by {name}: {said[0]!r}")
        return Verdict(MESSAGE, "abort, an entry above the media cannot be looked at")

    def _judge_refusal(self, world: World, launch: Launch) -> Verdict:
        lines = "\n".join(launch.err)
        errors = [line.removeprefix("ERROR: ") for line in launch.err if line.startswith("ERROR: ")]
        for status, name, patterns in _STATUS_BY_ERRORS:
            if launch.status != status or len(errors) != len(patterns):
                continue
            matches = [re.fullmatch(*pair) for pair in zip(patterns, errors)]
            if not all(matches):
                continue
            reason = (matches[-1] and matches[-1].groupdict().get("reason")) or ""
            return Verdict(MESSAGE, f"{launch.status}, {name}{self._other_reason(launch, reason)}")
        if self._writes_to_console(launch) and launch.status in (1, 255) and not errors:
            also = f", also the error message (status {launch.status})"
            return Verdict(ACCEPTED, LOST_OUTPUT + also)
        installer = launch.staged.get("inst/linux/code/bin/installer")
        if launch.status == 0 and not errors and installer and not installer.contents:
            if SHORT_FILE in self._judge_copy(world, launch):
                return Verdict(ACCEPTED, SHORT_FILE + ", also the installer, which then is empty")
        raise Surprise(f"no installer, status {launch.status}, and this said: {lines!r}")

    # A message may give the reason of what followed from the failed call.
    @staticmethod
    def _other_reason(launch: Launch, reason: str) -> str:
        numbers = {getattr(errno, call.error) for call in launch.failed if call.error}
        if any(not call.error for call in launch.failed):
            numbers.add(errno.ENOSPC)
        if not reason or reason in map(os.strerror, numbers):
            return ""
        known = [name for name in errno.errorcode if os.strerror(name) == reason]
        if not known:
            raise Surprise(f"no error of the system: {reason!r}")
        return f" (reason: {errno.errorcode[known[0]]})"

    def _judge_start(self, world: World, launch: Launch) -> Verdict:
        if launch.report[0] != "started" or launch.report.count("started") != 1:
            raise Surprise(f"the installer's starts: {launch.report}")
        self._check_closed(launch)
        accepted: list[str] = []
        if launch.arguments[1].startswith("{world}/t/"):
            accepted += self._judge_copy(world, launch)
        elif launch.staged:
            raise Surprise("staged, but not started from there")
        errors = [line for line in launch.err if line.startswith("ERROR: ")]
        if launch.status == 255 and len(errors) == 1 and "Cannot wait for process" in errors[0]:
            if accepted:
                raise Surprise("an installer from an incomplete copy: " + ", ".join(accepted))
            return Verdict(MESSAGE, "255, the installer cannot be waited for")
        if launch.status != INSTALLER_STATUS or errors:
            raise Surprise(f"status {launch.status} instead of {INSTALLER_STATUS}; {errors}")
        accepted += self._judge_told(world, launch)
        if accepted:
            return Verdict(ACCEPTED, " + ".join(accepted))
        return Verdict(SUCCESS, "")

    # On closing, a file system may say for the last time that the data did not arrive. Here they
    # did, as the failure is not a real one; still it must not be passed over.
    @staticmethod
    def _check_closed(launch: Launch) -> None:
        slash = launch.staging_slash or "\0"
        files = {slash + place for place, entry in launch.staged.items() if entry.kind == "file"}
        for call in launch.failed:
            is_of_copy = call.path in files and not call.path.endswith("/remove.bat")
            if call.name == "close" and is_of_copy:
                raise Surprise("an installer was started although closing a copy failed")

    # The staged copy, against the media.
    def _judge_copy(self, world: World, launch: Launch) -> list[str]:
        whole = world.staged_copy(launch.staging_slash)
        seen = launch.staged
        differing = {p for p in whole.keys() | seen.keys() if whole.get(p) != seen.get(p)}
        accepted = []
        for name, instead in self._excused(world, launch, whole):
            excused = {path for path in differing if seen.get(path) == instead.get(path)}
            if excused:
                accepted.append(name)
            differing -= excused
        if differing:
            raise Surprise("the staged copy is not whole: " + ", ".join(sorted(differing)))
        return accepted

    # How the copy may look instead, by the calls that failed.
    def _excused(
        self, world: World, launch: Launch, whole: worlds.Tree
    ) -> list[tuple[str, worlds.Tree]]:
        seen = launch.staged
        cut = dict(whole)
        unlisted: dict[str, set[Path]] = {}
        for call in launch.failed:
            sources = self._sources(world, call)
            if call.path == launch.staging_slash + "remove.bat":
                self._cut(cut, seen, "remove.bat")
            elif call.name == "read" and not call.error:
                for place, _ in sources:
                    self._cut(cut, seen, place)
            elif self._fails_to_open(call):
                unlisted.setdefault(EMPTY_DIRECTORY, set()).update(
                    path for _, path in sources if self._may_count_as_empty(world, call, path)
                )
            elif call.name == "getdents64" and call.error == "ENOENT":
                unlisted.setdefault(REMOVED_DIRECTORY, set()).update(path for _, path in sources)
        excused = [
            (name, world.staged_copy(launch.staging_slash, frozenset(paths)))
            for name, paths in unlisted.items()
        ]
        is_script = cut.get("remove.bat") != whole["remove.bat"]
        return [*excused, (NO_SCRIPT if is_script else SHORT_FILE, cut)]

    # Takes the file as it is seen when nothing but its end is missing; the script may be missing.
    @staticmethod
    def _cut(tree: worlds.Tree, seen: worlds.Tree, path: str) -> None:
        if path not in seen:
            if path == "remove.bat":
                del tree[path]
            return
        whole, part = tree[path], seen[path]
        is_part = whole.contents.startswith(part.contents)
        if is_part and whole == dataclasses.replace(part, contents=whole.contents):
            tree[path] = part

    @staticmethod
    def _fails_to_open(call: Call) -> bool:
        return call.opens_directory or "AT_EMPTY_PATH" in call.arguments or call.name == "fstat"

    # Descriptors and memory that have run out are not said to be a property of the directory.
    @staticmethod
    def _may_count_as_empty(world: World, call: Call, directory: Path) -> bool:
        if directory in world.copied():
            return call.error not in ("EMFILE", "ENFILE", "ENOMEM")
        return call.error in ("EACCES", "ENOENT")

    # What a call was about, if that is staged: its places in the copy, and where they come from. A
    # descriptor is known by its real path only.
    @staticmethod
    def _sources(world: World, call: Call) -> list[tuple[str, Path]]:
        path = os.path.normpath(call.path) if call.path else ""
        real = not call.opens_directory
        return [
            (place, source)
            for place, source in world.staged_from()
            if str(source) == path or (real and os.path.realpath(source) == path)
        ]

    # What the user and the installer were told: as ever, or as in a world without what could not
    # be read, or with lines missing on the console.
    def _judge_told(self, world: World, launch: Launch) -> list[str]:
        if launch.told() == self._usual.told():
            return []
        twin = None
        for absent in (self._absent(world, launch), self._unlisted_volumes(world, launch)):
            if absent:
                twin = self._twin(frozenset((path, how) for path, how, _ in absent))
                if launch.told() == twin.told():
                    return sorted({name for _, _, name in absent})
        if twin:
            raise Surprise("not as without what cannot be read: " + _difference(twin, launch))
        lost = dataclasses.replace(launch, out=self._usual.out, err=self._usual.err)
        if (
            self._writes_to_console(launch)
            and lost.told() == self._usual.told()
            and _is_part(launch.out, self._usual.out)
            and _is_part(launch.err, self._usual.err)
        ):
            return [LOST_OUTPUT]
        raise Surprise("not as ever: " + _difference(self._usual, launch))

    @staticmethod
    def _writes_to_console(launch: Launch) -> bool:
        return any(call.name == "write" and call.descriptor in (1, 2) for call in launch.failed)

    # Files of the volume search that could not be read: the path in the world, how it is as if it
    # were ("missing" or "empty"), and the name of that.
    @staticmethod
    def _absent(world: World, launch: Launch) -> list[tuple[str, str, str]]:
        found: dict[str, tuple[str, str, str]] = {}
        for call in launch.failed:
            path = os.path.normpath(call.path) if call.path else ""
            if not path.startswith(str(world.medias)):
                continue
            place = os.path.relpath(path, world.medias)
            if path == str(world.media / "inst/volumes.txt"):
                if call.name == "access":
                    found.setdefault(place, (place, "missing", NO_VOLUMES_FILE))
                else:
                    found.setdefault(place, (place, "empty", EMPTY_VOLUMES_FILE))
            elif re.fullmatch(r"[0-9]+\.txt", os.path.basename(path)):
                found.setdefault(place, (place, "empty", NO_MARKER))
            elif Path(path) in world.media.parents:
                for marker in Path(path).glob("[0-9].txt"):
                    place = str(marker.relative_to(world.medias))
                    found.setdefault(place, (place, "missing", NO_LIST_ABOVE))
        return [entry for entry in found.values() if (world.medias / entry[0]).exists()]

    # Volumes in directories beside the media, when these were not listed. In the same form.
    @staticmethod
    def _unlisted_volumes(world: World, launch: Launch) -> list[tuple[str, str, str]]:
        return [
            (str(marker.relative_to(world.medias)), "missing", REMOVED_DIRECTORY)
            for call in launch.failed
            if call.name == "getdents64" and call.error == "ENOENT"
            if Path(call.path) == world.media.parent
            for marker in sorted(Path(call.path).glob("[2-9]/[2-9].txt"))
        ]

    # A launch without failures in a world in which these files are not there.
    def _twin(self, absent: frozenset[tuple[str, str]]) -> Launch:
        with self._lock:
            if absent not in self._twins:
                twin = World(self._workplace / "twin", self._kind)
                for place, how in absent:
                    if how == "missing":
                        (twin.medias / place).unlink()
                    else:
                        (twin.medias / place).write_text("")
                twin.original = worlds.describe(twin.medias)
                self._twins[absent] = self._launcher.plain(twin)
                shutil.rmtree(twin.root)
            return self._twins[absent]


def _is_part(lines: list[str], whole: list[str]) -> bool:
    rest = iter(whole)
    return all(line in rest for line in lines)


def _difference(expected: Launch, seen: Launch) -> str:
    names = ("status", "out", "err", "report", "arguments", "environment")
    parts = []
    for name, wanted, got in zip(names, expected.told(), seen.told()):
        if wanted == got:
            continue
        if isinstance(wanted, list) and isinstance(got, list):
            wanted, got = [x for x in wanted if x not in got], [x for x in got if x not in wanted]
        parts.append(f"{name}: {got!r} instead of {wanted!r}")
    return "; ".join(parts)
