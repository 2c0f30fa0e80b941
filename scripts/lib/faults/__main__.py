"""Chooses the system calls that fail, tries a run for each failure, and reports."""

import argparse
import os
import re
import shlex
import subprocess
import sys
from collections import Counter
from collections.abc import Iterator
from multiprocessing.pool import ThreadPool
from pathlib import Path

import companion
import launch
from companion import CompanionJudge
from launch import Call
from verdict import FAILED, OUTCOMES, Judge

# Errors on the way to a file by its path.
_PATH = "EACCES EIO ELOOP ENAMETOOLONG ENOENT ENOMEM EPERM ESTALE"
_CHANGE = _PATH + " EDQUOT ENOSPC EROFS"
_OPEN = " EMFILE ENFILE EINTR EAGAIN"
# The launcher takes a directory for empty after two of these errors, so each error needs a run.
_OPEN_DIRECTORY = (
    " EBADF EBUSY EDQUOT EEXIST EFBIG EINVAL EISDIR ENODEV ENOSPC ENOSYS ENOTDIR ENXIO EOPNOTSUPP"
    " EOVERFLOW EROFS ETIMEDOUT ETXTBSY"
)
# The errors that Linux and its file systems give, or a sandbox that forbids the call (EPERM,
# EACCES). ENOSYS stands for a system older than the call, ECHILD for a caller that reaps children.
_ERRORS = {
    "access faccessat faccessat2 stat lstat newfstatat statx statfs readlink readlinkat": _PATH,
    "fstat": "EACCES EIO ENOMEM ESTALE",
    "open openat": _PATH + _OPEN,
    "mkdir mkdirat symlinkat linkat renameat2 unlinkat": _CHANGE,
    "utime utimes utimensat chmod fchmod fchmodat": _PATH + " EROFS EDQUOT ENOSPC",
    "getdents64": "EACCES EINTR EIO ENOENT ENOMEM ESTALE",
    "read pread64": "EACCES EAGAIN EINTR EIO ENOMEM ESTALE",
    "write writev": "EAGAIN EDQUOT EINTR EIO ENOMEM ENOSPC EPERM ESTALE",
    "close": "EDQUOT EINTR EIO ENOSPC ESTALE",
    "lseek ioctl": "EIO EPERM ESTALE",
    "syncfs": "EDQUOT EIO ENOSPC",
    "getcwd": "EACCES ENOENT ENOMEM",
    "dup dup2 fcntl": "EMFILE EINTR EPERM EAGAIN",
    "poll": "EAGAIN EINTR ENOMEM EPERM",
    "rt_sigaction rt_sigprocmask": "EPERM",
    "clone clone3 fork vfork": "EAGAIN ENOMEM EPERM",
    "wait4": "EINTR ECHILD EPERM",
    "execve": _PATH + _OPEN,
}
_ERRORS_OF = {name: errors for names, errors in _ERRORS.items() for name in names.split()}
# The program can only wait while a call always says "try again". So "always" is this many times
# here: more than there are calls to the end, or as many as a launch can wait for in its time.
_MANY_TIMES = {"error=EINTR": 1000, "error=EAGAIN": 200}


def failures(call: Call) -> list[str]:
    """Returns all failures of the call, in strace's notation; none if the call never fails here."""
    errors = _ERRORS_OF.get(call.name, "")
    if call.name in ("open", "openat") and "O_CREAT" in call.arguments:
        errors = _CHANGE + _OPEN
    elif call.name in ("open", "openat") and "O_DIRECTORY" in call.arguments:
        errors += _OPEN_DIRECTORY
    found = [f"error={name}" for name in errors.split()]
    if call.name in ("read", "pread64"):
        found.append("retval=0")  # the file ends early
    # A write that takes one byte. strace only pretends this and writes nothing, so these runs
    # cannot show how the program writes the rest.
    if call.name == "write" and re.match(r"[0-9]+<.*/t/(?!.*/remove\.bat>)", call.arguments):
        found.append("retval=1")
    return found


def faults(call: Call, failure: str) -> tuple[str, str]:
    """Returns the failure of a call, once and from then on, nearly in strace's notation."""
    times = _MANY_TIMES.get(failure)
    once = f"{call.label}:{failure}:when={call.number}"
    return once, once + (f"..{call.number + times - 1}" if times else "+")


