"""Where links lead, and the paths in backticks."""

from __future__ import annotations

import os
import re
import urllib.parse

from document import Document
from tree import Tree


def problems(document: Document, tree: Tree) -> list[str]:
    found = []
    for link in document.links:
        problem = _why_dead(link.text, document, tree)
        if problem:
            found.append(f"line {link.line}: the link {link.text} is dead: {problem}")
    for span in document.spans:
        if tree.speaks_of_it(span.text) and not tree.has_somewhere(span.text):
            found.append(f"line {span.line}: there is no {span.text} in the tree")
    for block in document.blocks:
        if block.kind not in ("sh", "text", "console", "cpp", "indented"):
            mark = f'marked "{block.kind}"' if block.kind else "not marked"
            what = "and none to run stands before it" if block.kind == "output" else "see --help"
            found.append(f"line {block.line}: the block is {mark}, {what}")
    return found


def _why_dead(target: str, document: Document, tree: Tree) -> str:
    """Empty when it is not, and for what lies elsewhere."""
    if re.match(r"[a-z][a-z0-9+.-]*:", target):
        return ""
    path, _, anchor = urllib.parse.unquote(target).partition("#")
    place = os.path.normpath(os.path.join(document.path.parent, path)) if path else document.path
    if not tree.has(str(place)):
        return f"there is no {place}"
    if not anchor:
        return ""
    if not str(place).endswith(".md"):
        return f"{place} has no headings"
    there = Document(tree.top, place) if path else document
    return "" if anchor in there.anchors else f"{place} has no such heading"
