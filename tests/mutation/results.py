"""The results file of a run over all mutants: one JSON object a line, added as each is judged.

A verdict holds as long as the mutated file is the same, to the last byte. When it has changed, its
mutants are others and are tried anew; verdicts about the former file stay in the results file, and
nobody looks at them. A verdict says nothing about tests that were written later: remove the file
to have everything tried again.
"""

import hashlib
import json
import os


class ResultsError(Exception):
    """The results file is not one."""


def digest_of(text):
    return hashlib.sha256(text.encode()).hexdigest()[:16]


class Results:
    """The verdicts that are known, and the file that keeps them."""

    def __init__(self, path, sources):
        self.path = path
        self.digests = {file: digest_of(text) for file, text in sources.items()}
        self.entries = {}
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                self.read(file.read())

    def read(self, text):
        lines = text.split("\n")
        # What follows the last end of a line was cut off while it was written.
        for number, line in enumerate(lines[:-1], start=1):
            try:
                entry = json.loads(line)
                self.entries[tuple(entry["key"])] = entry
            except (ValueError, TypeError, KeyError) as failure:
                raise ResultsError(f"{self.path}:{number}: not a verdict") from failure
        if lines[-1]:
            with open(self.path, "w", encoding="utf-8") as file:
                file.writelines(line + "\n" for line in lines[:-1])

    def key_of(self, mutant):
        return (mutant.file, self.digests[mutant.file], mutant.start, mutant.end, mutant.new)

    def of(self, mutant):
        """What is known of a mutant, or None."""
        return self.entries.get(self.key_of(mutant))

    def add(self, mutant, outcome, why, times):
        key = self.key_of(mutant)
        entry = {
            "key": list(key),
            "line": mutant.line,
            "kind": mutant.kind,
            "before": mutant.before,
            "after": mutant.after,
            "outcome": outcome,
            "why": why,
            "seconds": {name: round(value, 2) for name, value in times.items()},
        }
        self.entries[key] = entry
        os.makedirs(os.path.dirname(os.path.abspath(self.path)), exist_ok=True)
        with open(self.path, "a", encoding="utf-8") as file:
            file.write(json.dumps(entry) + "\n")
