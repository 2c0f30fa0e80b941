"""Runs what a document tells its reader to type, and compares what comes out."""

from __future__ import annotations

import os
import re
import shlex
import shutil
import subprocess
from pathlib import Path

from document import Block, Document

_ANYTHING = "[...]"
_MOST_SECONDS = 120
_SYSTEM_PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"


class Programs:
    """The release as a reader has it: a directory named like the archive, with "bin" in it."""

    def __init__(self, checkout: Path, version: str, unpacked: Path | None, place: Path) -> None:
        self.name = f"kvl-launcher-{version}-x86_64"
        self.release = place / self.name
        if unpacked:
            shutil.copytree(unpacked, self.release, symlinks=True)
            return
        (self.release / "bin").mkdir(parents=True)
        for program in ("kvl-launcher", "kvl-media"):
            shutil.copy2(checkout / "build/release/bin" / program, self.release / "bin")

    def environment(self, place: Path) -> dict[str, str]:
        """That of a user whose home and temporary directory lie in `place`, which is made."""
        for name in ("home", "tmp", "work"):
            (place / name).mkdir(parents=True)
        return {"PATH": _SYSTEM_PATH, "HOME": str(place / "home"), "LANG": "C.UTF-8",
                "TMPDIR": str(place / "tmp"), "USER": "you"}


def problems(document: Document, programs: Programs, place: Path) -> list[str]:
    blocks = [block for block in document.blocks if block.kind == "sh"]
    if not blocks:
        return []
    environment = programs.environment(place)
    shutil.copytree(programs.release, place / "work" / programs.name, symlinks=True)
    results = place / "results"
    results.mkdir()
    script = place / "script"
    script.write_text(_script(blocks, results))
    try:
        status = subprocess.run(["sh", str(script)], cwd=place / "work", env=environment,
                                stdin=subprocess.DEVNULL, timeout=_MOST_SECONDS).returncode
    except subprocess.TimeoutExpired:
        status = -1
    printed = [path.read_text(errors="replace") for number in range(len(blocks))
               if (path := results / str(number)).exists()]
    found = [text for block, output in zip(blocks, printed) if (text := _difference(block, output))]
    if status != 0 and printed:
        how = f"ended with status {status}" if status > 0 else f"took over {_MOST_SECONDS} s"
        last = blocks[len(printed) - 1]
        found.append(f"line {last.line}: the block {how} after printing:\n{_indented(printed[-1])}")
    left = sorted(path.name for path in (place / "tmp").iterdir())
    if left and status == 0:
        found.append(f"the commands leave in TMPDIR: {', '.join(left)}")
    return found


def _script(blocks: list[Block], results: Path) -> str:
    text = "set -e\n"
    for number, block in enumerate(blocks):
        text += f"exec >{shlex.quote(str(results / str(number)))} 2>&1\n{block.text}"
    return text


def _difference(block: Block, printed: str) -> str:
    expected = block.output.text if block.output else ""
    pieces = [re.escape(piece) for piece in expected.split(_ANYTHING)]
    if re.fullmatch("[^\n]*".join(pieces), printed):
        return ""
    return (f"line {block.line}: the block prints something else:\n{_indented(printed)}"
            f"  in place of:\n{_indented(expected)}")


def _indented(text: str) -> str:
    return "".join(f"    {line}\n" for line in text.splitlines()) or "    (nothing)\n"


def run(call: list[str], environment: dict[str, str], place: Path) -> subprocess.CompletedProcess:
    return subprocess.run(call, cwd=place, env=environment, stdin=subprocess.DEVNULL, text=True,
                          errors="replace", stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          timeout=_MOST_SECONDS)


def is_program(path: Path) -> bool:
    return path.is_file() and os.access(path, os.X_OK)
