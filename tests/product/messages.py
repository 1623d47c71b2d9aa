#!/usr/bin/env python3
"""messages.py SOURCES PAGE: the page explains every message that the sources can log, and no other.

In the sources a message is the text of a call that logs (Log..., Refuse, Expect) or of a helper around one; what such a
call fills in is a gap. On the page it is the first cell of a row, in backticks, with its gaps in angle brackets. A text
may be a part of a row, as helpers put something in front of it; but every letter of a row has to come from some text.
"""
import pathlib
import re
import sys

GAP = "\0"
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
CALL = re.compile(r"\b(LogShort|LogLocated|LogAttempt|LogException|fail|_HasScene|Expect|Refuse)\b\s*(?=\()")
CONSTANT = re.compile(r"\bconstexpr char (k\w+)\[\]\s*=\s*((?:\"(?:[^\"\\\n]|\\.)*\"\s*)+);")
LEVELS = {"kLogError": "error", "kLogWarning": "warning", "kLogInfo": "info"}


def code_of(path):
    """Without comments, with the constants' texts in place, and neighbouring literals joined."""
    text = re.sub(r"^\s*//.*$|\s//[^\"\n]*$", "", path.read_text(encoding="utf-8"), flags=re.M)
    for name, value in CONSTANT.findall(text):
        text = re.sub(rf"\b{name}\b(?!\[)", lambda _: value, text)
    return re.sub(r'"\s*\n?\s*"', "", text)


def argument_list(text, start):
    """From the opening bracket to the one that closes it."""
    depth, at = 0, start
    while True:
        literal = LITERAL.match(text, at)
        if literal:
            at = literal.end()
            continue
        depth += {"(": 1, ")": -1}.get(text[at], 0)
        at += 1
        if depth == 0:
            return text[start:at]


def with_gaps(literal):
    return re.sub(r"\{[^{}]*\}", GAP, literal.replace('\\"', '"'))


def messages_of(path):
    """Pairs of a text and the level that it is logged with, which is None where a helper decides."""
    text = code_of(path)
    for call in CALL.finditer(text):
        arguments = argument_list(text, call.end())
        literals = [with_gaps(found) for found in LITERAL.findall(arguments)]
        if call.group(1) in ("Expect", "Refuse"):
            # The argument's name doesn't make it another message.
            yield from ((f"{GAP}: {GAP}: expected {expected}", "warning") for expected in literals[-1:])
            continue
        level = next((LEVELS[word] for word in LEVELS if word in arguments), None)
        yield from ((literal, level) for literal in literals)
    # Texts that are passed to a helper from elsewhere.
    yield from ((found, None) for found in LITERAL.findall(text) if found.startswith("glContext_win"))


def rows_of(page):
    """Messages of the page with their level."""
    for line in page.read_text(encoding="utf-8").splitlines():
        row = re.match(r"\| `([^`]+)` \| (\w+) \|", line)
        if row:
            yield re.sub(r"<[^<>]*>", GAP, row.group(1)), row.group(2)


def pattern_of(text):
    """Whatever stands in the text's gaps; the pieces between them are its groups."""
    return re.compile(".+?".join(f"({re.escape(piece)})" for piece in text.rstrip().split(GAP)))


def readable(message):
    return message.replace(GAP, "<...>")


def main():
    sources, page = map(pathlib.Path, sys.argv[1:])
    logged = sorted({found for path in sorted(sources.rglob("*")) if path.suffix in (".cpp", ".h")
                     for found in messages_of(path) if found[0].strip(GAP + " ")}, key=str)
    rows = list(rows_of(page))
    faults = []
    covered = {row: [False] * len(row) for row, _ in rows}
    for text, level in logged:
        found = {row: match for row, row_level in rows if level in (None, row_level)
                 for match in pattern_of(text).finditer(row)}
        if not found:
            faults.append(f"not on the page: {level or 'any level'}: {readable(text)}")
        for row, match in found.items():
            for start, end in match.regs[1:]:
                covered[row][start:end] = [True] * (end - start)
    for row, marks in covered.items():
        if not all(mark or character == GAP for mark, character in zip(marks, row)):
            faults.append(f"no source logs: {readable(row)}")
    for row in {row for row, _ in rows if [other for other, _ in rows].count(row) > 1}:
        faults.append(f"twice on the page: {readable(row)}")
    print("\n".join(faults) or f"{len(logged)} texts in {len(rows)} rows")
    return 1 if faults or not logged else 0


if __name__ == "__main__":
    sys.exit(main())
