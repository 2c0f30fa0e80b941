"""Which system calls are failed, and with what."""

from __future__ import annotations

import dataclasses
import re

# On the way to a file by its path.
_PATH = "EACCES EIO ELOOP ENAMETOOLONG ENOENT ENOMEM EPERM ESTALE"
_CHANGE = _PATH + " EDQUOT ENOSPC EROFS"
_DESCRIPTORS = " EMFILE ENFILE EINTR"

# The errors that Linux and its file systems give, or a sandbox that forbids the call (EPERM,
# EACCES). ENOSYS stands for systems older than the call, ECHILD for a caller that takes children.
_ERRORS = {
    "access": _PATH,
    "faccessat": _PATH,
    "faccessat2": _PATH,
    "stat": _PATH,
    "lstat": _PATH,
    "fstat": "EACCES EIO ENOMEM ESTALE",
    "newfstatat": _PATH,
    "statx": _PATH,
    "readlink": _PATH,
    "readlinkat": _PATH,
    "mkdir": _CHANGE,
    "mkdirat": _CHANGE,
    "utime": _PATH + " EROFS EDQUOT ENOSPC",
    "utimes": _PATH + " EROFS EDQUOT ENOSPC",
    "utimensat": _PATH + " EROFS EDQUOT ENOSPC",
    "chmod": _PATH + " EROFS",
    "fchmod": "EIO EPERM EROFS ESTALE",
    "getdents64": "EACCES EINTR EIO ENOENT ENOMEM ESTALE",
    "read": "EACCES EAGAIN EINTR EIO ENOMEM ESTALE",
    "write": "EAGAIN EDQUOT EINTR EIO ENOMEM ENOSPC EPERM ESTALE",
    "writev": "EAGAIN EDQUOT EINTR EIO ENOMEM ENOSPC EPERM ESTALE",
    "close": "EDQUOT EINTR EIO ENOSPC ESTALE",
    "lseek": "EIO ESTALE",
    "dup": "EMFILE",
    "dup2": "EMFILE EINTR",
    "fcntl": "EPERM EAGAIN",
    "ioctl": "EIO EPERM",
    "poll": "EAGAIN EINTR ENOMEM EPERM",
    "rt_sigaction": "EPERM",
    "rt_sigprocmask": "EPERM",
    "clone": "EAGAIN ENOMEM EPERM",
    "clone3": "EAGAIN ENOMEM EPERM",
    "fork": "EAGAIN ENOMEM",
    "vfork": "EAGAIN ENOMEM",
    "wait4": "EINTR ECHILD EPERM",
    "execve": _PATH + _DESCRIPTORS + " EAGAIN",
}
_OPEN_TO_READ = _PATH + _DESCRIPTORS + " EAGAIN"
# A directory counts as empty after two of them, so that every one that there is must be tried.
_OPEN_DIRECTORY = _OPEN_TO_READ + (
    " EBADF EBUSY EDQUOT EEXIST EFBIG EINVAL EISDIR ENODEV ENOSPC ENOSYS ENOTDIR ENXIO EOPNOTSUPP"
    " EOVERFLOW EROFS ETIMEDOUT ETXTBSY"
)
_OPEN_TO_WRITE = _CHANGE + _DESCRIPTORS + " EAGAIN"

# A result instead of an error: the end of a file before its time.
_EARLY_END = "retval=0"
# A write that takes one byte. strace only says so, and nothing is written; what goes on with the
# rest, as console output does, cannot be tried in this way.
_SHORT_WRITE = "retval=1"

# These say "try again". One that says so for ever leaves no way but to wait, so there "for ever"
# is this many times.
_TRY_AGAIN = ("error=EINTR", "error=EAGAIN")
_MANY_TIMES = 200


@dataclasses.dataclass(frozen=True)
class Call:
    """One call that was made: its arguments as strace writes them, and its process's role."""

    name: str
    arguments: str
    result: str
    in_child: bool = False

    @property
    def path(self) -> str:
        """The path it names, from that of its descriptor if need be, else that one, else nothing."""
        named = re.search(r'"((?:[^"\\]|\\.)*)"', self.arguments)
        opened = re.match(r"\d+<([^>]*)>", self.arguments)
        if self.name in ("read", "write", "writev", "getdents64") or not (named and named[1]):
            return opened[1] if opened else ""
        if opened and not named[1].startswith("/"):
            return f"{opened[1]}/{named[1]}"
        return named[1]

    @property
    def descriptor(self) -> int:
        number = re.match(r"\d+", self.arguments)
        return int(number[0]) if number else -1

    @property
    def opens_directory(self) -> bool:
        return "O_DIRECTORY" in self.arguments

    @property
    def error(self) -> str:
        found = re.search(r"-1 (E[A-Z0-9]+)", self.result)
        return found[1] if found else ""


@dataclasses.dataclass(frozen=True)
class Fault:
    """One call to fail, in the words of strace; `when` counts the calls of that name."""

    call: str
    failure: str
    when: str
    in_child: bool = False

    @property
    def injection(self) -> str:
        return f"{self.call}:{self.failure}:when={self.when}"


def is_failed(name: str) -> bool:
    """Whether calls of this name are failed at all."""
    return name == "open" or name == "openat" or name in _ERRORS


def failures_of(call: Call) -> list[str]:
    """All that the call may answer instead, as strace is to be told."""
    if call.name in ("open", "openat"):
        creates = "O_CREAT" in call.arguments
        reads = _OPEN_DIRECTORY if call.opens_directory else _OPEN_TO_READ
        errors = _OPEN_TO_WRITE if creates else reads
    else:
        errors = _ERRORS[call.name]
    failures = [f"error={name}" for name in errors.split()]
    if call.name == "read":
        failures.append(_EARLY_END)
    is_of_copy = call.descriptor > 2 and not call.path.endswith("/remove.bat")
    if call.name == "write" and is_of_copy:
        failures.append(_SHORT_WRITE)
    return failures


def from_then_on(number: int, failure: str) -> str:
    """The count for strace that hits the call of that number and all that follow."""
    if failure in _TRY_AGAIN:
        return f"{number}..{number + _MANY_TIMES - 1}"
    return f"{number}+"
