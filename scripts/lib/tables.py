"""Writes the tables of the documents anew, from the comments and texts of the sources.

A table stands in a document between the lines "<!-- table: PATH, HEADING -->" and "<!-- end -->".
In the source at PATH, its rows follow a comment "// HEADING" and end at the next blank line. The
comment above each row is its text; the first text in quotes of its code is its name. Some sources
have rows of their own kind, see KINDS.

    tables.py               writes the documents anew
    tables.py --print PAGE  prints one document with its tables as they are now
"""

import re
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
MESSAGES = ["launcher", "media", "console"]  # the folders whose code has messages of the launcher


def literals(code: str) -> list[str]:
    """The texts in quotes, adjacent ones as one."""
    joined = re.sub(r'"\s+"', "", code)
    return [re.sub(r'\\(.)', r"\1", text) for text in re.findall(r'"((?:[^"\\]|\\.)*)"', joined)]


def rows_below(path: str, heading: str) -> list[tuple[str, str]]:
    """The rows of a table: comment and code of each."""
    source = (TOP / path).read_text()
    begin = re.search(rf"^ *// {re.escape(heading)}\n(.*?)^ *$", source, re.M | re.S)
    if begin is None:
        sys.exit(f"{path} has no table below the comment: {heading}")
    rows, comment, code = [], "", ""
    for line in [*begin[1].splitlines(), "///"]:
        said = re.match(r" *///? ?(.*)", line)
        if said and code:
            rows.append((comment.strip(), code))
            comment, code = "", ""
        if said:
            comment += " " + said[1]
        else:
            code += line.strip() + "\n"
    for comment, code in rows:
        if len(re.findall(r'^(?:inline constexpr char |\{"|\w+\["\w+"\] = )', code, re.M)) > 1:
            sys.exit(f"{path}: a row lacks its comment, behind: {comment}")
    return [row for row in rows if row[0]]


def escaped(text: str) -> str:
    """Markdown for a text that may have code in backticks."""
    parts = text.split("`")
    parts[::2] = [re.sub(r"([_*<])", r"\\\1", part) for part in parts[::2]]
    return "`".join(parts)


def term(name: str, text: str) -> str:
    return f"- `{name}`: {escaped(text)}"


def plain(path: str, heading: str) -> list[str]:
    return [term(literals(code)[0], comment) for comment, code in rows_below(path, heading)]


def launcher_options(path: str, heading: str) -> list[str]:
    """A comment may begin with the value of the option, in angle brackets."""
    found = []
    for comment, code in rows_below(path, heading):
        value, text = re.fullmatch(r"(?:<(\S+)> )?(.*)", comment).groups()
        found.append(term(" ".join(filter(None, [literals(code)[0], value])), text))
    return found


def statuses(path: str, heading: str) -> list[str]:
    """Lines "NUMBER: text" of a comment, which more lines may follow."""
    source = (TOP / path).read_text()
    lines = re.search(rf"^ *// {re.escape(heading)}\n((?: *//.*\n)+)", source, re.M)[1]
    text = " ".join(re.sub(r"^ *// ?", "", line) for line in lines.splitlines())
    parts = re.split(r"(?:^|(?<=\.) )((?:\d+|\d+ to \d+)): ", text)
    return [term(number, said.strip()) for number, said in zip(parts[1::2], parts[2::2])]


def findings(path: str, heading: str) -> list[str]:
    """The texts of the catalogue; a comment "When: ..." above a row follows them."""
    source = (TOP / path).read_text()
    part = re.search(rf"^ *// {re.escape(heading)}\n(.*?)^ *$", source, re.M | re.S)[1]
    found, when, row = [], "", ""
    for line in part.splitlines():
        if said := re.match(r" *// (?:When: )?(.*)", line):
            when += " " + said[1]
        else:
            row += line + "\n"
        if line.endswith("},"):
            code, text, remedy = literals(row)
            severity = {"kError": "error", "kWarning": "warning"}.get(row.split(", ")[2].split(",")[0])
            said = escaped(f"{text}; {remedy}.{when}")
            found.append(f"- `{code}`, {severity or 'error or warning'}: {said}")
            when, row = "", ""
    return found


