"""The comparisons of scripts/bench, which builds the programs.

Every time is a ratio of medians that hyperfine measures. The launcher and its peers take turns, A B A B,
on the same file system, if possible one in memory.
"""
import argparse
import json
import os
import random
import re
import shlex
import shutil
import statistics
import subprocess
import tempfile
from collections.abc import Callable, Iterable
from functools import partial
from pathlib import Path

BIN = Path(__file__).resolve().parent.parent.parent / "build/release/bin"
KIB, MIB = 1024, 1024 * 1024
PARSER = argparse.ArgumentParser("scripts/bench")
PARSER.add_argument("--quick", action="store_true", help="run everything once, on small trees")
QUICK = PARSER.parse_args().quick
REACHED: list[bool] = []

Environment = dict[str, str]


def add(case: str, peer: str, value: str, limit: float | None = None, found: float = 0,
        memory: str = "", calls: str = "") -> None:
    """Prints one row of the table; `found` is compared with the goal `limit`."""
    goal = "" if limit is None else f"<= {round(limit, 2):g}"
    verdict = ""
    if limit is not None and not QUICK:
        REACHED.append(found <= limit)
        verdict = "reached" if found <= limit else "MISSED"
    print(f"{case:<34} {peer:<28} {value:<26} {goal:<10} {verdict:<8} {memory:<18} {calls}", flush=True)


class Command:
    def __init__(self, name: str, words: list[str], goal: float | None = None) -> None:
        self.name, self.goal, self.line = name, goal, shlex.join(words)
        self.times: list[float] = []  # the median of each turn, in seconds
        self.memory = 0  # the peak, in KiB


