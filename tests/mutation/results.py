"""The verdicts of all runs over all mutants, in a file that is committed.

A line is `KEY OUTCOME`, or `KEY caught TEST` with a number of a test that a line `= TEST NAME` has
told before. A key is made of what the mutant is, and of where it stands: the file, the function or
row around it, the lines before and after. So a verdict holds until one of these changes, wherever
the lines move, on every machine. Verdicts of mutants that are no more are dropped. A verdict says
nothing about tests that were written later: `--again` tries what survived once more.
"""

import collections
import hashlib
import os
import re

OUTCOMES = ("caught", "survived", "same", "invalid")
LINE = re.compile(r"(?P<key>[0-9a-f]{10}) (?P<outcome>\w+)(?: (?P<test>[0-9a-f]{6}))?")
BEGIN = re.compile(r"\n\n(?=\S)")
END = re.compile(r"\n(?:\}|\n(?=\S))")
TEST = re.compile(r"= (?P<test>[0-9a-f]{6}) (?P<name>\S.*)")


class ResultsError(Exception):
    """The results file is not one."""


def digest_of(*parts):
    return hashlib.sha256("\0".join(parts).encode()).hexdigest()


def surroundings_of(mutant, source):
    """The function or declaration around a mutant, with its comment; in a table, nothing.

    It begins behind an empty line, and ends before the next one or with the brace of a function.
    """
    if mutant.file.endswith(".def"):
        return ""
    begins = [match.end() for match in BEGIN.finditer(source, 0, mutant.start)]
    end = END.search(source, mutant.end)
    return source[begins[-1] if begins else 0 : end.start() if end else len(source)]


def keys_of(mutants, sources):
    """The key of each mutant, in the order of the mutants."""
    keys, count = [], collections.Counter()
    for mutant in mutants:
        around = surroundings_of(mutant, sources[mutant.file])
        content = (mutant.file, mutant.kind, around, mutant.before, mutant.after)
        count[content] += 1
        keys.append(digest_of(*content, str(count[content]))[:10])
    return keys


class Results:
    """The verdicts that are known, and the file that keeps them."""

    def __init__(self, path, mutants, sources):
        """`mutants`: all that there are of these sources."""
        self.path = path
        self.keys = dict(zip(mutants, keys_of(mutants, sources)))
        self.entries = {}  # (outcome, why) by key
        self.tests = {}  # names by number
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                self.read(file.read())

    def read(self, text):
        lines = text.split("\n")
        # What follows the last end of a line was cut off while it was written.
        for number, line in enumerate(lines[:-1], start=1):
            test, verdict = TEST.fullmatch(line), LINE.fullmatch(line)
            if test:
                self.tests[test["test"]] = test["name"]
            elif verdict and verdict["outcome"] in OUTCOMES:
                why = self.tests.get(verdict["test"], "")
                self.entries[verdict["key"]] = (verdict["outcome"], why)
            elif line and not line.startswith("#"):
                raise ResultsError(f"{self.path}:{number}: not a verdict: {line}")
        if lines[-1]:
            with open(self.path, "w", encoding="utf-8") as file:
                file.writelines(line + "\n" for line in lines[:-1])

    def of(self, mutant):
        """What is known of a mutant: (outcome, why), or None."""
        return self.entries.get(self.keys[mutant])

    def add(self, mutant, outcome, why):
        """Keeps a verdict; `why` only of those that are caught."""
        why = why if outcome == "caught" else ""
        self.entries[self.keys[mutant]] = (outcome, why)
        os.makedirs(os.path.dirname(os.path.abspath(self.path)), exist_ok=True)
        with open(self.path, "a", encoding="utf-8") as file:
            file.writelines(self.lines_for(self.keys[mutant], outcome, why))

    def lines_for(self, key, outcome, why):
        if not why:
            return [f"{key} {outcome}\n"]
        number = digest_of(why)[:6]
        told = [] if number in self.tests else [f"= {number} {why}\n"]
        self.tests[number] = why
        return told + [f"{key} {outcome} {number}\n"]

    def tidy(self):
        """Writes the file anew: each verdict once, file by file, without those that hold no more."""
        if not self.entries:
            return
        written, file_name = [], None
        self.tests = {}
        for mutant, key in self.keys.items():
            if key in self.entries:
                if mutant.file != file_name:
                    file_name = mutant.file
                    written.append(f"# {file_name}\n")
                written += self.lines_for(key, *self.entries[key])
        with open(self.path + ".new", "w", encoding="utf-8") as file:
            file.writelines(written)
        os.replace(self.path + ".new", self.path)
