"""Builds one mutant after the other in a copy of the sources, and lets the tests look at each.

A wrong program may delete or write anywhere. So the tests run where nothing can be written but the
temporary directories, which are file systems of their own, and the build tree of the copy.
"""

import json
import os
import re
import shutil
import signal
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

from mutants import Mutant

TARGETS = ["launcher_tests", "kvl-launcher", "kvl-media", "fake_installer", "tree_tool"]
SLOW = 0.5  # seconds; a test that takes longer comes last
PATIENCE = 15  # seconds that any group of tests is given beyond its usual time
USUAL_TIMES = 10  # and so many times its usual time

# $1: the worker's place, with the directories "build" and "tmp". Behind it a command. The devices
# are copies, so that their modes and times can be changed; /tmp is empty but for the place.
PROTECTED = """
set -e
place=$1
shift
while read -r _ point _; do
  case $point in
    /proc) ;;
    *) mount -n -o remount,ro,bind "$point" 2>/dev/null || : ;;
  esac
done </proc/self/mounts
mount -n -o remount,ro,bind /
mount -n --bind "$place" /mnt
mount -n -o remount,ro,bind /mnt
mount -n -t tmpfs -o mode=0755 tmpfs "$place/tmp"
for name in null zero full random urandom tty fd stdin stdout stderr; do
  cp -a "/dev/$name" "$place/tmp"
done
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
"$@" || exit $?  # as a child: the first process of all is deaf to most signals
exit 0
"""


class Trouble(Exception):
    """Something is wrong that has nothing to do with a mutant."""


@dataclass(frozen=True)
class Verdict:
    name: str  # "killed", "survived" or "not built"
    by: str  # the test that failed, or "timeout" with the group of tests


@dataclass(frozen=True)
class TestCase:
    name: str
    file: str  # relative to the checkout
    seconds: float


def source_files(checkout: Path) -> set[str]:
    """Those of a source archive are all that lies there but what was built."""
    if (checkout / ".git").exists():
        listed = subprocess.run(
            ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
            cwd=checkout,
            check=True,
            capture_output=True,
        ).stdout.decode()
        names = listed.split("\0")
    else:
        built = ("build", "dist")
        tops = (top for top in checkout.iterdir() if top.name not in built)
        paths = (path for top in tops for path in (top, *top.rglob("*")))
        names = [str(path.relative_to(checkout)) for path in paths]
    return {name for name in names if name and (checkout / name).is_file()}


def copy_sources(checkout: Path, copy: Path) -> None:
    """Brings the copy to the state of the checkout. What is the same keeps its time, so that it is
    not built again."""
    files = source_files(checkout)
    for name in files:
        source, target = checkout / name, copy / name
        contents = source.read_bytes()
        if target.is_file() and target.read_bytes() == contents:
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(contents)
        shutil.copymode(source, target)
    for target in copy.rglob("*"):
        if target.is_file() and str(target.relative_to(copy)) not in files:
            target.unlink()


