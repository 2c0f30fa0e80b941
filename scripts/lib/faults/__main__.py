"""Launches an installer from small medias, once for every system call that the launcher makes and
every error that the call may end with, and has strace fail it: that one call, and that call and
all later ones of the same name. Four kinds of launch: staged; in place; staged with the installer
of an external media; software management.

Each launch must end in one of these ways:
  success   the installer ran, was told what it is always told, and its status was handed on; a
            staged copy is whole, with the modes and times that it should have
  message   the launcher ended with one of its messages and the status that belongs to it
  accepted  one of the ends that are documented to be silent; they are listed with their counts
Everything else is a failure, above all: a crash, more than 10 s, a changed media, an installer
started from an incomplete copy in silence.

Failed are the calls about files, directories, descriptors and processes, from the first one that
main makes on, in the launcher and in its child until that becomes the installer. What was left
out is listed below the table.
"""

from __future__ import annotations

import argparse
import os
import pprint
import queue
import re
import resource
import shlex
import shutil
import signal
import sys
import tempfile
import time
from collections import Counter, defaultdict
from collections.abc import Iterator
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import NamedTuple

import world as worlds
from calls import Call, Fault, fault_of
from launch import UNTIL_INSTALLER, failing_launch, launch, why_not_traceable
from verdict import ACCEPTED, FAILED, MESSAGE, OUTCOMES, Judge, Verdict
from world import World

_CHECKOUT = Path(__file__).resolve().parents[3]
_IS_SKIPPED = 77  # the exit status, as automatic test programs have it


class Tried(NamedTuple):
    kind: str
    fault: Fault
    verdict: Verdict

    @property
    def call(self) -> tuple[str, str]:
        return self.kind, self.fault.call.label


def name_of(kind: str, fault: Fault) -> str:
    return f"{kind}: {fault.injection}{' (child)' if fault.call.in_child else ''}"


def calls_to_fail(made: list[Call]) -> list[tuple[Call, int]]:
    """Each with its number among all of its name and process."""
    own = {call.name for call in made if not call.in_child}
    counts: Counter[str] = Counter()
    found = []
    in_main = False
    for call in made:
        counts[call.label] += 1
        in_main = in_main or call.name == "poll"  # main begins with a look at the streams
        # Calls are counted in each process on its own, so that one of the child can be told apart
        # only when the launcher has none of that name.
        is_apart = not call.in_child or call.name not in own - {"execve"}
        is_start = call.name == "execve" and not call.in_child  # strace does not count it
        if in_main and not is_start and is_apart and call.failures():
            found.append((call, counts[call.label]))
    return found


def all_faults(made: list[tuple[Call, int]]) -> Iterator[Fault]:
    for call, number in made:
        for failure in call.failures():
            yield fault_of(call, number, failure)
            yield fault_of(call, number, failure, from_then_on=True)


