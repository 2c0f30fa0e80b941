"""Which system calls are failed, and with what."""

from __future__ import annotations

import dataclasses
import re
from typing import NamedTuple

# On the way to a file by its path.
_PATH = "EACCES EIO ELOOP ENAMETOOLONG ENOENT ENOMEM EPERM ESTALE"
_CHANGE = _PATH + " EDQUOT ENOSPC EROFS"
_WRITE = "EAGAIN EDQUOT EINTR EIO ENOMEM ENOSPC EPERM ESTALE"
_OPEN = " EMFILE ENFILE EINTR EAGAIN"
# A directory counts as empty after two of them, so that every one that there is must be tried.
_OPEN_DIRECTORY = (
    " EBADF EBUSY EDQUOT EEXIST EFBIG EINVAL EISDIR ENODEV ENOSPC ENOSYS ENOTDIR ENXIO EOPNOTSUPP"
    " EOVERFLOW EROFS ETIMEDOUT ETXTBSY"
)

# The errors that Linux and its file systems give, or a sandbox that forbids the call (EPERM,
# EACCES). ENOSYS stands for systems older than the call, ECHILD for a caller that takes children.
_ERRORS = {
    "access faccessat faccessat2 stat lstat newfstatat statx readlink readlinkat": _PATH,
    "fstat": "EACCES EIO ENOMEM ESTALE",
    "open openat": _PATH + _OPEN,
    "mkdir mkdirat": _CHANGE,
    "utime utimes utimensat": _PATH + " EROFS EDQUOT ENOSPC",
    "chmod": _PATH + " EROFS",
    "fchmod": "EIO EPERM EROFS ESTALE",
    "getdents64": "EACCES EINTR EIO ENOENT ENOMEM ESTALE",
    "read": "EACCES EAGAIN EINTR EIO ENOMEM ESTALE",
    "write writev": _WRITE,
    "close": "EDQUOT EINTR EIO ENOSPC ESTALE",
    "lseek": "EIO ESTALE",
    "dup": "EMFILE",
    "dup2": "EMFILE EINTR",
    "fcntl": "EPERM EAGAIN",
    "ioctl": "EIO EPERM",
    "poll": "EAGAIN EINTR ENOMEM EPERM",
    "rt_sigaction rt_sigprocmask": "EPERM",
    "clone clone3": "EAGAIN ENOMEM EPERM",
    "fork vfork": "EAGAIN ENOMEM",
    "wait4": "EINTR ECHILD EPERM",
    "execve": _PATH + _OPEN,
}
_ERRORS_OF = {name: errors for names, errors in _ERRORS.items() for name in names.split()}

# A "try again" for ever leaves no way but to wait, so there "for ever" is this many times.
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
    def label(self) -> str:
        return self.name + (" (child)" if self.in_child else "")

    @property
    def path(self) -> str:
        """The path it names, from that of its descriptor if need be, else that one, or nothing."""
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
    def error(self) -> str:
        found = re.search(r"-1 (E[A-Z0-9]+)", self.result)
        return found[1] if found else ""

    @property
    def opens_directory(self) -> bool:
        return "O_DIRECTORY" in self.arguments

    def failures(self) -> list[str]:
        """All that it may answer instead, as strace is to be told; none when it is not failed."""
        errors = _ERRORS_OF.get(self.name, "")
        if self.name in ("open", "openat"):
            if "O_CREAT" in self.arguments:
                errors = _CHANGE + _OPEN
            elif self.opens_directory:
                errors += _OPEN_DIRECTORY
        failures = [f"error={name}" for name in errors.split()]
        if self.name == "read":
            failures.append("retval=0")  # the end of a file before its time
        # A write that takes one byte. strace only says so, and nothing is written; what goes on
        # with the rest, as console output does, cannot be tried in this way.
        if self.name == "write" and self.descriptor > 2 and not self.path.endswith("/remove.bat"):
            failures.append("retval=1")
        return failures


class Fault(NamedTuple):
    """One call to fail, in the words of strace; `when` counts the calls of that name."""

    call: Call
    failure: str
    when: str

    @property
    def injection(self) -> str:
        return f"{self.call.name}:{self.failure}:when={self.when}"


def fault_of(call: Call, number: int, failure: str, *, from_then_on: bool = False) -> Fault:
    """The failure of the call of that number, and perhaps of all that follow."""
    for_ever = f"..{number + _MANY_TIMES - 1}" if failure in _TRY_AGAIN else "+"
    return Fault(call, failure, f"{number}{for_ever if from_then_on else ''}")
