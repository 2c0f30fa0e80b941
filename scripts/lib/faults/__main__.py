"""The campaign: what is failed, by how many at once, and the tables of what came out."""

from __future__ import annotations

import argparse
import collections
import concurrent.futures
import dataclasses
import os
import queue
import resource
import shlex
import shutil
import signal
import sys
import tempfile
import time
from pathlib import Path

import calls
import world as worlds
from calls import Call, Fault
from launch import Launch, Launcher, why_not_traceable
from verdict import ACCEPTED, FAILED, MESSAGE, SUCCESS, Judge, Verdict
from world import World

_CHECKOUT = Path(__file__).resolve().parents[3]
_IS_SKIPPED = 77  # the exit status, as automatic test programs have it

_ABOUT = """\
Launches an installer from small medias, once for every system call that the launcher makes and
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


@dataclasses.dataclass
class Recording:
    """A kind of launch as it is without failures."""

    usual: Launch
    made: list[Call]

    def of_main(self) -> list[tuple[int, Call]]:
        """The calls to fail, each with its number among all of its name and process."""
        own = {call.name for call in self.made if not call.in_child}
        counts: collections.Counter[tuple[bool, str]] = collections.Counter()
        found = []
        in_main = False
        for call in self.made:
            counts[call.in_child, call.name] += 1
            in_main = in_main or call.name == "poll"  # main begins with a look at the streams
            # Calls are counted in each process on its own, so that one of the child can be told
            # apart only when the launcher has none of that name.
            is_apart = not call.in_child or call.name not in own - {"execve"}
            is_start = call.name == "execve" and not call.in_child  # strace does not count it
            if in_main and not is_start and is_apart and calls.is_failed(call.name):
                found.append((counts[call.in_child, call.name], call))
        return found

    def left_out(self) -> collections.Counter[str]:
        """How many calls of each name are not failed."""
        made = collections.Counter(map(label, self.made))
        return made - collections.Counter(label(call) for _, call in self.of_main())


def label(call: Call) -> str:
    return call.name + (" (child)" if call.in_child else "")


@dataclasses.dataclass
class Row:
    """All launches with failures of one call, in one kind of launch."""

    kind: str
    call: str
    failures: set[str] = dataclasses.field(default_factory=set)
    outcomes: collections.Counter[str] = dataclasses.field(default_factory=collections.Counter)
    surprises: list[str] = dataclasses.field(default_factory=list)


def row_name(fault: Fault) -> str:
    return fault.call + (" (child)" if fault.in_child else "")


def all_faults(recording: Recording) -> list[Fault]:
    faults = []
    for number, call in recording.of_main():
        for failure in calls.failures_of(call):
            for when in (str(number), calls.from_then_on(number, failure)):
                faults.append(Fault(call.name, failure, when, call.in_child))
    return list(dict.fromkeys(faults))


def some_faults(recording: Recording) -> list[Fault]:
    """Of every call: the first, the middle and the last one, each with another error, the middle
    one with all that follow, and one with each wrong result that it may give."""
    by_name: dict[tuple[str, bool], list[tuple[int, Call]]] = collections.defaultdict(list)
    for number, call in recording.of_main():
        by_name[call.name, call.in_child].append((number, call))
    faults = []
    for (name, in_child), made in by_name.items():
        for turn, (number, call) in enumerate([made[0], made[len(made) // 2], made[-1]]):
            failures = calls.failures_of(call)
            failure = failures[(turn * 3 + 1) % len(failures)]
            faults.append(Fault(name, failure, str(number), in_child))
            if turn == 1:
                faults.append(Fault(name, failure, calls.from_then_on(number, failure), in_child))
        results = {
            failure: Fault(name, failure, str(number), in_child)
            for number, call in made
            for failure in calls.failures_of(call)
            if failure.startswith("retval=")
        }
        faults += results.values()
    return list(dict.fromkeys(faults))


class Campaign:
    def __init__(self, program: Path, workplace: Path, jobs: int) -> None:
        self.launcher = Launcher(program)
        self.rows: dict[tuple[str, str], Row] = {}
        self.names: dict[str, collections.Counter[str]] = {}
        self.per_kind: collections.Counter[str] = collections.Counter()
        self.surprises: list[tuple[str, Fault, str]] = []
        self.recordings: dict[str, Recording] = {}
        self._workplace = workplace
        self._jobs = jobs

    def record(self, kind: str) -> Recording:
        place = World(self._workplace / "recording", kind)
        launch, made = self.launcher.recorded(place)
        again, _ = self.launcher.recorded(place)
        if not launch.report or launch.told() != again.told():
            sys.exit(f"{kind}: a launch without failures does not start the installer: {launch}")
        self.recordings[kind] = Recording(launch, made)
        if not self.recordings[kind].of_main():
            sys.exit(f"{kind}: no call found that could be failed")
        return self.recordings[kind]

    def run(self, kind: str, faults: list[Fault]) -> None:
        judge = Judge(self.launcher, kind, self.recordings[kind].usual, self._workplace)
        places: queue.SimpleQueue[World] = queue.SimpleQueue()
        for i in range(self._jobs):
            places.put(World(self._workplace / str(i), kind))

        def one(fault: Fault) -> tuple[Fault, Verdict]:
            place = places.get()
            try:
                launch = self.launcher.failing(place, fault)
                verdict = judge.judge(place, launch)
                if launch.media_changes:
                    place = World(place.root, kind)
                return fault, verdict
            finally:
                places.put(place)

        with concurrent.futures.ThreadPoolExecutor(self._jobs) as pool:
            try:
                for fault, verdict in pool.map(one, faults):
                    self._count(kind, fault, verdict)
            except BaseException:  # also when interrupted: not all that is still waiting
                pool.shutdown(cancel_futures=True)
                raise

    def _count(self, kind: str, fault: Fault, verdict: Verdict) -> None:
        row = self.rows.setdefault((kind, row_name(fault)), Row(kind, row_name(fault)))
        row.failures.add(fault.failure.partition("=")[2])
        row.outcomes[verdict.outcome] += 1
        self.per_kind[kind] += 1
        if verdict.outcome == FAILED:
            row.surprises.append(f"{fault.injection}: {verdict.name}")
            self.surprises.append((kind, fault, verdict.name))
        elif verdict.outcome != SUCCESS:
            self.names.setdefault(verdict.outcome, collections.Counter())[verdict.name] += 1

    # --- what came out ---------------------------------------------------------------------------

    def print_table(self) -> None:
        form = "{:<11} {:<21} {:>5} {:>8} {:>8} {:>8} {:>7}  {}"
        print(form.format("launch", "call", "runs", SUCCESS, MESSAGE, ACCEPTED, FAILED, "errors"))
        for row in self.rows.values():
            counts = [row.outcomes[name] for name in (SUCCESS, MESSAGE, ACCEPTED, FAILED)]
            errors = " ".join(sorted(row.failures))
            print(form.format(row.kind, row.call, sum(counts), *counts, errors))
        for kind, recording in self.recordings.items():
            left = ", ".join(f"{name} {n}" for name, n in sorted(recording.left_out().items()))
            print(f"\nnot failed in {kind}: {left}", end="")
        print()
        for outcome, names in sorted(self.names.items()):
            print(f"\n{outcome}:")
            for name, count in names.most_common():
                print(f"{count:>7}  {name}")

    def print_surprises(self) -> None:
        for kind, fault, text in self.surprises:
            options = ["--kind", kind, "--one", fault.injection]
            if fault.in_child:
                options.append("--child")
            where = " in the child" if fault.in_child else ""
            print(f"\n{FAILED}: {kind}, {fault.injection}{where}: {text}")
            print(f"  again: scripts/faults {shlex.join(options)}")

    def write_report(self, path: Path) -> None:
        """One line for each launch kind and call: verdict, name, text, separated by tabs."""
        with path.open("w") as report:
            for row in self.rows.values():
                verdict = "failed" if row.surprises else "passed"
                print(verdict, f"{row.kind}: {row.call}", *row.surprises[:1], sep="\t", file=report)

    def show_one(self, kind: str, fault: Fault) -> Verdict:
        """One launch, with all that was seen of it."""
        place = World(self._workplace / "0", kind)
        launch = self.launcher.failing(place, fault)
        judge = Judge(self.launcher, kind, self.recordings[kind].usual, self._workplace)
        verdict = judge.judge(place, launch)
        print("strace's log of what it failed:")
        for call in launch.failed:
            print(f"  {call.name}({call.arguments} = {call.result}")
        print("standard output:", *launch.out, sep="\n  ")
        print("standard error:", *launch.err, sep="\n  ")
        print(f"status: {launch.status}, after {launch.seconds:.1f} s; installer: {launch.report}")
        print(f"{verdict.outcome}: {verdict.name}")
        return verdict


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="faults", description=_ABOUT, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument(
        "--launcher",
        type=Path,
        default=_CHECKOUT / "build/release/bin/kvl-launcher",
        help="the program (default: that of build/release)",
    )
    parser.add_argument("--quick", action="store_true", help="a few launches for each call only")
    parser.add_argument("--kind", choices=worlds.KINDS, action="append", help="only this kind")
    parser.add_argument("--call", action="append", help="only this call")
    parser.add_argument("-j", "--jobs", type=int, default=2, help="launches at once (default: 2)")
    parser.add_argument("--report", type=Path, metavar="FILE", help="write the checks into FILE")
    parser.add_argument("--one", metavar="FAULT", help="this failure only, as strace takes it")
    parser.add_argument("--child", action="store_true", help="--one is about the child")
    return parser.parse_args()


def main() -> int:
    options = parse_arguments()
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
        campaign = Campaign(options.launcher.resolve(), workplace, options.jobs)
        for kind in options.kind or worlds.KINDS:
            recording = campaign.record(kind)
            if options.one:
                call, failure, when = options.one.split(":")
                fault = Fault(call, failure, when.removeprefix("when="), options.child)
                return campaign.show_one(kind, fault).outcome == FAILED
            faults = some_faults(recording) if options.quick else all_faults(recording)
            if options.call:
                faults = [fault for fault in faults if fault.call in options.call]
            print(f"{kind}: {len(faults)} launches", file=sys.stderr, flush=True)
            campaign.run(kind, faults)
    finally:
        shutil.rmtree(workplace, ignore_errors=True)

    campaign.print_table()
    campaign.print_surprises()
    if options.report:
        campaign.write_report(options.report)
    total: collections.Counter[str] = collections.Counter()
    for row in campaign.rows.values():
        total.update(row.outcomes)
    kinds = ", ".join(f"{kind} {count}" for kind, count in campaign.per_kind.items())
    counts = ", ".join(f"{total[name]} {name}" for name in (SUCCESS, MESSAGE, ACCEPTED, FAILED))
    print(f"\n{total.total()} launches ({kinds}) in {time.monotonic() - begin:.0f} s: {counts}")
    return 1 if total[FAILED] or not total.total() else 0


sys.exit(main())
