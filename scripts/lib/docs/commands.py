"""The commands that are named in the text: do they exist, and do they know these options?"""

from __future__ import annotations

import ast
import json
import re
import shlex
import subprocess
from pathlib import Path

from document import Document, Span
from runner import Programs, is_program, run
from tree import Tree

_OPTION = re.compile(r"--?[A-Za-z][\w-]*")


def problems(document: Document, tree: Tree, programs: Programs, place: Path) -> list[str]:
    checker = _Checker(tree, programs, place)
    found = []
    for span in _lines(document):
        for words in _simple_commands(span.text):
            problem = checker.problem(words)
            if problem:
                found.append(f"line {span.line}: {shlex.join(words)}: {problem}")
    return found


def _lines(document: Document) -> list[Span]:
    """Each command in backticks and each line of an indented block."""
    lines = list(document.spans)
    for block in document.blocks:
        if block.kind == "indented":
            lines += [Span(text, block.line + i) for i, text in enumerate(block.text.splitlines())]
    return lines


def _simple_commands(line: str) -> list[list[str]]:
    try:
        words = shlex.split(line, comments=True)
    except ValueError:  # no command, but some text with a quote in it
        return []
    commands: list[list[str]] = [[]]
    for word in words:
        if word == "&&":
            commands.append([])
        else:
            commands[-1].append(word)
    return [command for command in commands if command]


class _Checker:
    def __init__(self, tree: Tree, programs: Programs, place: Path) -> None:
        self._tree = tree
        self._programs = programs
        self._place = place
        self._calls = 0

    def problem(self, words: list[str]) -> str:
        """Empty when nothing is wrong with it, or when it is no command that is known here."""
        name = words[0]
        if name == "kvl-media" and len(words) > 1:
            return self._of_kvl_media(words)
        if name == "cmake" and len(words) > 1:
            return self._of_cmake(words)
        is_path = re.fullmatch(r"(scripts|\.ci|examples)/[\w-]+", name)
        if is_path and name not in self._tree.directories:
            if not is_program(self._tree.top / name):
                return "it is no program of the tree"
            return self._of_script(words)
        return ""

    def _of_script(self, words: list[str]) -> str:
        """It is not run: some of them take hours."""
        source = self._tree.read(words[0])
        if source.startswith("#!/usr/bin/env python3"):
            ast.parse(source, words[0])
        else:
            checked = run(["sh", "-n", words[0]], {}, self._tree.top)
            if checked.returncode != 0:
                return checked.stdout
        part = "scripts/lib/" + Path(words[0]).name.removeprefix("check-")
        parts = [name for name in self._tree.files if name.startswith((part + ".", part + "/"))]
        return _unknown_options(words, source + "".join(map(self._tree.read, parts)))

    def _of_kvl_media(self, words: list[str]) -> str:
        """Run with --help, and with its own words when they are a whole call."""
        subcommand = [] if words[1].startswith("-") else [words[1]]
        asked = self._run_kvl_media([*subcommand, "--help"])
        if asked.returncode != 0:
            return asked.stdout
        unknown = _unknown_options(words, asked.stdout)
        if unknown or "DIR" not in words:
            return unknown
        called = self._run_kvl_media([self._filled_in(word, words) for word in words[1:]])
        return "" if called.returncode == 0 else f"status {called.returncode}: {called.stdout}"

    def _run_kvl_media(self, arguments: list[str]) -> subprocess.CompletedProcess:
        call = [str(self._programs.release / "bin/kvl-media"), *arguments]
        return run(call, self._programs.environment(self._new_place()), Path("/"))

    def _new_place(self) -> Path:
        self._calls += 1
        return self._place / str(self._calls)

    def _filled_in(self, word: str, words: list[str]) -> str:
        """Something fitting for each word in capitals."""
        fresh = self._new_place()
        if word == "TEXT":
            return "SAMPLE"
        if word == "FILE":
            return str(self._tree.top / "examples/sample-installer")
        if word == "PAYLOAD":
            return str(self._tree.top / "examples/consumer")
        if word == "DIR" and words[1] == "check":
            sample = ["make", "--tag", "TEXT", "--installer", "FILE", "PAYLOAD", str(fresh)]
            self._run_kvl_media([self._filled_in(word, sample) for word in sample])
        return str(fresh) if word == "DIR" else word

    def _of_cmake(self, words: list[str]) -> str:
        presets = json.loads(self._tree.read("CMakePresets.json"))
        known = {
            "--preset": {preset["name"] for preset in presets["configurePresets"]},
            "--target": self._in_cmake_files(r"\badd_(?:executable|custom_target)\(([\w-]+)"),
            "--component": self._in_cmake_files(r"\bCOMPONENT ([\w-]+)"),
        }
        for option, value in zip(words, words[1:]):
            if option in known and value not in known[option]:
                return f"there is no {value} for {option}"
        if "--install" in words and "--prefix" in words and "build/release" in words:
            call = list(words)
            call[words.index("--prefix") + 1] = str(self._new_place() / "prefix")
            installed = run(call, self._programs.environment(self._new_place()), self._tree.top)
            return "" if installed.returncode == 0 else installed.stdout
        return ""

    def _in_cmake_files(self, pattern: str) -> set[str]:
        files = [name for name in self._tree.files if name.endswith(("CMakeLists.txt", ".cmake"))]
        return {match for name in files for match in re.findall(pattern, self._tree.read(name))}


def _unknown_options(words: list[str], text: str) -> str:
    known = set(_OPTION.findall(text))
    unknown = [word for word in words if _OPTION.fullmatch(word) and word not in known]
    return f"unknown: {' '.join(unknown)}" if unknown else ""
