"""The comparisons of scripts/bench, which builds what is measured here.

Every time is a ratio of medians: the launcher and its peer run in turn, A B A B, on the same file
system. The trees lie on a memory file system where there is one.
"""
from __future__ import annotations

import argparse
import os
import random
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path

CHECKOUT = Path(__file__).resolve().parent.parent.parent
BIN = CHECKOUT / "build/bench/bin"
KIB, MIB = 1024, 1024 * 1024
QUICK = "--quick" in sys.argv[1:]


# --- the table -----------------------------------------------------------------------------------

@dataclass
class Row:
    case: str
    peer: str
    value: str
    goal: str = ""
    reached: bool | None = None
    memory: str = ""
    calls: str = ""


ROWS: list[Row] = []


def add(row: Row) -> None:
    if QUICK:
        row.reached = None
    ROWS.append(row)
    verdict = "" if row.reached is None else ("reached" if row.reached else "MISSED")
    print(f"{row.case:<34} {row.peer:<28} {row.value:<26} {row.goal:<10} {verdict:<8} "
          f"{row.memory:<18} {row.calls}", flush=True)


def print_head() -> None:
    print(f"{'case':<34} {'peer':<28} {'figure (quartiles)':<26} {'goal':<10} {'verdict':<8} "
          f"{'peak memory':<18} system calls")


# --- running -------------------------------------------------------------------------------------

@dataclass
class Turn:
    """What one of the commands took: times in ns, and the most memory in KiB."""
    times: list[int]
    memory: int


def take_turns(rounds: int, commands: list[list[str]], env: dict[str, str],
               clean_up: str = "") -> list[Turn]:
    words = [str(BIN / "take_turns"), str(rounds), clean_up]
    for command in commands:
        words += ["versus", *command]
    done = subprocess.run(words, env=env, text=True, stdout=subprocess.PIPE, check=True)
    turns = [Turn([], 0) for _ in commands]
    for line in done.stdout.splitlines():
        which, time, memory = (int(word) for word in line.split())
        turns[which].times.append(time)
        turns[which].memory = max(turns[which].memory, memory)
    return turns


def ratio(first: Turn, second: Turn) -> tuple[float, str]:
    """The ratio of the medians, and that with the quartiles of the single rounds' ratios."""
    of_medians = statistics.median(first.times) / statistics.median(second.times)
    single = sorted(a / b for a, b in zip(first.times, second.times))
    low, high = single[len(single) // 4], single[(3 * len(single)) // 4]
    return of_medians, f"{of_medians:.2f} ({low:.2f}-{high:.2f})"


def compare(case: str, peer: str, ours: Turn, theirs: Turn, goal: float | None,
            calls: str = "") -> None:
    value, text = ratio(ours, theirs)
    add(Row(case, peer, text, "" if goal is None else f"<= {goal:.2f}",
            None if goal is None else value <= goal,
            f"{ours.memory} / {theirs.memory} KiB", calls))


# --- the media -----------------------------------------------------------------------------------

class Media:
    """A media whose installer is a static program that ends at once."""

    def __init__(self, place: Path, missing_volume: bool) -> None:
        self.directory = place / "media"
        self.staged = place / "tmp"
        self.inst = self.directory / "inst"
        binaries = self.inst / "linux/code/bin"
        binaries.mkdir(parents=True)
        self.staged.mkdir()
        self.installer = binaries / "installer"
        shutil.copy(BIN / "exit_at_once", self.installer)
        if missing_volume:  # so that the installer is staged
            (self.inst / "volumes.txt").write_text("2\n")
            (self.directory / "1.txt").write_text("MTBDIR=BENCH\n")
            for name in ("meta.TOCxml", "media.xml", "media.db", "StartGUI.sh", "StartTUI.sh"):
                (self.directory / name).touch()

    def env(self) -> dict[str, str]:
        return {"PATH": "/usr/bin:/bin", "CurrentMediaDir": str(self.directory), "KVL_OS": "linux",
                "KVL_Installer_EXE": "installer", "TMPDIR": str(self.staged)}

    def files(self) -> int:
        return sum(len(names) for _, _, names in os.walk(self.inst))


def fill(directory: Path, files: int, directories: int, size: int) -> None:
    for number in range(directories):
        (directory / f"directory {number:06}").mkdir(parents=True)
    contents = os.urandom(size)
    for number in range(files):
        place = directory / f"directory {number % directories:06}"
        (place / f"file {number:06}").write_bytes(contents)


def fill_like_an_installer(directory: Path, files: int, total: int) -> None:
    """Log-normal sizes up to 20 MiB that add up to about `total`."""
    generator = random.Random(1)
    sizes = [min(generator.lognormvariate(0, 2.0), 200.0) for _ in range(files)]
    scale = total / sum(sizes)
    block = os.urandom(MIB)
    for number, size in enumerate(sizes):
        place = directory / f"part {number % 150:03}"
        place.mkdir(parents=True, exist_ok=True)
        left = min(int(size * scale), 20 * MIB)
        with open(place / f"file {number:05}", "wb") as file:
            while left > 0:
                left -= file.write(block[:left])


def fill_one_file(directory: Path, size: int) -> None:
    directory.mkdir()
    with open(directory / "file", "wb") as file:
        for _ in range(size // MIB):
            file.write(os.urandom(MIB))


def fill_nested(directory: Path, depth: int) -> None:
    for _ in range(depth):
        directory = directory / "d"
    directory.mkdir(parents=True)
    (directory / "file").write_text("deep\n")


# --- the cases -----------------------------------------------------------------------------------

def stripped_launcher(work: Path) -> Path:
    launcher = work / "kvl-launcher"
    subprocess.run(["strip", "-o", launcher, BIN / "kvl-launcher"], check=True)
    return launcher


def calls_until_exec(launcher: Path, env: dict[str, str], work: Path) -> int:
    """System calls from the launcher's exec, not counted, to the child's, counted."""
    trace = work / "trace"
    subprocess.run(["strace", "-f", "-o", trace, launcher], env=env, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, check=True)
    count = execs = 0
    for line in trace.read_text().splitlines():
        if "resumed>" in line or " wait4(" in line or not re.match(r"\d+ +\w+\(", line):
            continue
        execs += " execve(" in line
        count += 1
        if execs == 2:
            return count - 1
    raise RuntimeError("the installer was not started")


def all_calls(launcher: Path, env: dict[str, str], work: Path) -> int:
    """System calls of the launcher alone, the child not counted."""
    trace = work / "trace"
    subprocess.run(["strace", "-o", trace, launcher], env=env, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, check=True)
    with open(trace, encoding="utf-8", errors="replace") as lines:
        return sum(1 for line in lines if re.match(r"\w+\(", line))


def instructions(launcher: Path, env: dict[str, str], work: Path) -> int:
    done = subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={work}/callgrind",
                           launcher], env=env, text=True, stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, check=True)
    # The child's figure comes from its own process; the launcher's is the last one.
    return int(re.findall(r"I +refs: +([\d,]+)", done.stderr)[-1].replace(",", ""))


