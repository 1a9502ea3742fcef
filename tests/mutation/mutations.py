"""The kinds of mutation: what can be changed in one file, and how."""

import bisect
import dataclasses
import itertools
import os
import re

from source_text import ASSIGNMENTS, statements_of, tokens_of

KINDS = ("comparison", "constant", "bit", "blank", "drop", "swap")


@dataclasses.dataclass(frozen=True)
class Mutant:
    """source[start:end] of the file, replaced by `new`."""

    file: str
    kind: str
    line: int
    start: int
    end: int
    new: str
    before: str  # the lines that change, each without its indent, joined by one blank
    after: str

    def applied_to(self, source):
        return source[: self.start] + self.new + source[self.end :]


class Candidates:
    """Gathers the mutants of one file, each change once."""

    def __init__(self, file, source):
        self.file = file
        self.source = source
        self.mutants = []
        self.line_starts = [0] + [match.end() for match in re.finditer("\n", source)]
        self.seen = set()

    def add(self, kind, start, end, new):
        changed = self.source[:start] + new + self.source[end:]
        if changed == self.source or (start, end, new) in self.seen:
            return
        self.seen.add((start, end, new))
        first = self.source.rfind("\n", 0, start) + 1
        last = self.source.find("\n", end)
        last = len(self.source) if last < 0 else last
        before = joined(self.source[first:last])
        after = joined(self.source[first:start] + new + self.source[end:last])
        line = bisect.bisect_right(self.line_starts, start)
        self.mutants.append(Mutant(self.file, kind, line, start, end, new, before, after))


def joined(lines):
    return " ".join(line.strip() for line in lines.split("\n") if line.strip())


def mutants_of(file, source):
    """All mutants of a file that can be told from its text alone."""
    candidates = Candidates(file, source)
    if file.endswith(".def"):
        mutate_table(candidates)
    else:
        mutate_code(candidates)
    return candidates.mutants


def mutate_code(candidates):
    tokens = tokens_of(candidates.source)
    mutate_operators(candidates, tokens)
    mutate_numbers(candidates, tokens)
    mutate_accessors(candidates, tokens)
    mutate_texts(candidates, tokens)
    mutate_stringised(candidates, tokens)
    statements = statements_of(tokens)
    drop_calls(candidates, tokens, statements)
    swap_statements(candidates, tokens, statements)
    swap_rows(candidates)


# ---- Operators --------------------------------------------------------------------------------

COMPARISONS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&"}
BITS = {"&": "|", "|": "&", "^": "|", "&=": "|=", "|=": "&=", "<<": ">>", ">>": "<<"}


def mutate_operators(candidates, tokens):
    source = candidates.source
    for index, token in enumerate(tokens):
        if token.kind != "operator" or token.template:
            continue
        spaced = source[token.start - 1].isspace() and source[token.end : token.end + 1].isspace()
        after_operator_word = index > 0 and tokens[index - 1].text == "operator"
        if spaced and not after_operator_word:
            if token.text in COMPARISONS:
                candidates.add("comparison", token.start, token.end, COMPARISONS[token.text])
            elif token.text in BITS and not writes_to_stream(tokens, index):
                candidates.add("bit", token.start, token.end, BITS[token.text])
        elif token.text == "!" and not spaced:
            candidates.add("comparison", token.start, token.end, "")
        elif token.text == "~" and index > 0 and tokens[index - 1].text in ("(", "=", "&", "|", ","):
            candidates.add("bit", token.start, token.end, "")


def writes_to_stream(tokens, index):
    """Whether a << stands in a statement that writes to a stream."""
    if tokens[index].text not in ("<<", ">>"):
        return False
    for token in reversed(tokens[:index]):
        if token.text in (";", "{", "}"):
            return False
        if token.kind == "text" or re.search("stream|cerr|cout", token.text):
            return True
    return False


# ---- Constants and bits -----------------------------------------------------------------------

INTEGER = re.compile(r"(?P<hex>0[xX])?(?P<digits>[0-9a-fA-F]+)(?P<suffix>[uUlL]*)")