def calls_to_fail(made: list[Call]) -> list[Call]:
    """Returns the calls from the beginning of main on, which first looks at the streams or at the
    processors. strace counts the calls of each process separately, so a call of the child is
    distinct only if the launcher makes none of that name."""
    own = {call.label for call in made} - {"execve"}
    begin = next(i for i, call in enumerate(made) if call.name == "poll" or counts_processors(call))
    return [
        call
        for call in made[begin:]
        if failures(call) and (call.label == call.name or call.name not in own)
    ]


def counts_processors(call: Call) -> bool:
    return call.name == "openat" and call.path == "/sys/devices/system/cpu/online"


def some_faults(calls: list[Call]) -> Iterator[str]:
    """Yields for every kind of call failures of the first, the middle and the last call, each with
    a different error; for the middle one also together with all following calls; and one failure
    for each wrong result that the call can give."""
    for label in dict.fromkeys(call.label for call in calls):
        same = [call for call in calls if call.label == label]
        for turn, call in enumerate([same[0], same[len(same) // 2], same[-1]]):
            failure = failures(call)[(turn * 3 + 1) % len(failures(call))]
            once, from_then_on = faults(call, failure)
            yield from [once, from_then_on] if turn == 1 else [once]
        for result in ("retval=0", "retval=1"):
            yield from [faults(call, result)[0] for call in same if result in failures(call)][-1:]


def main() -> int:
    parser = argparse.ArgumentParser(prog="scripts/faults", description=__doc__)
    parser.add_argument("--programs", type=Path, required=True,
                        help="test those in this directory (the release)")
    parser.add_argument("--quick", action="store_true", help="make only a few runs for each call")
    parser.add_argument("--only", default="", metavar="REGEX",
                        help="make only matching runs, as in 'staged: read:error=EIO:when=2'")
    parser.add_argument("--report", type=Path, default=os.devnull,
                        help="write a line for each call to this file")
    options = parser.parse_args()
    report = options.report.open("w")
    probe = ["strace", "-o", os.devnull, "--inject=getppid:error=EPERM", "true"]
    if subprocess.run(probe, stderr=subprocess.DEVNULL).returncode != 0:
        print("skipped", "all", "strace may not trace here", sep="\t", file=report)
        sys.exit("strace may not trace here; allow ptrace")
    programs = options.programs.resolve()
    judges: dict[str, Judge | CompanionJudge] = {
        **{kind: Judge(programs / "kvl-launcher", kind) for kind in launch.KINDS},
        **{kind: CompanionJudge(programs / "kvl-media", kind) for kind in companion.KINDS},
    }
    tasks: list[tuple[str, str]] = []
    for kind, judge in judges.items():
        calls = calls_to_fail(judge.usual.made)
        left_out = {call.label for call in judge.usual.made} - {call.label for call in calls}
        print(f"calls that never fail in {kind}: {' '.join(sorted(left_out))}")
        every = (f for call in calls for failure in failures(call) for f in faults(call, failure))
        wanted = dict.fromkeys(some_faults(calls) if options.quick else every)
        tasks += [(kind, f) for f in wanted if re.search(options.only, f"{kind}: {f}")]
    with ThreadPool() as pool:
        verdicts = pool.starmap(lambda kind, f: judges[kind].judge(f), tasks, chunksize=1)
    failed: dict[str, list[str]] = {}
    for (kind, fault), (outcome, name) in zip(tasks, verdicts):
        texts = failed.setdefault(f"{kind}: {fault.split(':')[0]}", [])
        if outcome == FAILED:
            again = shlex.quote(f"^{re.escape(f'{kind}: {fault}')}$")
            print(f"{FAILED}: {kind}: {fault}: {name}\n  again: scripts/faults --only {again}")
            texts.append(f"{fault}: {name}")
    for call, texts in failed.items():
        print("failed" if texts else "passed", call, *texts[:1], sep="\t", file=report)
    for (outcome, name), count in sorted(Counter(verdicts).items()):
        if outcome != FAILED:
            print(f"{count:>7}  {outcome}  {name}")
    kinds = ", ".join(f"{kind} {n}" for kind, n in Counter(kind for kind, _ in tasks).items())
    totals = Counter(outcome for outcome, _ in verdicts)
    counts = ", ".join(f"{totals[outcome]} {outcome}" for outcome in OUTCOMES)
    print(f"{len(tasks)} runs ({kinds}): {counts}")
    return 0 if tasks and not totals[FAILED] else 1


sys.exit(main())
