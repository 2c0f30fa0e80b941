"""A document taken apart into what is checked."""

from __future__ import annotations

import collections
import dataclasses
import re
from pathlib import Path

from markdown_it import MarkdownIt


@dataclasses.dataclass
class Block:
    kind: str  # the word behind the fence; "indented" for a block without one
    text: str
    line: int
    output: Block | None = None  # what it is said to print


@dataclasses.dataclass
class Span:
    """Something within a paragraph: text in backticks, or where a link leads."""

    text: str
    line: int


class Document:
    def __init__(self, checkout: Path, path: Path) -> None:
        self.path = path
        self.spans: list[Span] = []
        self.links: list[Span] = []
        self.blocks: list[Block] = []
        self.anchors: set[str] = set()
        self.text = (checkout / path).read_text()
        self._seen: collections.Counter[str] = collections.Counter()

        tokens = MarkdownIt("commonmark").enable("table").parse(self.text)
        line = 0
        for before, token in zip([None, *tokens], tokens):
            line = token.map[0] + 1 if token.map else line
            if token.type == "inline":
                self._take_inline(token.children or [], line)
                if before is not None and before.type == "heading_open":
                    self._take_heading(token.children or [])
            elif token.type == "fence":
                self._take_block(Block(token.info.strip(), token.content, line),
                                 before is not None and before.type == "fence")
            elif token.type == "code_block":
                self.blocks.append(Block("indented", token.content, line))

    def _take_inline(self, children: list, line: int) -> None:
        for child in children:
            if child.type == "code_inline":
                self.spans.append(Span(child.content, line))
            elif child.type == "link_open":
                self.links.append(Span(child.attrGet("href"), line))
            elif child.type == "image":
                self.links.append(Span(child.attrGet("src"), line))
            elif child.type == "softbreak":
                line += 1

    def _take_heading(self, children: list) -> None:
        """The name under which the usual renderers of such documents let a heading be linked to."""
        text = "".join(child.content for child in children).lower()
        name = re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
        self._seen[name] += 1
        self.anchors.add(name if self._seen[name] == 1 else f"{name}-{self._seen[name] - 1}")

    def _take_block(self, block: Block, follows_a_block: bool) -> None:
        last = self.blocks[-1] if self.blocks else None
        if block.kind == "output" and follows_a_block and last and last.kind == "sh":
            last.output = block
        else:
            self.blocks.append(block)
