"""Checks the documents one by one, and sums up."""

from __future__ import annotations

import argparse
import collections
import sys
import tempfile
from pathlib import Path

import commands
import links
import messages
import runner
from document import Document
from runner import Programs, is_program
from tree import Tree

_CHECKOUT = Path(__file__).resolve().parents[3]

_ABOUT = """\
Checks the documents of the tree, all *.md files unless some are named. Of each:

  - every link to a file or heading leads to one that is there
  - every path of the tree named in backticks is there; * stands for any part of a name
  - every command in backticks or in an indented block exists and knows its options: scripts are
    looked at, not run; calls of kvl-media are run when they name a DIR, with something fitting for
    each word in capitals
  - blocks marked "sh" are run in one shell, in order, in a fresh directory with the unpacked
    release archive; the first command that fails is reported. A block that is marked "output"
    behind one is all that it prints, [...] for any part of a line; without such a block it must
    print nothing. Nothing may be left in TMPDIR. Blocks marked "text" or "console" are not run.
  - the administrator's page has every message of the launcher, and no other
"""


def problems_of(document: Document, tree: Tree, programs: Programs, place: Path) -> list[str]:
    found = links.problems(document, tree)
    found += commands.problems(document, tree, programs, place / "calls")
    found += runner.problems(document, programs, place / "blocks")
    if document.path.name == "administrators.md":
        found += messages.problems(document, tree)
    return found


def main() -> int:
    parser = argparse.ArgumentParser(
        prog="scripts/check-docs",
        description=_ABOUT,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    parser.add_argument(
        "--release",
        type=Path,
        metavar="DIR",
        help="an unpacked release archive (default: one is laid out from build/release)",
    )
    parser.add_argument(
        "--report",
        type=Path,
        metavar="FILE",
        help="write one line for each document there: verdict, document, text",
    )
    parser.add_argument("documents", nargs="*", type=Path, metavar="DOCUMENT")
    options = parser.parse_args()
    if options.release and not is_program(options.release / "bin/kvl-media"):
        parser.error(f"no unpacked release archive: {options.release}")

    tree = Tree(_CHECKOUT)
    paths = [path.resolve().relative_to(_CHECKOUT) for path in options.documents]
    lines = []
    verdicts: collections.Counter[str] = collections.Counter()
    with tempfile.TemporaryDirectory(prefix="kvl-docs.") as temporary:
        programs = Programs(_CHECKOUT, tree.version(), options.release, Path(temporary))
        for number, path in enumerate(paths or tree.documents()):
            place = Path(temporary, str(number))
            document = Document(_CHECKOUT, path)
            problems = problems_of(document, tree, programs, place)
            for problem in problems:
                print(f"{path}: {problem}")
            verdict = "failed" if problems else "passed"
            verdicts[verdict] += 1
            text = f"{len(problems)} found, see the log" if problems else ""
            lines.append(f"{verdict}\t{path}\t{text}\n")
    if options.report:
        options.report.write_text("".join(lines))
    print(f"{verdicts['passed']} documents passed, {verdicts['failed']} failed")
    return 0 if lines and not verdicts["failed"] else 1


if __name__ == "__main__":
    sys.exit(main())