def take_turns(rounds: int, commands: list[Command], env: Environment, work: Path, clean_up: str = "true") -> None:
    """Runs the commands in turn; runs many rounds about a hundred at a time."""
    turns = min(rounds, 21)
    report = work / "report"
    options = ["--shell=none", "--style=none", "--export-json", str(report), "--prepare", clean_up]
    for turn in range(turns):
        runs = ["--runs", str(rounds // turns), "--warmup", "0" if turn or QUICK else "1"]
        subprocess.run(["hyperfine", *options, *runs, *(one.line for one in commands)], env=env, check=True,
                       stderr=subprocess.DEVNULL)
        for command, result in zip(commands, json.loads(report.read_text())["results"]):
            command.times.append(result["median"])
    for command in commands:
        subprocess.run(["/usr/bin/time", "-f", "%M", "-o", report, *shlex.split(command.line)], env=env,
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        command.memory = int(report.read_text())
        subprocess.run(shlex.split(clean_up), check=True)


def compare(case: str, ours: Command, peers: list[Command], calls: str = "") -> None:
    for peer in peers:
        ratio = statistics.median(ours.times) / statistics.median(peer.times)
        single = sorted(a / b for a, b in zip(ours.times, peer.times))
        low, high = single[len(single) // 4], single[(3 * len(single)) // 4]
        add(case, peer.name, f"{ratio:.2f} ({low:.2f}-{high:.2f})", peer.goal, ratio,
            f"{ours.memory} / {peer.memory} KiB", calls)
        calls = ""


def run_under(tool: list[str], launcher: str, env: Environment) -> str:
    """Returns what the tool writes to standard error."""
    return subprocess.run([*tool, launcher], env=env, text=True, check=True, stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE).stderr


def make_media(place: Path, missing_volume: bool) -> Environment:
    """Makes a media whose installer ends at once; returns the variables for its launch."""
    (place / "media/inst/linux/code/bin").mkdir(parents=True)
    (place / "tmp").mkdir()
    shutil.copy(BIN / "exit_at_once", place / "media/inst/linux/code/bin/installer")
    if missing_volume:  # then the launcher stages the installer
        (place / "media/inst/volumes.txt").write_text("2\n")
        (place / "media/1.txt").write_text("MTBDIR=BENCH\n")
        for name in ("meta.TOCxml", "media.xml", "media.db", "StartGUI.sh", "StartTUI.sh"):
            (place / "media" / name).touch()
    return {"PATH": "/usr/bin:/bin", "CurrentMediaDir": str(place / "media"), "KVL_OS": "linux",
            "KVL_Installer_EXE": "installer", "TMPDIR": str(place / "tmp")}


def fill(directory: Path, sizes: Iterable[int], directories: int) -> None:
    for number in range(directories):
        (directory / f"directory {number:06}").mkdir(parents=True)
    block = os.urandom(MIB)
    for number, size in enumerate(sizes):
        with open(directory / f"directory {number % directories:06}/file {number:06}", "wb") as file:
            while size > 0:
                size -= file.write(block[:size])


def launch_in_place(launcher: str, work: Path) -> None:
    env = make_media(work / "in place", missing_volume=False)
    child = f"{env['CurrentMediaDir']}/inst/linux/code/bin/installer"
    script = work / "start"
    script.write_text(f"#!/bin/bash\n'{child}'\nexit $?\n")
    script.chmod(0o755)
    ours, peers = Command("", [launcher]), [
        Command("tini -s --", ["tini", "-s", "--", child], 1.00),
        Command("fork, exec and wait in C", [str(BIN / "only_start_and_wait"), child], 1.15),
        Command("bash script", [str(script)], 0.65),
        Command("dumb-init", ["dumb-init", child]),
    ]
    take_turns(2 if QUICK else 2100, [ours, *peers], env, work)
    # Counts the calls from the launcher's exec, exclusive, to the child's, inclusive.
    run_under(["strace", "-f", "-o", str(work / "trace")], launcher, env)
    calls = [line for line in (work / "trace").read_text().splitlines()
             if re.match(r"\d+ +\w+\(", line) and " wait4(" not in line]
    until_exec = [number for number, line in enumerate(calls) if " execve(" in line][1]
    add("launch in place", "calls to the child's exec", f"{until_exec}", 26, until_exec)
    said = run_under(["valgrind", "--tool=callgrind", f"--callgrind-out-file={work}/callgrind"], launcher, env)
    # The child's process reports its own figure; the last figure is the launcher's.
    million = int(re.findall(r"I +refs: +([\d,]+)", said)[-1].replace(",", "")) / 1e6
    add("launch in place", "instructions", f"{million:.2f} million", 0.40, million)
    compare("launch in place", ours, peers)
    # Short variables: all must fit into the system's limit for a program's start.
    env |= {f"V{number}": "x" for number in range(1_000 if QUICK else 100_000)}
    ours, peer = Command("", [launcher]), Command(peers[1].name, shlex.split(peers[1].line))
    take_turns(1 if QUICK else 42, [ours, peer], env, work)
    compare("1,000 inherited variables" if QUICK else "100,000 inherited variables", ours, [peer])


def staging(case: str, launcher: str, work: Path, rounds: int, fill_with: Callable[[Path], None],
            goal: float | None = None, other_peers: bool = False, calls_goal: float | None = None,
            memory_goal: int = 2 * KIB) -> float:
    """Compares staging with cp. Returns the launcher's median time per file."""
    place = work / "staging"
    env = make_media(place, missing_volume=True)
    inst, to = f"{env['CurrentMediaDir']}/inst", env["TMPDIR"]
    fill_with(Path(inst) / "common")
    ours, peers = Command("", [launcher]), [
        Command("cp -r --reflink=never", ["cp", "-r", "--reflink=never", inst, f"{to}/copy"], goal)]
    if other_peers:
        peers.append(Command("rsync -r --whole-file", ["rsync", "-r", "--whole-file", inst, f"{to}/copy"]))
        peers.append(Command("tar | tar", ["sh", "-c", f"cd {shlex.quote(inst)} && tar cf - . | "
                                           f"tar xf - -C {shlex.quote(to)}"]))
    clean_up = shlex.join(["find", to, "-mindepth", "1", "-delete"])
    take_turns(rounds, [ours, *peers], env, work, clean_up)
    files = sum(len(names) for _, _, names in os.walk(inst))
    # The calls of the launcher without its child; the last line is "123 total".
    run_under(["strace", "-c", "-U", "calls", "-o", str(work / "trace")], launcher, env)
    calls = int((work / "trace").read_text().split()[-2]) / files
    compare(case, ours, peers, f"{calls:.2f} per file" if files > 100 else "")
    if calls_goal and not QUICK:
        add(case, "calls for each file", f"{calls:.2f}", calls_goal, calls)
    add(case, "peak memory", f"{ours.memory} KiB", memory_goal, ours.memory)
    shutil.rmtree(place)
    return statistics.median(ours.times) / files


def stage_trees(launcher: str, work: Path) -> None:
    part = 100 if QUICK else 1
    few, some, many = (1, 1, 1) if QUICK else (5, 9, 21)
    generator = random.Random(1)
    sizes = [min(generator.lognormvariate(0, 2.0), 200.0) for _ in range(3_000 // part)]
    of_an_installer = [min(int(size * 600 * MIB / part / sum(sizes)), 20 * MIB) for size in sizes]
    staging("10,000 files of 4 KiB", launcher, work, many,
            lambda to: fill(to, [4 * KIB] * (10_000 // part), 500 // part), 0.78, True, 11.6)
    staging("100,000 files of 200 bytes", launcher, work, some,
            lambda to: fill(to, [200] * (100_000 // part), 2_000 // part), 0.78, calls_goal=11.6)
    staging("3,000 files of an installer", launcher, work, some,
            lambda to: fill(to, of_an_installer, 150), 0.80)
    staging("one file of 512 MiB", launcher, work, few, lambda to: fill(to, [512 * MIB // part], 1), 1.05)
    staging("200 nested directories", launcher, work, 2 if QUICK else 210,
            lambda to: fill(to.joinpath(*["d"] * 199), [5], 1), 1.15, memory_goal=3 * KIB)
    counts = [(100, 1), (200, 1)] if QUICK else [(1_000, 42), (10_000, 11), (50_000, 5), (200_000, 5)]
    times = [staging(f"growth: {count:,} files", launcher, work, rounds,
                     partial(fill, sizes=[200] * count, directories=count // 50))
             for count, rounds in counts]
    for (count, _), time in zip(counts[1:], times[1:]):
        add(f"growth: {count:,} files", f"time per file at {counts[0][0]:,}", f"{time / times[0]:.2f}",
            1.15, time / times[0])


def making(case: str, work: Path, rounds: int, sizes: Iterable[int], directories: int, goal: float) -> None:
    """Compares making a media with copying its payload, and verifying it with programs for checksums."""
    place = work / "making"
    payload, to, installer = place / "payload", place / "to", str(BIN / "exit_at_once")
    to.mkdir(parents=True)
    fill(payload, sizes, directories)
    ours = Command("", [str(BIN / "kvl-media"), "make", "--quiet", "--tag", "BENCH", "--installer", installer,
                        str(payload), str(to / "media")])
    peer = Command("cp -r --reflink=never", ["cp", "-r", "--reflink=never", str(payload), str(to / "copy")], goal)
    take_turns(rounds, [ours, peer], {"PATH": "/usr/bin:/bin"}, work,
               shlex.join(["find", str(to), "-mindepth", "1", "-delete"]))
    compare(case, ours, [peer])
    add(case, "peak memory", f"{ours.memory} KiB", 16 * KIB, ours.memory)
    subprocess.run(shlex.split(ours.line), check=True, stdout=subprocess.DEVNULL)
    verifying(case.replace("make", "verify"), work, rounds, to / "media")
    shutil.rmtree(place)


def verifying(case: str, work: Path, rounds: int, media: Path) -> None:
    one, two = ([str(BIN / "kvl-media"), "verify", "--jobs", jobs, str(media)] for jobs in "12")
    ours, both = Command("verify --jobs 1", one, 1 / 1.7), Command("", two)
    peers = [Command(name, ["find", str(media), "-type", "f", "-exec", *name.split(), "{}", "+"], goal)
             for name, goal in (("openssl dgst -sha256", 1 / 0.9), ("sha256sum", None), ("cksum", None))]
    take_turns(rounds, [ours, both, *peers], {"PATH": "/usr/bin:/bin"}, work)
    compare(case, ours, peers)
    compare(case + ", 2 jobs", both, [ours])


def make_media_of_trees(work: Path) -> None:
    part = 100 if QUICK else 1
    generator = random.Random(2)
    sizes = [min(generator.lognormvariate(0, 2.0), 200.0) for _ in range(7_000 // part)]
    suite = [int(size * 1_500 * MIB / part / sum(sizes)) for size in sizes]
    making("make: 7,000 files of 1.5 GB", work, 1 if QUICK else 7, suite, 350, 1.25)
    making("make: 100,000 files of 200 bytes", work, 1 if QUICK else 7, [200] * (100_000 // part), 2_000 // part, 1.3)


def parts(work: Path) -> None:
    print("\nThe parts of the launcher alone:", flush=True)
    options = ["--benchmark_min_time=0.05"]
    if QUICK:
        options = ["--benchmark_min_time=0.0001", "--benchmark_filter=/64$|/10$|/1024$|Identifier|Join|Small|/8$"]
    subprocess.run([BIN / "part_benchmarks", *options], env={"TMPDIR": str(work), "PATH": "/usr/bin:/bin"},
                   check=True)


def main() -> None:
    print(f"{'case':<34} {'peer':<28} {'figure (quartiles)':<26} {'goal':<10} {'verdict':<8} "
          f"{'peak memory':<18} system calls")
    # Uses a memory file system with room for the largest comparison, or the usual temporary
    # directory.
    memory, needed = "/dev/shm", (100 if QUICK else 4_000) * MIB
    is_roomy = os.access(memory, os.W_OK) and shutil.disk_usage(memory).free > needed
    with tempfile.TemporaryDirectory(prefix="kvl-bench.", dir=memory if is_roomy else None) as name:
        work, launcher = Path(name), f"{name}/kvl-launcher"
        subprocess.run(["strip", "-o", launcher, BIN / "kvl-launcher"], check=True)
        size = os.path.getsize(launcher) / MIB
        add("static program, stripped", "size", f"{size:.2f} MiB", 1.50, size)
        launch_in_place(launcher, work)
        stage_trees(launcher, work)
        make_media_of_trees(work)
        parts(work)
    if QUICK:
        print("\nEvery comparison ran; the figures of such a quick run mean nothing")
    else:
        print(f"\n{sum(REACHED)} of {len(REACHED)} goals reached")


main()
