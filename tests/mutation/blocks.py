"""Where in a preprocessed source another version of the code can stand beside the code.

Beside the statements in the braces of a function, a lambda or a control statement stands another
version of them; beside a constant, another constant with a name of its own; beside the value that
an object is made with, another value.
"""

import bisect
import dataclasses
import re

from source_text import tokens_of

MARKER = re.compile(r'^# (?P<line>\d+) "(?P<file>(?:\\.|[^"\\])*)"[^\n]*\n', re.MULTILINE)

ATTRIBUTES = {"__attribute__", "alignas", "noexcept", "__asm__"}
CLASSES = {"class", "struct", "union"}
SPECIFIERS = {"friend", "typedef", "inline", "static", "const", "constexpr", "extern", "virtual"}
BEFORE_BODY = {")", "}", "const", "noexcept", "override", "final", "mutable", "&", "&&"}
BEFORE_BLOCK = {")", "else", "do", "try", "{", "}", ";", ":", "mutable"}
PAIRS = {")": "(", "]": "[", "}": "{"}


class Places:
    """From which file and line the characters of a preprocessed text come."""

    def __init__(self, text):
        self.text = text
        self.markers = [(m.end(), int(m.group("line")), m.group("file")) for m in MARKER.finditer(text)]
        self.starts = [start for start, _, _ in self.markers]

    def of(self, position):
        """(file, line), or an empty name and the number of the line if no marker stands before."""
        index = bisect.bisect_right(self.starts, position) - 1
        start, line, file = self.markers[index] if index >= 0 else (0, 1, "")
        return file, line + self.text.count("\n", start, position)


@dataclasses.dataclass
class Block:
    """The statements in a pair of braces: text[start:end]."""

    start: int
    end: int
    parent: object  # the block around it, or None
    function: int  # which declaration it is in: its index
    constant: bool  # the compiler may run it itself


@dataclasses.dataclass
class Declaration:
    """What is declared at the level of a namespace or a class: text[start:end], with the ';'."""

    start: int
    end: int
    kind: str  # function, constant, object, assertion or other
    name: str
    tokens: list
    body: object = None  # the block of a function


@dataclasses.dataclass
class Frame:
    """An open brace: namespace, class, code, switch or other."""

    kind: str
    statement: int  # the token that the declaration being read starts with
    block: object = None
    body: object = None  # of the function being read


class Layout:
    """The blocks and declarations of a preprocessed text."""

    def __init__(self, text):
        self.text = text
        self.places = Places(text)
        self.tokens = tokens_of(text)
        self.blocks = []
        self.declarations = []
        self.frames = [Frame("namespace", 0)]
        self.pairs = pairs_of(self.tokens)
        for index, token in enumerate(self.tokens):
            if token.text == "{":
                self.open(index)
            elif token.text == "}" and len(self.frames) > 1:
                self.close(index)
            elif token.text == ";" and self.between_declarations() and not self.in_parentheses(index):
                self.declared(index)
            elif token.text == ":" and self.tokens[index - 1].text in ("public", "private", "protected"):
                self.frames[-1].statement = index + 1
        self.starts = sorted((block.start, number) for number, block in enumerate(self.blocks))

    def between_declarations(self):
        return self.frames[-1].kind in ("namespace", "class")

    def in_parentheses(self, index):
        """Whether that token stands in parentheses that the declaration has opened."""
        depth = 0
        for token in self.tokens[self.frames[-1].statement : index]:
            depth += {"(": 1, "[": 1, ")": -1, "]": -1}.get(token.text, 0)
        return depth > 0

    def open(self, index):
        outer = self.frames[-1]
        if self.between_declarations():
            kind = kind_of_brace(self.tokens[outer.statement : index])
            if kind == "other":
                kind = kind_of_inner_brace(self.tokens, index, self.pairs)
            constant = is_constant(self.tokens[outer.statement : index])
        else:
            kind = kind_of_inner_brace(self.tokens, index, self.pairs)
            constant = bool(outer.block and outer.block.constant)
        block = None
        if kind == "code":
            around = next((f.block for f in reversed(self.frames) if f.block), None)
            start = self.tokens[index].end
            block = Block(start, start, around, len(self.declarations), constant)
            self.blocks.append(block)
        self.frames.append(Frame(kind, index + 1, block))

    def close(self, index):
        closed = self.frames.pop()
        outer = self.frames[-1]
        if closed.block:
            closed.block.end = self.tokens[index].start
        if not self.between_declarations():
            return
        if closed.kind == "namespace":
            outer.statement = index + 1
        elif closed.kind == "code":
            outer.body = closed.block
            self.declared(index)

    def declared(self, last):
        """Notes the declaration whose last token that is."""
        frame = self.frames[-1]
        tokens = self.tokens[frame.statement : last + 1]
        body, frame.body = frame.body, None
        frame.statement = last + 1
        if tokens:
            kind, name = kind_and_name(tokens) if not body else ("function", "")
            start, end = tokens[0].start, tokens[-1].end
            self.declarations.append(Declaration(start, end, kind, name, tokens, body))

    def block_around(self, start, end):
        """The innermost block that has text[start:end] within, or None."""
        found = None
        for block in self.blocks:
            if block.start <= start and end <= block.end:
                if not found or block.start >= found.start:
                    found = block
        return found

    def declaration_around(self, start, end):
        for declaration in self.declarations:
            if declaration.start <= start and end <= declaration.end:
                return declaration
        return None

    def key_of(self, block):
        """What a block is called in every preprocessed text of its source: file, line, and which."""
        keys = getattr(self, "keys", None)
        if keys is None:
            keys, count = {}, {}
            for other in sorted(self.blocks, key=lambda b: b.start):
                place = self.places.of(other.start)
                count[place] = count.get(place, 0) + 1
                keys[id(other)] = (*place, count[place])
            self.keys = keys
        return keys[id(block)]


