"""Builds mutants in a copy of the sources, and runs their tests where they can do no harm.

A wrong program may delete or write anything. So the tests can write only into the build tree of the
copy and into temporary directories, which are file systems of their own.
"""

import json
import os
import re
import signal
import subprocess
from dataclasses import dataclass
from pathlib import Path

from mutants import Mutant

PATIENCE = 15  # seconds that tests get in addition to ...
USUAL_TIMES = 10  # ... this many times their usual time
KILLED = {128 + signal.SIGKILL, -signal.SIGKILL}  # "timeout" killed the tests, or itself with them
BOUND = "setpriv --pdeathsig KILL nice".split()  # ends with the process that started it
ALONE = [*BOUND, *"unshare --mount --pid --fork --mount-proc --kill-child".split()]

# Runs the command behind $1, the worker's place, which contains the directories "build" and "tmp".
# The devices are copies, so that the command can change their modes and times. /tmp contains only
# the place.
PROTECTED = """
set -e
place=$1
shift
while read -r _ point _; do
  [ "$point" = /proc ] || mount -n -o remount,ro,bind "$point" 2>/dev/null || :
done </proc/self/mounts
mount -n -o remount,ro,bind /
mount -n --bind "$place" /mnt
mount -n -o remount,ro,bind /mnt
mount -n -t tmpfs -o mode=0755 tmpfs "$place/tmp"
cd /dev
cp -a null zero full random urandom tty fd stdin stdout stderr "$place/tmp"
mkdir "$place/tmp/pts"
mount -n -t devpts -o newinstance,ptmxmode=0666 devpts "$place/tmp/pts"
ln -s pts/ptmx "$place/tmp/ptmx"
mount -n --move "$place/tmp" /dev
mount -n -t tmpfs -o size=6g,mode=1777 tmpfs /tmp
mkdir -p "$place"
mount -n --move /mnt "$place"
mount -n -t tmpfs -o size=6g,mode=1777 tmpfs "$place/tmp"
mount -n --bind "$place/build" "$place/build"
mount -n -o remount,rw,bind "$place/build"
cd "$place/tmp"
ulimit -v 8000000
export TMPDIR="$place/tmp"
"$@" || exit $?  # as a child, because the first process ignores most signals
exit 0
"""


class Trouble(Exception):
    """A failure that has nothing to do with a mutant."""


@dataclass(frozen=True)
class TestCase:
    name: str
    folder: str
    file: str
    seconds: float


