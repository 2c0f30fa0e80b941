"""The files of the tree, as version control knows them."""

from __future__ import annotations

import fnmatch
import re
import subprocess
from pathlib import Path


class Tree:
    def __init__(self, top: Path) -> None:
        self.top = top
        self.files = sorted(name for name in self._list() if name and (top / name).exists())
        self.directories = {
            str(parent) for name in self.files for parent in Path(name).parents if parent != Path()
        }
        self._entries = [*self.files, *self.directories]
        # Deeper ones are often called like something on a media.
        self._folder_names = {
            Path(directory).name for directory in self.directories if directory.count("/") < 2
        }

    def _list(self) -> set[str]:
        if not (self.top / ".git").exists():  # an unpacked archive: all but what was built
            tops = (path for path in self.top.iterdir() if path.name not in ("build", "dist"))
            paths = (path for top in tops for path in (top, *top.rglob("*")))
            return {str(path.relative_to(self.top)) for path in paths if path.is_file()}
        # Also in a checkout of somebody else.
        call = ["git", "-c", f"safe.directory={self.top}", "ls-files", "-z"]
        call += ["--cached", "--others", "--exclude-standard"]
        listed = subprocess.run(call, cwd=self.top, check=True, capture_output=True, text=True).stdout
        return set(listed.split("\0"))

    def documents(self) -> list[Path]:
        return [Path(name) for name in self.files if name.endswith(".md")]

    def has(self, path: str) -> bool:
        return path in self.files or path in self.directories or path == "."

    def speaks_of_it(self, text: str) -> bool:
        """Whether a text looks like a path of the tree: it begins with the name of a folder."""
        first, slash, _ = text.partition("/")
        return bool(slash) and first in self._folder_names and not re.search(r"[\s<>$={}]", text)

    def has_somewhere(self, text: str) -> bool:
        """Whether there is such a path, from the top or from a folder on."""
        wanted = text.rstrip("/")
        patterns = (wanted, "*/" + wanted)
        return any(fnmatch.fnmatchcase(entry, pattern)
                   for entry in self._entries for pattern in patterns)

    def read(self, name: str) -> str:
        return (self.top / name).read_text(errors="replace")

    def version(self) -> str:
        text = self.read("CMakeLists.txt")
        found = re.search(r"^project\(kvl-launcher VERSION (\S+)", text, re.M)
        if found is None:
            raise ValueError("CMakeLists.txt names no version")
        return found.group(1)