def pairs_of(tokens):
    """For each closing bracket the index of the one that it closes."""
    pairs, opened = {}, []
    for index, token in enumerate(tokens):
        if token.text in ("(", "[", "{"):
            opened.append(index)
        elif token.text in PAIRS and opened:
            pairs[index] = opened.pop()
    return pairs


def without_template(tokens):
    """The tokens of a declaration without `template< ... >` at its start."""
    while tokens and tokens[0].text == "template":
        depth = 0
        for index, token in enumerate(tokens[1:], start=1):
            depth += {"<": 1, ">": -1, ">>": -2}.get(token.text, 0)
            if depth <= 0:
                break
        tokens = tokens[index + 1 :]
    return tokens


def head_of(tokens):
    """The tokens of a declaration that stand in no bracket, without templates and attributes.

    A pair of parentheses that is left is one token, the opening one.
    """
    head, depth, skipped = [], 0, False
    tokens = without_template(tokens)
    for index, token in enumerate(tokens):
        if token.text in ("(", "[", "{"):
            if depth == 0:
                before = tokens[index - 1].text if index else ""
                skipped = token.text != "(" or before in ATTRIBUTES
                if not skipped:
                    head.append(token)
            depth += 1
        elif token.text in PAIRS:
            depth -= 1
        elif depth == 0 and token.text not in ATTRIBUTES:
            head.append(token)
    return head


def is_constant(tokens):
    return any(token.text in ("constexpr", "consteval") for token in tokens)


def assigned(head):
    """Where the '=' of a declaration is, or -1."""
    for index, token in enumerate(head):
        if token.text == "=" and (index == 0 or head[index - 1].text != "operator"):
            return index
    return -1


def kind_of_brace(tokens):
    """What opens after these tokens of a declaration."""
    head = [token for token in head_of(tokens)]
    words = [token.text for token in head]
    if "namespace" in words[:2] or (words[:1] == ["extern"] and tokens[-1].kind == "text"):
        return "namespace"
    while words and words[0] in SPECIFIERS:
        words = words[1:]
    if words and words[0] in CLASSES:
        return "class"
    if not words or words[0] == "enum" or assigned(head) >= 0 or "(" not in words:
        return "other"
    last = tokens[-1].text
    behind = words[words.index("(") :]
    if ":" in behind:
        return "code" if last in (")", "}") else "other"
    return "code" if last in BEFORE_BODY or "->" in behind else "other"


def kind_of_inner_brace(tokens, index, pairs):
    """What opens within a function or an initialiser."""
    before = tokens[index - 1]
    if before.text == ")":
        opening = pairs.get(index - 1, 0)
        word = tokens[opening - 1].text if opening else ""
        if word in ("switch", "requires"):
            return "switch" if word == "switch" else "other"
        return "code"
    if before.text == "]":
        # A lambda without parameters, if it is no subscript.
        opening = pairs.get(index - 1, 0)
        ahead = tokens[opening - 1]
        return "other" if ahead.kind == "name" and ahead.text != "return" or ahead.text in (")", "]") else "code"
    if before.text in BEFORE_BLOCK:
        return "code" if before.text != "{" or is_statement_brace(tokens, index - 1, pairs) else "other"
    return "code" if follows_result_type(tokens, index) else "other"


def is_statement_brace(tokens, index, pairs):
    """Whether the brace at that index opens a block, so that one right behind it does, too."""
    return index > 0 and kind_of_inner_brace(tokens, index, pairs) == "code"


def follows_result_type(tokens, index):
    """Whether a type and `->` stand before the brace, as in `[]() -> Type {`."""
    position = index - 1
    while position > 0 and (
        tokens[position].kind == "name" or tokens[position].text in ("::", "<", ">", "&", "*", ",")
    ):
        position -= 1
    return tokens[position].text == "->" and tokens[position - 1].text in (")", "mutable", "noexcept")


def kind_and_name(tokens):
    """The kind of a declaration that is no function with a body, and what it declares."""
    head = head_of(tokens)
    words = [token.text for token in head]
    if words[:1] == ["static_assert"]:
        return "assertion", ""
    if not words or words[0] in ("using", "typedef", "friend", "enum", *CLASSES):
        return "other", ""
    equals = assigned(head)
    named = words[:equals] if equals >= 0 else words[:-1]
    if "(" in named:
        named = named[: named.index("(")]
    names = [word for word in named if re.match(r"[A-Za-z_]\w*$", word)]
    if not names:
        return "other", ""
    return ("constant" if is_constant(tokens) else "object"), names[-1]