def launch_in_place(launcher: Path, work: Path) -> None:
    place = work / "in place"
    media = Media(place, missing_volume=False)
    script = place / "start"
    script.write_text(f"#!/bin/bash\n'{media.installer}'\nexit $?\n")
    script.chmod(0o755)
    child = str(media.installer)
    peers: list[tuple[str, list[str], float | None]] = [
        ("tini -s --", ["tini", "-s", "--", child], 1.00),
        ("fork, exec and wait in C", [str(BIN / "only_start_and_wait"), child], 1.15),
        ("bash script", [str(script)], 0.65),
        ("dumb-init", ["dumb-init", child], None),
    ]
    turns = take_turns(2 if QUICK else 2000, [[str(launcher)], *(words for _, words, _ in peers)],
                       media.env())
    calls = calls_until_exec(launcher, media.env(), work)
    add(Row("launch in place", "calls to the child's exec", f"{calls}", "<= 26", calls <= 26))
    count = instructions(launcher, media.env(), work)
    add(Row("launch in place", "instructions", f"{count / 1e6:.2f} million", "<= 0.40",
            count <= 400_000))
    for (name, _, goal), turn in zip(peers, turns[1:]):
        compare("launch in place", name, turns[0], turn, goal)
    shutil.rmtree(place)


def staging(name: str, launcher: Path, work: Path, rounds: int, goal: float | None, make,
            other_peers: bool = False, calls_goal: float | None = None,
            memory_goal: int | None = None) -> float:
    """Compares staging with cp. Gives back the launcher's median time for each file, in ns."""
    place = work / "staging"
    media = Media(place, missing_volume=True)
    make(media.inst / "common")
    inst, to = str(media.inst), str(media.staged)
    commands = [[str(launcher)], ["cp", "-r", "--reflink=never", inst, f"{to}/copy {{}}"]]
    peers = ["cp -r --reflink=never"]
    if other_peers:
        commands.append(["rsync", "-r", "--whole-file", inst, f"{to}/copy {{}}"])
        commands.append(["sh", "-c", f"mkdir '{to}/copy {{}}' && cd '{inst}' && "
                         f"tar cf - . | tar xf - -C '{to}/copy '*"])
        peers += ["rsync -r --whole-file", "tar | tar"]
    turns = take_turns(rounds, commands, media.env(), f"rm -rf '{to}'/*")
    files = media.files()
    calls = all_calls(launcher, media.env(), work) / files
    text = f"{calls:.2f} per file" if files > 100 else ""
    compare(name, peers[0], turns[0], turns[1], goal, text)
    for peer, turn in zip(peers[1:], turns[2:]):
        compare(name, peer, turns[0], turn, None)
    if calls_goal is not None:
        add(Row(name, "calls for each file", f"{calls:.2f}", f"<= {calls_goal}",
                calls <= calls_goal))
    if memory_goal is not None:
        add(Row(name, "peak memory", f"{turns[0].memory} KiB", f"<= {memory_goal}",
                turns[0].memory <= memory_goal))
    shutil.rmtree(place)
    return statistics.median(turns[0].times) / files