def some_faults(made: list[tuple[Call, int]]) -> Iterator[Fault]:
    """Of every call: the first, the middle and the last one, each with another error, the middle
    one with all that follow, and one with each wrong result that it may give."""
    by_name: defaultdict[str, list[tuple[Call, int]]] = defaultdict(list)
    for call, number in made:
        by_name[call.label].append((call, number))
    for same in by_name.values():
        for turn, (call, number) in enumerate([same[0], same[len(same) // 2], same[-1]]):
            failure = call.failures()[(turn * 3 + 1) % len(call.failures())]
            yield fault_of(call, number, failure)
            if turn == 1:
                yield fault_of(call, number, failure, from_then_on=True)
        results = {
            failure: fault_of(call, number, failure)
            for call, number in same
            for failure in call.failures()
            if failure.startswith("retval=")
        }
        yield from results.values()


class Campaign:
    def __init__(self, options: argparse.Namespace, workplace: Path) -> None:
        self._options, self._workplace = options, workplace
        self._program: Path = options.launcher.resolve()
        self._tried: list[Tried] = []
        self._left_out: dict[str, Counter[str]] = {}

    def run(self, kind: str) -> None:
        place = World(self._workplace / "recording", kind)
        usual = launch(self._program, place, *UNTIL_INSTALLER)
        again = launch(self._program, place, *UNTIL_INSTALLER)
        made = calls_to_fail(usual.made)
        if not usual.report or usual.told() != again.told() or not made:
            sys.exit(f"{kind}: a launch without failures does not start the installer: {usual}")
        if usual.staged and not place.is_whole(usual.staged):
            sys.exit(f"{kind}: the copy of a launch without failures is not whole: {usual}")
        chosen = (some_faults if self._options.quick else all_faults)(made)
        named = {name_of(kind, fault): fault for fault in chosen}
        faults = [fault for name, fault in named.items() if re.search(self._options.only, name)]
        if not faults:
            return
        print(f"{kind}: {len(faults)} launches", file=sys.stderr, flush=True)
        called = Counter(call.label for call in usual.made)
        self._left_out[kind] = called - Counter(call.label for call, _ in made)

        judge = Judge(self._program, usual, self._workplace)
        places: queue.SimpleQueue[World] = queue.SimpleQueue()
        for i in range(self._options.jobs):
            places.put(World(self._workplace / str(i), kind))

        def one(fault: Fault) -> Tried:
            place = places.get()
            try:
                seen = failing_launch(self._program, place, fault)
                verdict = judge.judge(place, seen)
                if len(faults) == 1:
                    pprint.pprint(seen)
                if seen.media_changes:
                    place = World(place.root, kind)
                return Tried(kind, fault, verdict)
            finally:
                places.put(place)

        with ThreadPoolExecutor(self._options.jobs) as pool:
            try:
                self._tried += pool.map(one, faults)
            except BaseException:  # also when interrupted: not all that is still waiting
                pool.shutdown(cancel_futures=True)
                raise

    def print_tables(self) -> None:
        form = "{:<11} {:<21} {:>5} {:>8} {:>8} {:>8} {:>7}  {}"
        print(form.format("launch", "call", "runs", *OUTCOMES, "errors"))
        for call, tried in self._by_call():
            outcomes = Counter(one.verdict.outcome for one in tried)
            errors = " ".join(sorted({one.fault.failure.partition("=")[2] for one in tried}))
            print(form.format(*call, len(tried), *(outcomes[o] for o in OUTCOMES), errors))
        for kind, left_out in self._left_out.items():
            left = ", ".join(f"{name} {count}" for name, count in sorted(left_out.items()))
            print(f"\nnot failed in {kind}: {left}", end="")
        verdicts = Counter(one.verdict for one in self._tried if one.verdict.name)
        for outcome in (ACCEPTED, MESSAGE):
            print(f"\n\n{outcome}:", end="")
            for verdict, count in verdicts.most_common():
                if verdict.outcome == outcome:
                    print(f"\n{count:>7}  {verdict.name}", end="")
        print()
        for kind, fault, verdict in self._tried:
            if verdict.outcome == FAILED:
                name = name_of(kind, fault)
                only = shlex.quote(f"^{re.escape(name)}$")
                print(f"\n{FAILED}: {name}: {verdict.name}\n  again: scripts/faults --only {only}")

    def summarise(self, seconds: float) -> bool:
        """Prints the last line. True when nothing failed."""
        total = Counter(one.verdict.outcome for one in self._tried)
        per_kind = Counter(one.kind for one in self._tried)
        kinds = ", ".join(f"{kind} {count}" for kind, count in per_kind.items())
        counts = ", ".join(f"{total[outcome]} {outcome}" for outcome in OUTCOMES)
        print(f"\n{len(self._tried)} launches ({kinds}) in {seconds:.0f} s: {counts}")
        return bool(self._tried) and not total[FAILED]

    def write_report(self, path: Path) -> None:
        """One line for each launch kind and call: verdict, name, text, separated by tabs."""
        with path.open("w") as report:
            for (kind, label), tried in self._by_call():
                failed = [one for one in tried if one.verdict.outcome == FAILED][:1]
                texts = [f"{one.fault.injection}: {one.verdict.name}" for one in failed]
                verdict = "failed" if failed else "passed"
                print(verdict, f"{kind}: {label}", *texts, sep="\t", file=report)

    def _by_call(self) -> list[tuple[tuple[str, str], list[Tried]]]:
        calls = dict.fromkeys(one.call for one in self._tried)
        return [(call, [one for one in self._tried if one.call == call]) for call in calls]


def main() -> int:
    style = argparse.RawDescriptionHelpFormatter
    parser = argparse.ArgumentParser(prog="faults", description=__doc__, formatter_class=style)
    add = parser.add_argument
    release = _CHECKOUT / "build/release/bin/kvl-launcher"
    add("--launcher", type=Path, default=release, help="the program (default: the release)")
    add("--quick", action="store_true", help="a few launches for each call only")
    add("--only", default="", metavar="REGEX", help="such as 'staged: read:error=EIO:when=2'")
    add("-j", "--jobs", type=int, default=2, help="launches at once (default: 2)")
    add("--report", type=Path, metavar="FILE", help="write the checks into FILE")
    options = parser.parse_args()
    if reason := why_not_traceable():
        print(reason)
        if options.report:
            options.report.write_text(f"skipped\tall\t{reason}\n")
        return _IS_SKIPPED
    if not os.access(options.launcher, os.X_OK):
        sys.exit(f"not there, please build it: {options.launcher}")

    os.umask(worlds.UMASK)
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    for number in (signal.SIGHUP, signal.SIGTERM):
        signal.signal(number, lambda *_: sys.exit(1))
    begin = time.monotonic()
    workplace = Path(tempfile.mkdtemp(prefix="kvl-faults.")).resolve()
    try:
        campaign = Campaign(options, workplace)
        for kind in worlds.KINDS:
            campaign.run(kind)
    finally:
        shutil.rmtree(workplace, ignore_errors=True)
    campaign.print_tables()
    if options.report:
        campaign.write_report(options.report)
    return 0 if campaign.summarise(time.monotonic() - begin) else 1


sys.exit(main())
