"""Finds the places in C++ sources where a small edit makes a wrong program out of a right one.

Only the text is looked at, token by token; comments and preprocessor lines are left alone. An edit
that does not compile is no harm: whoever builds it takes another one.
"""

import hashlib
import random
import re
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path


@dataclass(frozen=True)
class Token:
    kind: str  # "word", "number", "string", "character" or "sign"
    text: str
    start: int

    @property
    def end(self) -> int:
        return self.start + len(self.text)


@dataclass(frozen=True)
class Mutant:
    name: str  # FILE:LINE:RULE, with .2, .3, ... behind it where a line has several
    file: str
    start: int
    end: int
    new: str

    def apply(self, text: str) -> str:
        return text[: self.start] + self.new + text[self.end :]

    def describe(self, text: str) -> str:
        """The lines of the edit before and after it, each without its blanks in excess."""
        first = text.rfind("\n", 0, self.start) + 1
        last = text.find("\n", self.end)
        before = text[first:last]
        after = text[first : self.start] + self.new + text[self.end : last]
        return f"{' '.join(before.split())}  =>  {' '.join(after.split())}"


TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n\\]|\\.)*)
      | (?P<string>"(?:[^"\\\n]|\\.)*")
      | (?P<character>'(?:[^'\\\n]|\\.)+')
      | (?P<number>\d[\w']*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign><=>|<<=|>>=|\.\.\.|->|::|\+\+|--|<<|[-+*/%&|^=!<>]=|&&|\|\||.)""",
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)


def tokens_of(text: str) -> list[Token]:
    return [
        Token(match.lastgroup, match[0], match.start())
        for match in TOKEN.finditer(text)
        if match.lastgroup != "skip" and match.lastgroup is not None
    ]


# What a token in the middle of an expression becomes, and the rule's name.
SIGNS = {
    "==": ("comparison", ["!="]),
    "!=": ("comparison", ["=="]),
    "<": ("comparison", ["<=", ">"]),
    "<=": ("comparison", ["<", ">="]),
    ">": ("comparison", [">=", "<"]),
    ">=": ("comparison", [">", "<="]),
    "&&": ("logic", ["||"]),
    "||": ("logic", ["&&"]),
    "+": ("arithmetic", ["-"]),
    "-": ("arithmetic", ["+"]),
    "*": ("arithmetic", ["/"]),
    "/": ("arithmetic", ["*"]),
    "%": ("arithmetic", ["/"]),
    "&": ("bits", ["|"]),
    "|": ("bits", ["&"]),
    "^": ("bits", ["|"]),
    "+=": ("arithmetic", ["-=", "="]),
    "-=": ("arithmetic", ["+="]),
    "*=": ("arithmetic", ["/="]),
    "/=": ("arithmetic", ["*="]),
}
STEPS = {"++": "--", "--": "++"}
NAMED = {
    "true": "false",
    "false": "true",
    "break": "continue",
    "continue": "break",
    "kError": "kWarning",
    "kWarning": "kInformation",
    "kInformation": "kWarning",
    "kContinuation": "kInformation",
    "kQuiet": "kWithVerdict",
    "kWithVerdict": "kQuiet",
    "kUpperCase": "kLowerCase",
    "kReadOnly": "kWritable",
    "kWritable": "kReadOnly",
    "kFile": "kDirectory",
    "kDirectory": "kFile",
    "kDirectoryOrFile": "kFile",
    "kLinkToDirectory": "kDirectory",
    "kLinkToFile": "kFile",
    "kNoEntry": "kFile",
    "kUsable": "kNotUsable",
    "kScanFailed": "kNothingMoreNeeded",
    "kNothingMoreNeeded": "kScanFailed",
    "kBadCommandLine": "kBlankInInstallerMedia",
    "kNoInstaller": "kBlankInInstallerMedia",
    "kStagingFailed": "kBlankInInstallerMedia",
    "kBlankInInstallerMedia": "kNoInstaller",
    "kCannotExecute": "kInvalidArguments",
    "O_TRUNC": "O_APPEND",
    "O_RDONLY": "O_RDWR",
    "STDERR_FILENO": "STDOUT_FILENO",
    "STDOUT_FILENO": "STDERR_FILENO",
    "SIG_IGN": "SIG_DFL",
    "SIG_DFL": "SIG_IGN",
    "min": "max",
    "max": "min",
    "begin": "end",
    "front": "back",
    "back": "front",
    "find": "rfind",
    "rfind": "find",
}
# A statement that begins with one of these is no call and no assignment.
NO_ACTION = set(
    "const constexpr static auto using struct class enum union template typedef friend explicit "
    "public private protected extern namespace inline virtual static_assert case default return "
    "if else for while do switch try catch throw break continue goto operator".split()
)
BRACKETS = {"(": ")", "[": "]", "{": "}"}


class Finder:
    """All places of one file."""

    def __init__(self, file: str, text: str) -> None:
        self.file = file
        self.text = text
        self.tokens = tokens_of(text)
        self.partner: dict[int, int] = {}
        open_ones: list[int] = []
        for index, token in enumerate(self.tokens):
            if token.kind != "sign":
                continue
            if token.text in BRACKETS:
                open_ones.append(index)
            elif token.text in BRACKETS.values() and open_ones:
                self.partner[open_ones.pop()] = index
        self.in_function = self._function_bodies()

    def edits(self) -> Iterator[tuple[str, int, int, str]]:
        """Rule, first and last position, new text."""
        for index, token in enumerate(self.tokens):
            yield from self._edits_of_token(index, token)
            if token.text in ("if", "while"):
                yield from self._negation(index)
            if token.text == "?":
                yield from self._choice(index)
            if token.text == "(":
                yield from self._swapped_arguments(index)
            if self.in_function[index]:
                yield from self._statement(index)

    def _text_at(self, index: int) -> str:
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def _is_spaced(self, token: Token) -> bool:
        """Blanks on both sides: an operator between two values, not part of a type."""
        around = self.text[token.start - 1 : token.start] + self.text[token.end : token.end + 1]
        return len(around) == 2 and around.isspace()

    def _edits_of_token(self, index: int, token: Token) -> Iterator[tuple[str, int, int, str]]:
        after_operator = self._text_at(index - 1) == "operator"
        where = (token.start, token.end)
        if token.text in SIGNS and self._is_spaced(token) and not after_operator:
            rule, others = SIGNS[token.text]
            if token.text == "+" and "string" in (
                self.tokens[index - 1].kind,
                self.tokens[index + 1].kind,
            ):
                return  # texts cannot be subtracted
            for other in others:
                yield (rule, *where, other)
        elif token.text in STEPS:
            yield ("step", *where, STEPS[token.text])
        elif token.text == "!":
            yield ("not", *where, "")
        elif token.text in NAMED and token.kind == "word":
            yield ("named", *where, NAMED[token.text])
        elif token.kind == "number" and re.fullmatch(r"(0x)?[\dA-Fa-f']+", token.text):
            value = int(token.text.replace("'", ""), 16 if token.text.startswith("0x") else 10)
            octal = "0" if re.fullmatch(r"0\d+", token.text) else ""
            yield ("plus-one", *where, octal + str(value + 1))
            if value > 0:
                yield ("minus-one", *where, octal + str(value - 1))
        elif token.kind == "string" and self._text_at(index - 1) not in ("include", "extern"):
            yield ("altered-text", *where, token.text[:-1] + '~"')
            if token.text != '""':
                yield ("emptied-text", *where, '""')
        elif token.kind == "character":
            yield ("character", *where, "'#'")

    def _negation(self, index: int) -> Iterator[tuple[str, int, int, str]]:
        opening = index + 1
        if self._text_at(opening) != "(" or opening not in self.partner:
            return
        if self._text_at(opening + 1) == "!":  # its removal is a rule of its own
            return
        start, end = self.tokens[opening].end, self.tokens[self.partner[opening]].start
        yield ("negated", start, end, f"!({self.text[start:end]})")

    def _choice(self, index: int) -> Iterator[tuple[str, int, int, str]]:
        """Swaps what "a ? b : c" chooses between."""
        colon = self._next_at_this_level(index + 1, {":"})
        end = self._next_at_this_level(colon + 1, {";", ",", ")", "}", "]"}) if colon else 0
        if not colon or not end:
            return
        first_start, first_end = self.tokens[index + 1].start, self.tokens[colon - 1].end
        second_start, second_end = self.tokens[colon + 1].start, self.tokens[end - 1].end
        new = (
            self.text[second_start:second_end]
            + self.text[first_end:second_start]
            + self.text[first_start:first_end]
        )
        yield ("choice", first_start, second_end, new)

    def _next_at_this_level(self, index: int, wanted: set[str]) -> int:
        """The next of these signs that is not inside of brackets; 0 when there is none."""
        while index < len(self.tokens):
            token = self.tokens[index]
            if token.kind == "sign":
                if token.text in wanted:
                    return index
                if token.text in BRACKETS:
                    index = self.partner.get(index, len(self.tokens))
                elif token.text in ("}", ")", "]", ";"):
                    return 0
            index += 1
        return 0

    def _swapped_arguments(self, opening: int) -> Iterator[tuple[str, int, int, str]]:
        """Of a call with two or more arguments, the first two."""
        called = self.tokens[opening - 1] if opening > 0 else None
        if called is None or called.kind != "word" or called.text in NO_ACTION:
            return
        closing = self.partner.get(opening)
        comma = self._next_at_this_level(opening + 1, {","})
        if closing is None or not comma or not self.in_function[opening]:
            return
        second_end = self._next_at_this_level(comma + 1, {",", ")"})
        if not second_end:
            return
        start, end = self.tokens[opening + 1].start, self.tokens[second_end - 1].end
        first = self.text[start : self.tokens[comma - 1].end]
        second = self.text[self.tokens[comma + 1].start : end]
        if first != second:
            yield ("swapped", start, end, f"{second}, {first}")

    def _function_bodies(self) -> list[bool]:
        """For each token, whether it is in a block of statements."""
        result: list[bool] = []
        blocks: list[bool] = []
        head = 0
        for index, token in enumerate(self.tokens):
            result.append(bool(blocks) and blocks[-1])
            if token.kind != "sign":
                continue
            if token.text == "{":
                words = {other.text for other in self.tokens[head:index]}
                is_type = words & {"class", "struct", "enum", "union", "namespace"}
                before = self._text_at(index - 1)
                is_block = before in (")", "{", "}", ";", "const", "noexcept", "else", "try", "&&")
                blocks.append(is_block and not (is_type and "(" not in words))
                head = index + 1
            elif token.text == "}" and blocks:
                blocks.pop()
                head = index + 1
            elif token.text == ";":
                head = index + 1
        return result

    def _statement(self, index: int) -> Iterator[tuple[str, int, int, str]]:
        """Removes or changes the statement that begins here, if one does."""
        before = self._text_at(index - 1)
        if before not in (";", "{", "}", ")", "else", ":"):
            return
        if before == ")" and not self._closes_a_condition(index - 1):
            return
        if before == ":" and self._text_at(index - 2) != "default" and (
            self._text_at(index - 3) != "case"
        ):
            return
        end = self._next_at_this_level(index, {";"})
        if not end:
            return
        token = self.tokens[index]
        where = (token.start, self.tokens[end].start)
        if token.text == "return" and end > index + 1:
            if self._text_at(index + 1) not in ("{", "true", "false"):  # those have other rules
                yield ("returned", *where, "return {}")
        elif token.text in ("throw", "break", "continue", "return"):
            yield ("removed", *where, "")
        elif token.text not in NO_ACTION and self._is_action(index, end):
            yield ("removed", *where, "")

    def _closes_a_condition(self, closing: int) -> bool:
        for opening, other in self.partner.items():
            if other == closing:
                return self._text_at(opening - 1) in ("if", "for", "while")
        return False

    def _is_action(self, index: int, end: int) -> bool:
        """A call, an assignment or a step, and no declaration."""
        if self._text_at(index) in STEPS or self._text_at(end - 1) in STEPS:
            return True
        depth_end = index
        while depth_end < end:
            token = self.tokens[depth_end]
            following = self._text_at(depth_end + 1)
            if token.kind == "word" and re.match(r"\w", following):
                return False  # a type and a name
            if token.text in ("(", "=", "+=", "-=", "*=", "/=", "^="):
                return depth_end > index
            if token.text in ("<", "{"):
                return False
            depth_end += 1
        return False


def mutants_of(file: str, text: str) -> list[Mutant]:
    seen: dict[str, int] = {}
    result = []
    for rule, start, end, new in Finder(file, text).edits():
        name = f"{file}:{text.count(chr(10), 0, start) + 1}:{rule}"
        seen[name] = seen.get(name, 0) + 1
        if seen[name] > 1:
            name += f".{seen[name]}"
        result.append(Mutant(name, file, start, end, new))
    return result


def shuffled(file: str, text: str, seed: int) -> list[Mutant]:
    """The mutants of a file in an order that depends on nothing but the seed and the file. The
    rules take turns, so that the first few show many of them."""
    number = int.from_bytes(hashlib.sha256(f"{seed} {file}".encode()).digest()[:8], "big")
    source = random.Random(number)
    by_rule: dict[str, list[Mutant]] = {}
    for mutant in mutants_of(file, text):
        by_rule.setdefault(mutant.name.split(":")[2].split(".")[0], []).append(mutant)
    queues = [by_rule[rule] for rule in sorted(by_rule)]
    for queue in queues:
        source.shuffle(queue)
    # Each rule is spread over the whole list, the rare ones as widely as the frequent ones.
    placed = [
        ((place + source.random()) / len(queue), mutant)
        for queue in queues
        for place, mutant in enumerate(queue)
    ]
    placed.sort(key=lambda pair: pair[0])
    return [mutant for _, mutant in placed]


def shares(sizes: dict[str, int], count: int) -> dict[str, int]:
    """How many of `count` mutants each file gives: in proportion to how many it has, or one."""
    total = sum(sizes.values())
    exact = {file: count * size / total for file, size in sizes.items()}
    result = {file: max(1, int(share)) for file, share in exact.items()}
    missing = count - sum(result.values())
    by_rest = sorted(exact, key=lambda file: (int(exact[file]) - exact[file], file))
    for file in by_rest[: max(0, missing)]:
        result[file] += 1
    return {file: min(share, sizes[file]) for file, share in result.items()}


def product_files(checkout: Path, folders: list[str]) -> list[str]:
    return sorted(
        str(path.relative_to(checkout))
        for folder in folders
        for path in (checkout / folder).iterdir()
        if path.suffix in (".h", ".cpp")
    )