class Worker:
    """A copy of the sources with a build tree."""

    def __init__(self, checkout: Path, place: Path) -> None:
        self.checkout = checkout
        self.place = place
        self.copy = place / "sources"
        self.build = place / "build"
        self.edited: str | None = None
        self.tests: list[TestCase] = []
        for directory in (self.copy, self.build, place / "tmp"):
            directory.mkdir(parents=True, exist_ok=True)

    # --- building --------------------------------------------------------------------------------

    def prepare(self) -> None:
        copy_sources(self.checkout, self.copy)
        linker = "-fuse-ld=lld" if shutil.which("ld.lld") else ""
        command = [
            *("cmake", "-G", "Ninja", "-S", str(self.copy), "-B", str(self.build)),
            *("-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O0 -g0 -w -pipe"),
            f"-DCMAKE_EXE_LINKER_FLAGS={linker}",
            *("-UKVL_TEST_FOLDERS", "-DKVL_COMPANION=ON"),
        ]
        configured = subprocess.run(command, capture_output=True, text=True, check=False)
        if configured.returncode != 0:
            raise Trouble(f"cmake failed:\n{configured.stdout}{configured.stderr}")
        built = self._run_ninja()
        if built.returncode != 0:
            raise Trouble(f"the sources do not build:\n{built.stdout[-3000:]}")

    def _run_ninja(self) -> subprocess.CompletedProcess[str]:
        return subprocess.run(
            ["nice", "ninja", "-j1", "-C", str(self.build), *TARGETS],
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            check=False,
        )

    def build_mutant(self, mutant: Mutant) -> bool:
        if self.edited is not None and self.edited != mutant.file:
            self.restore()
        text = (self.checkout / mutant.file).read_text()
        (self.copy / mutant.file).write_text(mutant.apply(text))
        self.edited = mutant.file
        return self._run_ninja().returncode == 0

    def restore(self) -> None:
        if self.edited is not None:
            text = (self.checkout / self.edited).read_text()
            (self.copy / self.edited).write_text(text)
            self.edited = None

    # --- testing ---------------------------------------------------------------------------------

    def measure_tests(self) -> list[TestCase]:
        """Runs all tests on the sources as they are: where is each, and how long does it take?"""
        report = self.build / "tests.json"
        program = str(self.build / "bin/launcher_tests")
        command = [program, "--gtest_brief=1", f"--gtest_output=json:{report}"]
        run = self._run_protected(command, 900)
        if run is None or run[0] != 0:
            raise Trouble("the tests fail without any mutant:\n" + (run[1][-3000:] if run else ""))
        tests = []
        for suite in json.loads(report.read_text())["testsuites"]:
            for test in suite["testsuite"]:
                # The manual pages are held against every text in the sources, as a copy of them.
                is_copy = "/tests/docs/" in test["file"]
                if test["result"] != "SKIPPED" and not is_copy:
                    file = str(Path(test["file"]).relative_to(self.copy))
                    seconds = float(test["time"].removesuffix("s"))
                    tests.append(TestCase(f"{suite['name']}.{test['name']}", file, seconds))
        return tests

    def groups_for(self, file: str) -> list[tuple[str, list[TestCase]]]:
        """The tests in the order of who is likely to notice something, the slow ones last."""
        folder, stem = Path(file).parent.name, Path(file).stem
        groups: dict[str, list[TestCase]] = {"own": [], "folder": [], "launcher": [], "others": []}
        slow = []
        for test in self.tests:
            path = Path(test.file)
            if test.seconds > SLOW:
                slow.append(test)
            elif path.stem == f"{stem}_test":
                groups["own"].append(test)
            elif path.parent.name == folder:
                groups["folder"].append(test)
            elif path.parent.name == "launcher":
                groups["launcher"].append(test)
            else:
                groups["others"].append(test)
        slow.sort(key=lambda test: (Path(test.file).parent.name != folder, test.seconds))
        return [*groups.items(), ("slow", slow)]

    def run_tests(self, mutant: Mutant) -> Verdict:
        for group, tests in self.groups_for(mutant.file):
            if not tests:
                continue
            wanted = ":".join(test.name for test in tests)
            flags = self.place / "flags"
            flags.write_text(f"--gtest_filter={wanted}\n--gtest_fail_fast\n")
            command = [str(self.build / "bin/launcher_tests"), f"--gtest_flagfile={flags}"]
            seconds = PATIENCE + USUAL_TIMES * sum(test.seconds for test in tests)
            run = self._run_protected(command, seconds)
            if run is None:
                return Verdict("killed", f"timeout in {group} tests")
            status, output = run
            # What fails once only says nothing about the mutant, and is kept to be looked at.
            if status != 0 and group not in ("own", "folder"):
                again = self._run_protected(command, seconds)
                if again is not None and again[0] == 0:
                    name = mutant.name.replace("/", "-").replace(":", "-")
                    (self.place / f"failed-once-{name}").write_text(output)
                    status = 0
            if status != 0:
                return Verdict("killed", test_that_failed(output))
        return Verdict("survived", "")

    def _run_protected(self, command: list[str], seconds: float) -> tuple[int, str] | None:
        """Status and output; nothing when it took too long. What it started ends with it."""
        log = self.place / "output"
        with log.open("wb") as output:
            started = subprocess.Popen(
                [
                    *("nice", "unshare", "--mount", "--pid", "--fork", "--mount-proc"),
                    *("--kill-child", "sh", "-c", PROTECTED, "sh"),
                    *(str(self.place), *command),
                ],
                stdin=subprocess.DEVNULL,
                stdout=output,
                stderr=subprocess.STDOUT,
                start_new_session=True,
            )
            try:
                status: int | None = started.wait(seconds)
            except subprocess.TimeoutExpired:
                status = None
            finally:
                if started.poll() is None:
                    os.killpg(started.pid, signal.SIGKILL)
                    started.wait()
        text = log.read_bytes()[-200_000:].decode(errors="replace")
        return None if status is None else (status, text)


def test_that_failed(output: str) -> str:
    failed = re.findall(r"^\[  FAILED  \] ([^\s,]+)", output, re.MULTILINE)
    if failed:
        return failed[0]
    begun = re.findall(r"^\[ RUN      \] (\S+)", output, re.MULTILINE)
    return f"{begun[-1]} (ended the tests)" if begun else "no test could begin"


def can_protect() -> bool:
    """Whether this user may set up what PROTECTED does."""
    probe = ["unshare", "--mount", "--pid", "--fork", "--mount-proc", "true"]
    return subprocess.run(probe, capture_output=True, check=False).returncode == 0


def seconds_since(start: float) -> float:
    return round(time.monotonic() - start, 1)