def mutate_numbers(candidates, tokens):
    for token in tokens:
        if token.text in ("true", "false"):
            flipped = "false" if token.text == "true" else "true"
            candidates.add("constant", token.start, token.end, flipped)
        elif token.kind == "number":
            mutate_number(candidates, token)


def mutate_number(candidates, token):
    match = INTEGER.fullmatch(token.text)
    if not match:
        return
    base = 16 if match.group("hex") else 10
    width = len(match.group("digits")) if base == 16 else 0
    value = int(match.group("digits"), base)

    def as_written(number):
        digits = format(number, "x").rjust(width, "0") if base == 16 else str(number)
        return (match.group("hex") or "") + digits + match.group("suffix")

    candidates.add("constant", token.start, token.end, as_written(value + 1 if value != 1 else 0))
    if value > 1:
        # A bit in the middle of those that the number has.
        bit = 1 << (value.bit_length() // 2)
        candidates.add("bit", token.start, token.end, as_written(value ^ bit))


# ---- Accessors of the SDK ---------------------------------------------------------------------


def mutate_accessors(candidates, tokens):
    """An enumerator or constant of the SDK becomes the most similar other one of the file."""
    calls = [
        left
        for left, right in zip(tokens, tokens[1:])
        if re.match(r"bcm[A-Z]|BCM_[A-Z]", left.text) and right.text == "("
    ]
    names = sorted({token.text for token in calls})
    for token in calls:
        other = most_similar(token.text, names)
        if other:
            candidates.add("constant", token.start, token.end, other)


def most_similar(name, names):
    others = [other for other in names if other != name]
    if not others:
        return None
    best = max(others, key=lambda other: len(os.path.commonprefix([name, other])))
    return best if len(os.path.commonprefix([name, best])) >= 5 else None


# ---- Blanks in texts --------------------------------------------------------------------------


def mutate_texts(candidates, tokens):
    for token in tokens:
        if token.kind != "text":
            continue
        blanks = [token.start + offset for offset, char in enumerate(token.text) if char == " "]
        for position in blanks:
            candidates.add("blank", position, position + 1, "")
        candidates.add("blank", token.start + 1, token.start + 1, " ")
        candidates.add("blank", token.end - 1, token.end - 1, " ")


STRINGISING = {"AGENT_ASSERT", "SDK_CHECKED_CALL", "SDK_TRACED_CALL"}


def mutate_stringised(candidates, tokens):
    """Drops a blank of an expression that is a text as well."""
    source = candidates.source
    for index, token in enumerate(tokens):
        if token.text not in STRINGISING:
            continue
        inner = argument_tokens(tokens, index + 1)
        for left, right in zip(inner, inner[1:]):
            words = left.kind != "operator" and right.kind != "operator"
            if source[left.end : right.start] == " " and not words:
                candidates.add("blank", left.end, right.start, "")


def argument_tokens(tokens, opening):
    """The tokens between the parenthesis at that index and the one that closes it."""
    depth = 0
    for index in range(opening, len(tokens)):
        depth += {"(": 1, ")": -1}.get(tokens[index].text, 0)
        if depth == 0:
            return tokens[opening + 1 : index]
    return []


# ---- Statements -------------------------------------------------------------------------------


def drop_calls(candidates, tokens, statements):
    for statement in statements:
        if statement.form == "call":
            start, end = tokens[statement.first].start, tokens[statement.last].end
            # The lines stay, so that nothing behind it gets another line number.
            kept_lines = "\n" * candidates.source.count("\n", start, end)
            candidates.add("drop", start, end, ";" + kept_lines)


def swap_statements(candidates, tokens, statements):
    source = candidates.source
    for first, second in zip(statements, statements[1:]):
        if first.last + 1 != second.first or not worth_swapping(tokens, first, second):
            continue
        start, middle = tokens[first.first].start, tokens[first.last].end
        next_start, end = tokens[second.first].start, tokens[second.last].end
        swapped = source[next_start:end] + source[middle:next_start] + source[start:middle]
        candidates.add("swap", start, end, swapped)


def worth_swapping(tokens, first, second):
    """Leaves out what cannot compile, and what cannot matter."""
    pair = [tokens[first.first : first.last], tokens[second.first : second.last]]
    forms = (first.form, second.form)
    if any(form not in ("call", "assignment", "declaration") for form in forms):
        return False
    for part, form in zip(pair, forms):
        # A local value that asks nobody can be made a line later as well, and a constant anywhere.
        if form == "declaration" and (is_constant(part) or not asks_somebody(part)):
            return False
    if forms[0] == "declaration":
        declared = declared_name(pair[0])
        return declared not in {token.text for token in pair[1]}
    return not sets_two_fields(*pair)


def is_constant(part):
    return any(token.text == "constexpr" for token in part)


def asks_somebody(part):
    return any(token.text.startswith("SDK_") for token in part)


def declared_name(part):
    for token, following in zip(part, part[1:]):
        if token.kind == "name" and following.text in ("=", "(", "{"):
            return token.text
    return part[-1].text


def sets_two_fields(left, right):
    """Whether both set a field each of the same plain structure: x.a |= ..; x.bIs( .. );"""
    targets = [[token.text for token in part[:4]] for part in (left, right)]
    return (
        all(len(target) == 4 and target[1] == "." for target in targets)
        and all(target[2].endswith("Is") or target[3] in ASSIGNMENTS for target in targets)
        and targets[0][0] == targets[1][0]
        and targets[0][2] != targets[1][2]
    )


ROW = re.compile(r"^[ \t]*\{.*\},[ \t]*$")


def swap_rows(candidates):
    """Swaps neighbouring rows of a table in braces."""
    for start, end, first, second in neighbouring_lines(candidates.source):
        if ROW.match(first) and ROW.match(second):
            candidates.add("swap", start, end, second + "\n" + first)


def neighbouring_lines(source):
    position = 0
    lines = []
    for line in source.split("\n"):
        lines.append((position, line))
        position += len(line) + 1
    for (start, first), (next_start, second) in itertools.pairwise(lines):
        yield start, next_start + len(second), first, second


# ---- Tables -----------------------------------------------------------------------------------

TABLE_ROW = re.compile(r"^[ \t]*(?P<macro>[A-Z][A-Z_0-9]+)\( (?P<arguments>.*) \)[ \t]*$")
LAST_ARGUMENT = re.compile(r"(?P<last>\w+) \)[ \t]*$")


# Rows whose value is nobody's contract: every build of the SDK may number them differently.
FREE_VALUE = re.compile(r"^SDK_(ENUMERATOR|COUNT)\(.*$", re.MULTILINE)


def mutate_table(candidates):
    free = [match.span() for match in FREE_VALUE.finditer(candidates.source)]
    tokens = [
        token
        for token in tokens_of(candidates.source)
        if not any(start <= token.start < end for start, end in free)
    ]
    mutate_numbers(candidates, tokens)
    mutate_texts(candidates, tokens)
    # In the SDK's lists every row is another function or another value, wherever it stands, and
    # every row is needed to compile.
    if candidates.file.startswith("sdk/"):
        return
    for start, end, first, second in neighbouring_lines(candidates.source):
        rows = TABLE_ROW.match(first), TABLE_ROW.match(second)
        if not all(rows) or rows[0].group("macro") != rows[1].group("macro"):
            continue
        candidates.add("swap", start, end, second + "\n" + first)
        candidates.add("drop", start, start + len(first), "")
        take_neighbours_value(candidates, start, first, second)


def take_neighbours_value(candidates, start, first, second):
    """A row gets the last argument of the row that follows."""
    mine, other = LAST_ARGUMENT.search(first), LAST_ARGUMENT.search(second)
    if mine and other:
        span = start + mine.start("last"), start + mine.end("last")
        candidates.add("constant", *span, other.group("last"))
