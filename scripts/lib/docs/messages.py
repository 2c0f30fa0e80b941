"""Whether the administrator's page has the launcher's messages, all of them and no others."""

from __future__ import annotations

import errno
import os
import re

from document import Document
from tree import Tree

_SPEAKING = ("launcher/", "media/", "console/")
# Its texts are for another system.
_SILENT = "launcher/clean_up_script.cpp"
_LIBRARY = "insio/"
_LITERAL = r'"((?:[^"\\\n]|\\.)*)"'
_LEVELS = ("ERROR:", "WARN:", "INFO:")


def problems(document: Document, tree: Tree) -> list[str]:
    found = []
    shown = "\n".join(span.text for span in document.spans)
    spoken = _literals(tree, _SPEAKING)
    for literal in spoken:
        if " " in literal.strip() and literal.strip() not in shown:
            found.append(f"it lacks the message {literal!r}")
    known = [*spoken, *_literals(tree, (_LIBRARY,)),
             *(" - " + os.strerror(number) for number in errno.errorcode)]
    # The names of variables are put into the texts, and where they come from nobody knows here.
    names = re.findall(r"\bKVL\w+\b", tree.read("environment/variables.h"))
    varying = "|".join([re.escape("[...]"), *sorted(names, key=len, reverse=True)])
    for span in document.spans:
        if not span.text.startswith(_LEVELS):
            continue
        for piece in re.split(varying, span.text.split(":", 1)[1].strip()):
            if not any(piece in literal for literal in known):
                found.append(f"line {span.line}: there is no message with {piece!r}")
    return found


def _literals(tree: Tree, folders: tuple[str, ...]) -> list[str]:
    """The texts in the sources. Those that stand behind one another are one; line feeds divide."""
    texts = []
    for name in tree.files:
        if not name.startswith(folders) or not name.endswith(".cpp") or name == _SILENT:
            continue
        code = re.sub(r"^\s*(//|#).*$", "", tree.read(name), flags=re.M)
        code = code.replace("'\"'", "")
        for match in re.finditer(rf"{_LITERAL}(?:\s*{_LITERAL})*", code):
            whole = "".join(re.findall(_LITERAL, match.group()))
            texts += whole.replace('\\"', '"').split("\\n")
    return [text for text in texts if text]
