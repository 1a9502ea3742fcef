"""The list of mutants that no test can catch, each with the reason.

An entry is

    FILE | KIND
    - the lines before, each without its indent, joined by one blank
    + the lines after
    = the reason, on one or more lines that start with '='

and ends with an empty line. A '*' in the place of the lines after stands for all mutants of that kind
of those lines; in the place of the kind as well, for all mutants of those lines; in the place of both
texts, for all mutants of that kind in that file. Lines that start with '#' are left out. Survivors are reported in this form, so that an
entry is a copy of the report and a reason.
"""


class ExplainedError(Exception):
    """The list is not written as above."""


def read_explained(text):
    """The reasons by (file, kind, before, after)."""
    reasons = {}
    for block in text.split("\n\n"):
        lines = [line for line in block.split("\n") if line.strip() and not line.startswith("#")]
        if lines:
            key, reason = read_entry(lines)
            reasons[key] = reason
    return reasons


def read_entry(lines):
    head = [part.strip() for part in lines[0].split("|")]
    marks = [line[0] for line in lines[1:]]
    if len(head) != 2 or marks[:2] != ["-", "+"] or len(marks) < 3 or set(marks[2:]) != {"="}:
        raise ExplainedError("not an entry: " + lines[0])
    reason = " ".join(line[1:].strip() for line in lines[3:])
    if not reason:
        raise ExplainedError("no reason: " + lines[0])
    return (head[0], head[1], lines[1][2:], lines[2][2:]), reason


def reason_for(mutant, reasons):
    """Why no test can catch that mutant, or None if the list does not say."""
    return next((reasons[key] for key in keys_for(mutant) if key in reasons), None)


def keys_for(mutant):
    """All entries that would tell of a mutant."""
    return [
        key_of(mutant),
        (mutant.file, mutant.kind, mutant.before, "*"),
        (mutant.file, "*", mutant.before, "*"),
        (mutant.file, mutant.kind, "*", "*"),
    ]


def key_of(mutant):
    return (mutant.file, mutant.kind, mutant.before, mutant.after)


def as_entry(mutant):
    """The mutant as an entry without a reason."""
    return f"{mutant.file} | {mutant.kind}\n- {mutant.before}\n+ {mutant.after}\n"