def stage_trees(launcher: Path, work: Path) -> None:
    part = 100 if QUICK else 1
    few, some, many = (1, 1, 1) if QUICK else (5, 9, 21)
    staging("10,000 files of 4 KiB", launcher, work, many, 0.78,
            lambda to: fill(to, 10_000 // part, 500 // part, 4 * KIB), other_peers=True,
            calls_goal=None if QUICK else 11.6, memory_goal=2 * KIB)
    staging("100,000 files of 200 bytes", launcher, work, some, 0.78,
            lambda to: fill(to, 100_000 // part, 2_000 // part, 200),
            calls_goal=None if QUICK else 11.6, memory_goal=2 * KIB)
    staging("3,000 files of an installer", launcher, work, some, 0.80,
            lambda to: fill_like_an_installer(to, 3_000 // part, 600 * MIB // part),
            memory_goal=2 * KIB)
    staging("one file of 512 MiB", launcher, work, few, 1.05,
            lambda to: fill_one_file(to, 512 * MIB // part), memory_goal=2 * KIB)
    staging("200 nested directories", launcher, work, 2 if QUICK else 200, 1.15,
            lambda to: fill_nested(to, 200), memory_goal=3 * KIB)


def growth(launcher: Path, work: Path) -> None:
    counts = [100, 200] if QUICK else [1_000, 10_000, 50_000, 200_000]
    rounds = [1, 1] if QUICK else [41, 11, 5, 5]
    times = [staging(f"growth: {count:,} files", launcher, work, turns, None,
                     lambda to, count=count: fill(to, count, max(count // 50, 1), 200),
                     memory_goal=2 * KIB)
             for count, turns in zip(counts, rounds)]
    for count, time in zip(counts[1:], times[1:]):
        value = time / times[0]
        add(Row(f"growth: {count:,} files", f"time per file at {counts[0]:,}", f"{value:.2f}",
                "<= 1.15", value <= 1.15))


def many_variables(launcher: Path, work: Path) -> None:
    place = work / "variables"
    media = Media(place, missing_volume=False)
    count = 1_000 if QUICK else 100_000
    # Short ones: all have to fit into what the system takes at a program's start.
    env = media.env() | {f"V{number}": "x" for number in range(count)}
    child = str(media.installer)
    turns = take_turns(1 if QUICK else 51, [[str(launcher)],
                                            [str(BIN / "only_start_and_wait"), child]], env)
    compare(f"{count:,} inherited variables", "fork, exec and wait in C", turns[0], turns[1], None)
    shutil.rmtree(place)


def parts(work: Path) -> None:
    print("\nThe parts by themselves:", flush=True)
    time = "0.0001" if QUICK else "0.05"
    subprocess.run([BIN / "part_benchmarks", f"--benchmark_min_time={time}",
                    *(["--benchmark_filter=/64$|/10$|/1024$|Identifier|Join|Small|/8$"] if QUICK else [])],
                   env={"TMPDIR": str(work), "PATH": "/usr/bin:/bin"}, check=True)


def roomy_directory() -> str | None:
    """A memory file system with room for the largest comparison, or the usual temporary place."""
    memory = "/dev/shm"
    needed = (100 if QUICK else 3_000) * MIB
    if os.access(memory, os.W_OK) and shutil.disk_usage(memory).free > needed:
        return memory
    return None


def main() -> int:
    parser = argparse.ArgumentParser(prog="scripts/bench")
    parser.add_argument("--quick", action="store_true", help="everything once, on small trees")
    parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="kvl-bench.", dir=roomy_directory()) as name:
        work = Path(name)
        launcher = stripped_launcher(work)
        print_head()
        size = launcher.stat().st_size
        add(Row("static program, stripped", "size", f"{size / MIB:.2f} MiB", "<= 1.50",
                size <= 1.5 * MIB))
        launch_in_place(launcher, work)
        stage_trees(launcher, work)
        growth(launcher, work)
        many_variables(launcher, work)
        parts(work)
    goals = [row for row in ROWS if row.reached is not None]
    missed = [row for row in goals if not row.reached]
    if QUICK:
        print(f"\n{len(ROWS)} comparisons ran; so quick, their figures say nothing")
    else:
        print(f"\n{len(goals) - len(missed)} of {len(goals)} goals reached")
    return 0


if __name__ == "__main__":
    sys.exit(main())
