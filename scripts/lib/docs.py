"""Checks the given documents, by default all *.md files of the tree. In each document:

  - every link leads to an existing file or heading
  - every path of the tree in backticks exists; * stands for any part of a name
  - every command in backticks or in an indented block exists and has the options it is given;
    the check reads scripts without running them; it runs calls of kvl-media that name a DIR, and
    replaces each word in capitals by an example
  - blocks marked "sh" run in one shell, in order, in a fresh directory with the unpacked release
    archive; the check reports the first command that fails. A following block marked "output"
    contains everything that such a block prints, with [...] for any part of a line; without one,
    the block must print nothing. Nothing may remain in TMPDIR. Blocks marked "text", "console" or
    "cpp" do not run.
  - the tables from the sources are up to date, see tables.py
  - README.md has at most 120 lines, and tables of at most 100 characters
"""

import argparse
import fnmatch
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from markdown_it import MarkdownIt

import tables

TOP = Path(__file__).resolve().parents[2]


class Document:
    """The parts of a document: texts in backticks, targets of links, blocks, names of headings."""

    def __init__(self, path: Path) -> None:
        self.path, self.spans, self.links, self.blocks, self.anchors = path, [], [], [], []
        tokens = MarkdownIt("commonmark").enable("table").parse((TOP / path).read_text())
        for before, token in zip([None, *tokens], tokens):
            if token.type == "fence":
                self.blocks.append((token.info.strip(), token.content))
            elif token.type == "code_block":
                self.spans += token.content.splitlines()
            elif token.type == "inline":
                for child in token.children or []:
                    if child.type == "code_inline":
                        self.spans.append(child.content)
                    elif child.type in ("link_open", "image"):
                        self.links.append(child.attrGet("href") or child.attrGet("src"))
                if before is not None and before.type == "heading_open":
                    text = "".join(child.content for child in token.children or []).lower()
                    self.anchors.append(re.sub(r"[^\w\- ]", "", text).replace(" ", "-"))


