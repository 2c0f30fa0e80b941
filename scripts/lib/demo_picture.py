"""Makes a picture of what the demo printed: demo_picture.py CHECKOUT TMPDIR <LOG >PICTURE.

CHECKOUT and TMPDIR are the directories that the demo ran in; other names stand for them in the
picture. Of a long list only the entries that tell something are shown, and the number of the
others.
"""

from __future__ import annotations

import io
import re
import sys

import rich._export_format
from rich.console import Console
from rich.text import Text

_WIDTH = 118
_SECTIONS_LEFT_OUT = ("Building", "Run 3")
_PARAGRAPHS_LEFT_OUT = ("The script remove.bat",)
_LONGEST_LIST = 6
_ENTRY = re.compile(r"  \| (  |\./)")
_TELLING = re.compile(
    r" (KVLAdmInst(CurrentMediaDir|OriginalMediaDir|MTBDIR|VolumesCount)|ORBInstallPath)="
    r"|code/bin/[\w-]+$|remove\.bat"
)
_STYLES = (
    (re.compile(r"^=== .*"), "bold bright_cyan"),
    (re.compile(r"^\$ .*"), "bold"),
    (re.compile(r"WARN: .*"), "yellow"),
    (re.compile(r"^  \|"), "bright_black"),
    (re.compile(r"^  ok  "), "green"),
    (re.compile(r"^\(.*\)$|^.*\.\.\. and \d+ more$"), "bright_black italic"),
)


def without_chance(text: str, checkout: str, temporary: str) -> str:
    text = re.sub(re.escape(temporary) + r"/tmp\.\w+", "/tmp/demo", text)
    text = text.replace(checkout, "~/kvl-launcher")
    return re.sub(r"[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}", "<identifier>", text)


def paragraphs(text: str) -> list[list[str]]:
    """Those that are shown."""
    shown = []
    is_left_out = False
    for paragraph in text.strip().split("\n\n"):
        if paragraph.startswith("=== "):
            is_left_out = paragraph[4:].startswith(_SECTIONS_LEFT_OUT)
        if not is_left_out and not paragraph.startswith(_PARAGRAPHS_LEFT_OUT):
            shown.append(paragraph.splitlines())
    return shown


def shortened(lines: list[str]) -> list[str]:
    """The same with its long lists cut."""
    result: list[str] = []
    entries: list[str] = []
    for line in [*lines, ""]:
        if _ENTRY.match(line):
            entries.append(line)
            continue
        telling = [entry for entry in entries if _TELLING.search(entry)]
        if len(entries) > _LONGEST_LIST and telling:
            result += [*telling, f"  |   ... and {len(entries) - len(telling)} more"]
        else:
            result += entries
        entries = []
        result.append(line)
    return result[:-1]


def picture(lines: list[str]) -> str:
    console = Console(record=True, width=_WIDTH, file=io.StringIO(), force_terminal=True,
                      color_system="truecolor", legacy_windows=False)
    for line in lines:
        text = Text(line, overflow="fold")
        for pattern, style in _STYLES:
            for match in pattern.finditer(line):
                text.stylize(style, *match.span())
        console.print(text)
    frame = rich._export_format.CONSOLE_SVG_FORMAT
    # Not every viewer keeps blanks at the beginning of a text unless it is told so.
    frame = frame.replace('-matrix">', '-matrix" xml:space="preserve">')
    # With the fonts that are there, in place of some to be fetched.
    frame = re.sub(r"@font-face \{\{.*?\}\}\s*|<!--.*?-->\s*", "", frame, flags=re.S)
    frame = frame.replace("Fira Code, monospace", "monospace").replace("arial", "sans-serif")
    svg = console.export_svg(title="scripts/demo", code_format=frame, unique_id="demo")
    return "".join(line.rstrip() + "\n" for line in svg.splitlines())


def main() -> None:
    checkout, temporary = sys.argv[1:]
    text = without_chance(sys.stdin.read(), checkout, temporary)
    lines: list[str] = []
    for paragraph in paragraphs(text):
        lines += [*shortened(paragraph), ""]
    print(picture(lines[:-1]), end="")


if __name__ == "__main__":
    main()