def media_options(path: str, heading: str) -> list[str]:
    """The options of a subcommand with their help texts."""
    found = []
    source = (TOP / path).read_text()
    constants = dict(re.findall(r'(k\w+)\[\] = (".*?")', source))
    for call in re.split(r"add_(?:option|flag)(?:_\w+<[^>]*>+)?\(", source)[1:]:
        call = re.sub(r"\bk[A-Z]\w*", lambda found: constants.get(found[0], found[0]), call)
        call = re.match(r'(?:"(?:[^"\\]|\\.)*"|[^"])*?(?:;\n|$)', call)[0].replace(r"\n", " ")
        names, text = literals(call)[:2]
        value = re.search(r'type_name\("(.*?)"', call)
        if names.startswith("-"):
            name = names.replace(",", ", ") + (f" {value[1]}" if value else "")
            found.append(term(name, text + "."))
    return found


def messages(path: str, heading: str) -> list[str]:
    """The comments "Message: LEVEL: text", "Cause: text" and "Remedy: text" in the code."""
    found = []
    for file in [file for folder in MESSAGES for file in sorted((TOP / folder).glob("*.cpp"))]:
        source = file.read_text()
        told = "\n".join(re.findall(r"// *(.*)", source))
        for call in re.findall(r"\b(?:Message|Warning|Information|More|WrongVolume)\(([^;]*);", source):
            for part in literals(call.replace(r"\n", '", "')):
                if re.search("[a-z]", part) and part.strip() not in told:
                    sys.exit(f"{file}: no comment tells of this message: {part}")
        for block in re.findall(rf"((?: *// .*\n)*? *// Message: *{heading}: (?:.*\n *// )*.*\n)", source):
            text = re.sub(r"^ *// ?", "", block, flags=re.M)
            message, cause, remedy = re.fullmatch(
                r"(?s)Message: *(.*?)\nCause: (.*?)(?:\nRemedy: (.*?))?\n", text).groups()
            lines = [line.strip() for line in message.splitlines()]
            for part in filter(None, " [...] ".join(lines).split("[...]")):
                code = re.sub(r'"\s+"', "", source.replace(block, "")).replace('\\"', '"')
                if part.strip().removeprefix(heading + ": ") not in code:
                    sys.exit(f"{file}: no code says: {part}")
            cells = [", then ".join(f"`{line}`" for line in lines), cause, remedy]
            found.append("| " + " | ".join(" ".join(cell.split()) for cell in cells if cell) + " |")
    columns = ["Message", "Cause", "Remedy"][:found[0].count(" | ") + 1]
    return ["| " + " | ".join(columns) + " |", "|---" * len(columns) + "|", *found]


def declarations(path: str, heading: str) -> list[str]:
    """The first sentence of each comment in a header, with what it stands above."""
    source = (TOP / path).read_text()
    for hidden in (r"namespace internal \{.*?\n\}", r" private:.*?\n\};"):
        source = re.sub(hidden, "", source, flags=re.S)
    found = []
    for comment, code in re.findall(r"((?: *///(?!<)[^\n]*\n)+)((?:(?!//)[^;])+?)(?:;| \{(?!\})|\s:\s)", source):
        text = " ".join(re.sub(r"^ */// ?", "", line).strip() for line in comment.splitlines())
        name = re.sub(r"\[\[\w+\]\] |\binline |\bconstexpr |\bexplicit |\bfriend |\bstd::", "", code)
        if "(" not in name:
            continue
        sentence = re.match(r".*?(?:\.(?= |$)|$)", text)[0].rstrip(".") + "."
        found.append(term(" ".join(name.split()), sentence))
    return found


KINDS = {"launcher/command_line.cpp": launcher_options, "launcher/exit_status.h": statuses,
         "companion/calls/console_output.h": statuses, "messages": messages,
         "companion/check/finding_catalogue.cpp": findings}


def renewed(document: str) -> str:
    def table(found: re.Match) -> str:
        path, heading = found[1].split(", ", 1)
        kinds = {"options": media_options, "functions": declarations}
        kind = kinds.get(heading) or KINDS.get(path, plain)
        return f"<!-- table: {found[1]} -->\n" + "\n".join(kind(path, heading)) + "\n<!-- end -->"
    return re.sub(r"<!-- table: (.*?) -->\n.*?<!-- end -->", table, document, flags=re.S)


def main() -> None:
    if sys.argv[1:2] == ["--print"]:
        page = renewed((TOP / "docs" / sys.argv[2]).read_text())
        print(re.sub(r"\[([^]]+)\]\([^)]*\)", r"\1", page), end="")  # nothing can follow a link
        return
    for path in sorted(TOP.glob("docs/*.md")):
        text = path.read_text()
        if text != renewed(text):
            print(f"{path.relative_to(TOP)}: renewed")
            path.write_text(renewed(text))


if __name__ == "__main__":
    main()