class Checker:
    def __init__(self, place: Path) -> None:
        self.place = place
        tops = [path for path in TOP.iterdir() if path.name not in (".git", "build", "dist")]
        paths = [path for top in tops for path in (top, *top.rglob("*"))]
        self.files = sorted(str(path.relative_to(TOP)) for path in paths if path.is_file())
        folders = {str(parent) for name in self.files for parent in Path(name).parents}
        self.entries = {*self.files, *folders}
        # Deeper folders often have the name of something on a media.
        self.folder_names = {Path(name).name for name in folders if name.count("/") < 2} - {""}
        self.cmake = "".join((TOP / name).read_text() for name in self.files
                             if name.endswith(("CMakeLists.txt", ".cmake")))
        version = re.search(r"^project\(kvl-launcher VERSION (\S+)", self.cmake, re.M).group(1)
        self.release = place / f"kvl-launcher-{version}-x86_64"
        shutil.copytree(TOP / "build/release/bin", self.release / "bin")

    def new_place(self) -> Path:
        place = Path(tempfile.mkdtemp(dir=self.place))
        for name in ("home", "tmp", "work"):
            (place / name).mkdir(parents=True)
        return place

    def run(self, call: list, place: Path, directory: Path) -> subprocess.CompletedProcess:
        """Runs it as a user whose home and temporary directory lie in `place`."""
        environment = {"PATH": "/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", "USER": "you",
                       "LANG": "C.UTF-8", "HOME": f"{place}/home", "TMPDIR": f"{place}/tmp"}
        return subprocess.run(["timeout", "120", *call], cwd=directory, env=environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace")

    def problems(self, document: Document) -> list[str]:
        found = [f"the link {target} leads nowhere" for target in document.links
                 if not self.leads_somewhere(target, document)]
        for text in document.spans:
            first, slash, _ = text.partition("/")
            is_path = slash and first in self.folder_names and not re.search(r"[\s<>$={}]", text)
            if is_path and not any(fnmatch.filter(self.entries, pattern + text.rstrip("/"))
                                   for pattern in ("", "*/")):
                found.append(f"the tree has no {text}")
            for words in simple_commands(text):
                if problem := self.why_wrong(words):
                    found.append(f"{shlex.join(words)}: {problem}")
        text = (TOP / document.path).read_text()
        if text != tables.renewed(text):
            found.append("its tables fall behind the sources; run python3 scripts/lib/tables.py")
        lines = text.splitlines()
        if document.path.name == "README.md":  # people read it on a phone, too
            found += [f"a table is wider than 100 characters: {line}" for line in lines
                      if line.startswith("|") and len(line) > 100]
            found += ["it has more than 120 lines"] if len(lines) > 120 else []
        return found + self.run_blocks(document)

    def leads_somewhere(self, target: str, document: Document) -> bool:
        if re.match(r"[a-z][a-z0-9+.-]*:", target):
            return True
        path, _, anchor = target.partition("#")
        place = os.path.normpath(document.path.parent / path) if path else str(document.path)
        if place not in self.entries:
            return False
        return not anchor or (place.endswith(".md") and anchor in Document(Path(place)).anchors)

    def why_wrong(self, words: list[str]) -> str:
        """Returns what is wrong with a command; the empty text for a right or an unknown one."""
        name = words[0] if words else ""
        if name == "kvl-media" and len(words) > 1:
            own = words[:words.index("--")] if "--" in words else words  # the launcher's follow
            return self.why_wrong_kvl_media(own[1:])
        if name == "cmake":
            return self.why_wrong_cmake(words)
        if not re.fullmatch(r"(scripts|\.ci|examples)/[\w-]+", name) or (TOP / name).is_dir():
            return ""
        if not os.access(TOP / name, os.X_OK):
            return "the tree has no such program"
        # Does not run it, because some scripts take hours.
        part = "scripts/lib/" + Path(name).name.removeprefix("check-")
        parts = [file for file in self.files if file.startswith((part + ".", part + "/"))]
        return unknown_options(words, "".join((TOP / file).read_text() for file in [name, *parts]))

    def why_wrong_kvl_media(self, words: list[str]) -> str:
        place = self.new_place()
        program = str(self.release / "bin/kvl-media")
        sample = {"TEXT": "SAMPLE", "FILE": str(TOP / "examples/sample-installer"),
                  "PAYLOAD": str(TOP / "examples/consumer"), "DIR": str(place / "media")}
        calls = [[word for word in words[:1] if word[0] != "-"] + ["--help"]]
        if "DIR" in words:
            make = "make --tag TEXT --installer FILE PAYLOAD DIR".split()
            calls += [words] if words[0] == "make" else [make, words]
        for call in calls:
            said = self.run([program, *(sample.get(word, word) for word in call)], place, place)
            if said.returncode != 0:
                return f"status {said.returncode}: {said.stdout}"
            if call is calls[0] and (unknown := unknown_options(words, said.stdout)):
                return unknown
        return ""

    def why_wrong_cmake(self, words: list[str]) -> str:
        presets = (TOP / "CMakePresets.json").read_text()
        known = {"--preset": re.findall(r'"name": "([\w-]+)"', presets),
                 "--target": re.findall(r"\badd_(?:executable|custom_target)\(([\w-]+)", self.cmake),
                 "--component": re.findall(r"\bCOMPONENT ([\w-]+)", self.cmake)}
        for option, value in zip(words, words[1:]):
            if value not in known.get(option, [value]):
                return f"{option} has no value {value}"
        return ""

    def run_blocks(self, document: Document) -> list[str]:
        found, place, script, blocks = [], self.new_place(), "set -e\n", []
        for kind, text in document.blocks:
            if kind == "sh":
                script += f"exec >{shlex.quote(str(place))}/{len(blocks)} 2>&1\n{text}"
                blocks.append([text, ""])
            elif kind == "output" and blocks:
                blocks[-1][1] = text
            elif kind not in ("text", "console", "cpp"):
                found.append(f'a block is marked "{kind}", see --help:\n{text}')
        shutil.copytree(self.release, place / "work" / self.release.name, symlinks=True)
        (place / "script").write_text(script)
        status = self.run(["sh", str(place / "script")], place, place / "work").returncode
        results = [place / str(number) for number in range(len(blocks))]
        for path, (text, expected) in zip(filter(Path.exists, results), blocks):
            last, printed = text, path.read_text(errors="replace")
            if not re.fullmatch("[^\n]*".join(map(re.escape, expected.split("[...]"))), printed):
                found.append(f"the block\n{text}prints\n{printed}instead of\n{expected}")
        if status != 0:
            found.append(f"this block ends with status {status}:\n{last}")
        elif left := os.listdir(place / "tmp"):
            found.append(f"the blocks leave files in TMPDIR: {left}")
        return found


def simple_commands(line: str) -> list[list[str]]:
    try:
        return [shlex.split(part, comments=True) for part in line.split(" && ")]
    except ValueError:  # not a command, but some text with a quote
        return []


def unknown_options(words: list[str], text: str) -> str:
    option = re.compile(r"--?[A-Za-z][\w-]*")
    unknown = {word for word in words if option.fullmatch(word)} - set(option.findall(text))
    return f"unknown options: {sorted(unknown)}" if unknown else ""


def main() -> int:
    parser = argparse.ArgumentParser("scripts/check-docs", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--report", type=Path, metavar="FILE", default=os.devnull,
                        help="write a line for each document to FILE: verdict, document, text")
    parser.add_argument("documents", nargs="*", type=Path, metavar="DOCUMENT")
    options = parser.parse_args()
    lines = []
    with tempfile.TemporaryDirectory(prefix="kvl-docs.") as temporary:
        checker = Checker(Path(temporary))
        paths = [path.resolve().relative_to(TOP) for path in options.documents]
        for path in paths or [Path(name) for name in checker.files if name.endswith(".md")]:
            problems = checker.problems(Document(path))
            for problem in problems:
                print(f"{path}: {problem}")
            lines.append(f"failed\t{path}\tsee the log\n" if problems else f"passed\t{path}\t\n")
    options.report.write_text("".join(lines))
    failed = sum(line.startswith("failed") for line in lines)
    print(f"{len(lines) - failed} documents passed, {failed} failed")
    return 0 if lines and not failed else 1


sys.exit(main())
