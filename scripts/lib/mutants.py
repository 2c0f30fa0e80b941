"""Finds the places in C++ sources where a small edit turns a right program into a wrong one.

It reads only the text, token by token, and skips comments and preprocessor lines. An edit may fail
to compile; the caller then takes another one.
"""

import hashlib
import random
import re
from collections import Counter
from collections.abc import Iterator
from dataclasses import dataclass
from itertools import groupby


@dataclass(frozen=True)
class Mutant:
    name: str  # FILE:LINE:RULE; .2, .3, ... follow if a line has several
    file: str
    text: str  # the file's text
    start: int
    end: int
    new: str

    @property
    def rule(self) -> str:
        return self.name.split(":")[2].split(".")[0]

    def overlaps(self, other: "Mutant") -> bool:
        return self.file == other.file and self.start <= other.end and other.start <= self.end

    def apply(self, text: str) -> str:
        return text[: self.start] + self.new + text[self.end :]

    def describe(self) -> str:
        """The lines of the edit, before and after it, without extra blanks."""
        first, last = self.text.rfind("\n", 0, self.start) + 1, self.text.find("\n", self.end)
        after = self.text[first : self.start] + self.new + self.text[self.end : last]
        return f"{' '.join(self.text[first:last].split())}  =>  {' '.join(after.split())}"


TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n\\]|\\.)*)
      | (?P<string>"(?:[^"\\\n]|\\.)*")
      | (?P<character>'(?:[^'\\\n]|\\.)+')
      | (?P<number>\d[\w']*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign><=>|<<=|>>=|\.\.\.|->|::|\+\+|--|<<|[-+*/%&|^=!<>]=|&&|\|\||.)""",
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)
# The replacements of a sign between two values, by the rule's name.
SIGNS = {
    "comparison": {"==": "!=", "!=": "==", "<": "<= >", "<=": "< >=", ">": ">= <", ">=": "> <="},
    "logic": {"&&": "||", "||": "&&"},
    "arithmetic": {"+": "-", "-": "+", "*": "/", "/": "*", "%": "/"}
    | {"+=": "-= =", "-=": "+=", "*=": "/=", "/=": "*="},
    "bits": {"&": "|", "|": "&", "^": "|"},
}
STEPS = {"++": "--", "--": "++"}
NAMED = dict(
    pair.split(">")
    for pair in """
    true>false false>true break>continue continue>break min>max max>min begin>end front>back
    back>front find>rfind rfind>find kError>kWarning kWarning>kInformation kInformation>kWarning
    kContinuation>kInformation kQuiet>kWithVerdict kWithVerdict>kQuiet kUpperCase>kLowerCase
    kReadOnly>kWritable kWritable>kReadOnly kFile>kDirectory kDirectory>kFile
    kDirectoryOrFile>kFile kLinkToDirectory>kDirectory kLinkToFile>kFile kNoEntry>kFile
    kUsable>kNotUsable kScanFailed>kNothingMoreNeeded kNothingMoreNeeded>kScanFailed
    kBadCommandLine>kBlankInInstallerMedia kNoInstaller>kBlankInInstallerMedia
    kStagingFailed>kBlankInInstallerMedia kBlankInInstallerMedia>kNoInstaller
    kCannotExecute>kInvalidArguments O_TRUNC>O_APPEND O_RDONLY>O_RDWR STDERR_FILENO>STDOUT_FILENO
    STDOUT_FILENO>STDERR_FILENO SIG_IGN>SIG_DFL SIG_DFL>SIG_IGN""".split()
)
# A statement that begins with one of these words is neither a call nor an assignment.
NO_ACTION = set(
    "const constexpr static auto using struct class enum union template typedef friend explicit "
    "public private protected extern namespace inline virtual static_assert case default return "
    "if else for while do switch try catch throw break continue goto operator".split()
)
ORDERLESS = {"min", "max"}  # the order of their arguments does not matter
TYPES = {"class", "struct", "enum", "union", "namespace"}
BRACKETS = {"(": ")", "[": "]", "{": "}"}

# The rule's name, the first and last position, the new text.
Edit = tuple[str, int, int, str]


class Finder:
    """All possible edits of one text."""

    def __init__(self, text: str) -> None:
        self.text = text
        self.tokens = [token for token in TOKEN.finditer(text) if token.lastgroup != "skip"]
        self.partner: dict[int, int] = {}  # the partner of each bracket
        open_ones: list[int] = []
        for index, token in enumerate(self.tokens):
            if token[0] in BRACKETS:
                open_ones.append(index)
            elif token[0] in BRACKETS.values() and open_ones:
                other = open_ones.pop()
                self.partner |= {other: index, index: other}
        self.in_function = self._function_bodies()

    def edits(self) -> Iterator[Edit]:
        for index, token in enumerate(self.tokens):
            yield from self._edits_of_token(index, token)
            if token[0] in ("if", "while"):
                yield from self._negation(index + 1)
            if token[0] == "?":  # swaps b and c in "a ? b : c"
                yield from self._swap("choice", index, ":", {";", ",", ")", "}", "]"})
            if self.in_function[index]:
                before = self.tokens[index - 1]
                is_call = token[0] == "(" and before.lastgroup == "word"
                if is_call and before[0] not in NO_ACTION | ORDERLESS:
                    yield from self._swap("swapped", index, ",", {",", ")"})
                yield from self._statement(index, token)

    def _text_at(self, index: int) -> str:
        return self.tokens[index][0] if 0 <= index < len(self.tokens) else ""

    def _span(self, first: int, last: int) -> tuple[int, int]:
        return self.tokens[first].start(), self.tokens[last].end()

    def _edits_of_token(self, index: int, token: re.Match[str]) -> Iterator[Edit]:
        where, before = token.span(), self._text_at(index - 1)
        # With blanks on both sides, it is an operator between two values, not part of a type.
        start, end = where
        around = self.text[start - 1 : start] + self.text[end : end + 1]
        if len(around) == 2 and around.isspace() and before != "operator":
            is_of_texts = before.endswith('"') or self._text_at(index + 1).startswith('"')
            for rule, signs in SIGNS.items():
                if token[0] != "+" or not is_of_texts:  # texts have no subtraction
                    for other in signs.get(token[0], "").split():
                        yield (rule, *where, other)
        if token[0] in STEPS:
            yield ("step", *where, STEPS[token[0]])
        elif token[0] == "!":
            yield ("not", *where, "")
        elif token[0] in NAMED and token.lastgroup == "word":
            yield ("named", *where, NAMED[token[0]])
        elif token.lastgroup == "number" and re.fullmatch(r"(0x)?[\dA-Fa-f']+", token[0]):
            value = int(token[0].replace("'", ""), 16 if token[0].startswith("0x") else 10)
            octal = "0" if re.fullmatch(r"0\d+", token[0]) else ""
            yield ("plus-one", *where, f"{octal}{value + 1}")
            if value > 0:
                yield ("minus-one", *where, f"{octal}{value - 1}")
        elif token.lastgroup == "string" and before not in ("include", "extern"):
            yield ("altered-text", *where, token[0][:-1] + '~"')
            if token[0] != '""':
                yield ("emptied-text", *where, '""')
        elif token.lastgroup == "character":
            yield ("character", *where, "'#'")

    def _negation(self, opening: int) -> Iterator[Edit]:
        is_condition = self._text_at(opening) == "(" and opening in self.partner
        if is_condition and self._text_at(opening + 1) != "!":  # another rule removes the "!"
            start, end = self.tokens[opening].end(), self.tokens[self.partner[opening]].start()
            yield ("negated", start, end, f"!({self.text[start:end]})")

    def _swap(self, rule: str, opening: int, middle: str, closing: set[str]) -> Iterator[Edit]:
        """Swaps the parts before and behind the sign in the middle."""
        sign = self._next_at_this_level(opening + 1, {middle})
        end = self._next_at_this_level(sign + 1, closing) if sign else 0
        if end:
            one, other = self._span(opening + 1, sign - 1), self._span(sign + 1, end - 1)
            between = ", " if middle == "," else self.text[one[1] : other[0]]
            first, second = self.text[slice(*one)], self.text[slice(*other)]
            if first != second:
                yield (rule, one[0], other[1], second + between + first)

    def _next_at_this_level(self, index: int, wanted: set[str]) -> int:
        """Returns the index of the next of these signs outside of brackets; 0 without one."""
        while (sign := self._text_at(index)) and sign not in wanted:
            if sign in ("}", ")", "]", ";"):
                return 0
            index = self.partner.get(index, index) + 1
        return index if sign else 0

    def _function_bodies(self) -> list[bool]:
        """Returns for each token whether it is in a block of statements."""
        result: list[bool] = []
        blocks: list[bool] = []
        head = 0
        for index, token in enumerate(self.tokens):
            result.append(bool(blocks) and blocks[-1])
            if token[0] not in ("{", "}", ";"):
                continue
            if token[0] == "{":
                words = {other[0] for other in self.tokens[head:index]}
                before = self._text_at(index - 1)
                is_block = before in (")", "{", "}", ";", "const", "noexcept", "else", "try", "&&")
                blocks.append(is_block and not (words & TYPES and "(" not in words))
            elif token[0] == "}" and blocks:
                blocks.pop()
            head = index + 1
        return result

    def _statement(self, index: int, token: re.Match[str]) -> Iterator[Edit]:
        """Removes or changes a statement that begins here."""
        before, end = self._text_at(index - 1), self._next_at_this_level(index, {";"})
        begins = {
            ")": self._text_at(self.partner.get(index - 1, 0) - 1) in ("if", "for", "while"),
            ":": "default" == self._text_at(index - 2) or "case" == self._text_at(index - 3),
        }
        if not end or not begins.get(before, before in (";", "{", "}", "else")):
            return
        where = (token.start(), self.tokens[end].start())
        if token[0] == "return" and end > index + 1:
            if self._text_at(index + 1) not in ("{", "true", "false"):  # these have other rules
                yield ("returned", *where, "return {}")
        elif token[0] in ("throw", "break", "continue", "return") or self._is_action(index, end):
            yield ("removed", *where, "")

    def _is_action(self, index: int, end: int) -> bool:
        """Returns true for a call, an assignment or a step, but not for a declaration."""
        if self._text_at(index) in NO_ACTION:
            return False
        if self._text_at(index) in STEPS or self._text_at(end - 1) in STEPS:
            return True
        for place in range(index, end):
            token = self.tokens[place]
            if token.lastgroup == "word" and re.match(r"\w", self._text_at(place + 1)):
                return False  # a type and a name
            if token[0] in ("(", "=", "+=", "-=", "*=", "/=", "^="):
                return place > index
            if token[0] in ("<", "{"):
                return False
        return False


def mutants_of(file: str, text: str) -> list[Mutant]:
    seen: Counter[str] = Counter()
    result = []
    for rule, start, end, new in Finder(text).edits():
        name = f"{file}:{text.count(chr(10), 0, start) + 1}:{rule}"
        seen[name] += 1
        if seen[name] > 1:
            name += f".{seen[name]}"
        result.append(Mutant(name, file, text, start, end, new))
    return result


def shuffled(file: str, text: str, seed: int) -> list[Mutant]:
    """Returns the mutants of a file in an order that depends only on the seed and the file. The
    rules take turns, so that the first few mutants show many rules."""
    number = int.from_bytes(hashlib.sha256(f"{seed} {file}".encode()).digest()[:8], "big")
    source = random.Random(number)
    by_rule = sorted(mutants_of(file, text), key=lambda mutant: mutant.rule)
    queues = [list(queue) for _, queue in groupby(by_rule, lambda mutant: mutant.rule)]
    for queue in queues:
        source.shuffle(queue)
    # Spreads each rule over the whole list, rare rules as widely as frequent ones.
    placed = [
        ((place + source.random()) / len(queue), mutant)
        for queue in queues
        for place, mutant in enumerate(queue)
    ]
    return [mutant for _, mutant in sorted(placed, key=lambda pair: pair[0])]


def shares(sizes: dict[str, int], count: int) -> dict[str, int]:
    """Returns each file's share of `count` mutants: in proportion to its mutants, at least one."""
    exact = {file: count * size / sum(sizes.values()) for file, size in sizes.items()}
    result = {file: max(1, int(share)) for file, share in exact.items()}
    by_rest = sorted(exact, key=lambda file: (int(exact[file]) - exact[file], file))
    for file in by_rest[: max(0, count - sum(result.values()))]:
        result[file] += 1
    return {file: min(share, sizes[file]) for file, share in result.items()}