class Worker:
    """A copy of the sources with a build tree."""

    def __init__(self, checkout: Path, place: Path, in_pieces: bool) -> None:
        self.checkout, self.place, self.build = checkout, place, place / "build"
        # "OFF" rebuilds less for each mutant, "ON" builds everything faster.
        self.unity = "OFF" if in_pieces else "ON"
        self.edited: set[str] = set()
        self.folders: str | None = None
        for name in ("sources", "build", "tmp"):
            (place / name).mkdir(parents=True, exist_ok=True)
        # Equal files keep their times, so that they are not built again.
        copy = "rsync --recursive --links --perms --checksum --delete --exclude=__pycache__".split()
        copy += ["--exclude=/build", "--exclude=/dist", "--exclude=/.git"]
        self._run(*copy, f"{checkout}/", str(place / "sources"))

    def prepare(self, folders: str) -> None:
        """Builds the unchanged sources with the tests of these folders, or all tests if empty."""
        self._put([])
        if self.folders == folders:
            return
        done, said = self._run(
            *("cmake", "-G", "Ninja", "-S", str(self.place / "sources"), "-B", str(self.build)),
            *("-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O0 -g0 -w -pipe -fpch-preprocess"),
            *("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"),
            f"-DKVL_TEST_FOLDERS={folders}" if folders else "-UKVL_TEST_FOLDERS",
            *("-DKVL_COMPANION=ON", f"-DCMAKE_UNITY_BUILD={self.unity}"),
        )
        if done:
            done, said = self._run("ninja", "-C", str(self.build), "launcher_tests")
        if not done:
            raise Trouble(f"the unchanged sources do not build:\n{said[-3000:]}")
        self.folders = folders

    def build_with(self, mutants: list[Mutant]) -> bool:
        """Builds all these mutants into one program; they must not overlap."""
        self._put(mutants)
        return self._run("ninja", "-j1", "-C", str(self.build), "launcher_tests")[0]

    def measure_tests(self, shards: int) -> list[TestCase]:
        """Runs all tests on the unchanged sources; returns the file and the time of each."""
        if failed := self._run_tests([], 1800, shards)[1]:
            raise Trouble(f"tests fail without any mutant: {failed}; see {self.place}/output-*")
        tests = []
        for shard in range(shards):
            report = json.loads((self.build / f"tests-{shard}.json").read_text())
            for test in (test for suite in report["testsuites"] for test in suite["testsuite"]):
                name, seconds = f"{test['classname']}.{test['name']}", float(test["time"][:-1])
                folder, file = test["file"].split("/")[-2:]
                if test["result"] != "SKIPPED":
                    tests.append(TestCase(name, folder, file, seconds))
        return tests

    def killer_of(self, tests: list[TestCase]) -> str:
        """Returns the first test that fails twice or does not end; the empty text without one."""
        seconds = PATIENCE + USUAL_TIMES * sum(test.seconds for test in tests)
        late, failed = self._run_tests([test.name for test in tests], seconds)
        if failed and not late:  # a single failure says nothing about the mutant
            late, failed = self._run_tests(failed[:1], seconds)
        return " ".join([*(["timeout in"] if late else []), *failed[:1]])

    def failing(self, tests: list[TestCase], shards: int) -> list[TestCase]:
        """Returns the tests that fail or do not end, quick ones first; all if none could begin."""
        seconds = PATIENCE + USUAL_TIMES * sum(test.seconds for test in tests) / shards
        failed = self._run_tests([test.name for test in tests], seconds, shards)[1]
        found = [test for test in tests if test.name in failed] or tests * bool(failed)
        return sorted(found, key=lambda test: test.seconds)

    def _put(self, mutants: list[Mutant]) -> None:
        files = {mutant.file for mutant in mutants}
        for file in self.edited | files:
            text = (self.checkout / file).read_text()
            for mutant in sorted(mutants, key=lambda mutant: -mutant.start):
                text = mutant.apply(text) if mutant.file == file else text
            if (self.place / "sources" / file).read_text() != text:
                (self.place / "sources" / file).write_text(text)
        self.edited = files

    # All workers share the compiler's results, because ccache does not distinguish their places.
    def _run(self, *command: str) -> tuple[bool, str]:
        all_places = self.place.parent
        kept = {"CCACHE_DIR": f"{all_places}/ccache", "CCACHE_BASEDIR": str(all_places)}
        how = {"CCACHE_NOHASHDIR": "1", "CCACHE_SLOPPINESS": "pch_defines,time_macros"}
        ran = subprocess.run(
            [*BOUND, *command],
            env={**os.environ, **kept, **how},
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            start_new_session=True,  # so an interruption does not make it fail
        )
        return ran.returncode == 0, ran.stdout

    # Returns whether the tests took longer than `seconds`, and which failed or did not end; with
    # one shard, only the first. Without names, runs all tests. Processes that a test has started
    # end with it.
    def _run_tests(
        self, names: list[str], seconds: float, shards: int = 1
    ) -> tuple[bool, list[str]]:
        flags = ["--gtest_filter=" + ":".join(names)] * bool(names)
        flags += ["--gtest_fail_fast"] * (shards == 1)
        (self.place / "flags").write_text("\n".join(flags))
        started = [self._start_tests(shard, shards, seconds) for shard in range(shards)]
        statuses = [process.wait() for process in started]
        failed: list[str] = []
        for shard, status in enumerate(statuses):
            output = (self.place / f"output-{shard}").read_text(errors="replace")[-200_000:]
            found = re.findall(r"^\[  FAILED  \] ([^\s,]+\.[^\s,]+)", output, re.MULTILINE)
            if status in KILLED or (status != 0 and not found):
                begun = re.findall(r"^\[ RUN      \] (\S+)", output, re.MULTILINE)
                found = begun[-1:] or ["the start of the tests"]
            failed += found
        return not KILLED.isdisjoint(statuses), list(dict.fromkeys(failed))

    def _start_tests(self, shard: int, shards: int, seconds: float) -> subprocess.Popen[bytes]:
        which = {"GTEST_TOTAL_SHARDS": str(shards), "GTEST_SHARD_INDEX": str(shard)}
        program, flags = f"{self.build}/bin/launcher_tests", f"--gtest_flagfile={self.place}/flags"
        tests = [*ALONE, "sh", "-c", PROTECTED, "sh", str(self.place)]
        report = f"--gtest_output=json:{self.build}/tests-{shard}.json"
        with (self.place / f"output-{shard}").open("wb") as output:
            return subprocess.Popen(
                ["timeout", "-s", "KILL", str(seconds), *tests, program, flags, report],
                env={**os.environ, **which},
                stdin=subprocess.DEVNULL,
                stdout=output,
                stderr=subprocess.STDOUT,
                start_new_session=True,
            )
