"""C++ text as the mutations see it: tokens, and the statements of function bodies.

No parser: it leans on how this project lays its sources out. In `Foo< T >` no blank stands before
the `<`; in `a < b` one does.
"""

import dataclasses
import re

TOKEN = re.compile(
    r"""
    (?P<directive>^[ \t]*\#(?:[^\n\\]|\\.|\\\n)*)
    | (?P<blank>(?:\s|\\\n)+?(?=^[ \t]*\#|\S|\Z))
    | (?P<comment>//[^\n]*|/\*.*?\*/)
    | (?P<raw>R"(?P<delimiter>[^ ()\\\t\n]*)\(.*?\)(?P=delimiter)")
    | (?P<text>"(?:\\.|[^"\\\n])*")
    | (?P<character>'(?:\\.|[^'\\\n])+')
    | (?P<number>\d(?:'?[\w.])*)
    | (?P<name>[A-Za-z_]\w*)
    | (?P<operator><=>|<<=|>>=|->\*|\.\.\.|->|::|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)
    """,
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)


@dataclasses.dataclass
class Token:
    kind: str
    text: str
    start: int
    end: int
    # For '<' and '>': whether it is a bracket of a template.
    template: bool = False


def tokens_of(source):
    """The tokens of a source, without blanks, comments and preprocessor directives."""
    tokens = []
    for match in TOKEN.finditer(source):
        if match.lastgroup in ("blank", "comment", "directive"):
            continue
        kind = "raw" if match.group("raw") else match.lastgroup
        tokens.append(Token(kind, match.group(), match.start(), match.end()))
    mark_templates(source, tokens)
    return tokens


def mark_templates(source, tokens):
    """Tells the brackets of templates from comparisons."""
    opened = []
    for index, token in enumerate(tokens):
        after_name = index > 0 and tokens[index - 1].kind == "name"
        if token.text == "<" and after_name and not source[token.start - 1].isspace():
            token.template = True
            opened.append(token)
        elif token.text == ">" and opened:
            token.template = True
            opened.pop()
        elif token.text == ";":
            opened.clear()


@dataclasses.dataclass
class Statement:
    """A simple statement of a function body: tokens[first] to tokens[last], which is its ';'."""

    first: int
    last: int
    form: str  # call, assignment, declaration, jump or other


@dataclasses.dataclass
class Frame:
    """An open brace: a function body or other block ('code'), or anything else."""

    code: bool
    parentheses: int
    statement: int  # the token that the statement being read starts with
    control: bool = False  # an open block that ends its statement, as that of an if does


BEFORE_CODE = {")", "]", "else", "do", "try", "const", "noexcept", "override", "mutable"}
CONTROL = {"if", "else", "for", "while", "do", "switch", "try", "catch"}
JUMPS = {"return", "break", "continue", "throw", "goto"}
NOT_SIMPLE = CONTROL | {"using", "namespace", "typedef", "case", "default", "template", "static_assert"}
ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="}


def statements_of(tokens):
    """The simple statements of all function bodies, in their order."""
    found = []
    frames = [Frame(code=False, parentheses=0, statement=0)]
    parentheses = 0
    for index, token in enumerate(tokens):
        frame = frames[-1]
        if token.text in ("(", "["):
            parentheses += 1
        elif token.text in (")", "]"):
            parentheses -= 1
        elif token.text == "{":
            frames.append(opened_frame(tokens, index, frame, parentheses))
        elif token.text == "}" and len(frames) > 1:
            closed = frames.pop()
            if closed.control:
                frames[-1].statement = index + 1
        elif token.text == ";" and parentheses == frame.parentheses:
            if frame.code and frame.statement < index:
                form = form_of(tokens[frame.statement : index])
                found.append(Statement(frame.statement, index, form))
            frame.statement = index + 1
        elif token.text == ":" and frame.code and tokens[frame.statement].text in ("case", "default"):
            frame.statement = index + 1
    return found


def opened_frame(tokens, index, outer, parentheses):
    previous = tokens[index - 1].text if index else ""
    start = tokens[outer.statement].text
    if outer.code:
        free = previous in ("{", "}", ";", ":")
        control = free or (start in CONTROL and parentheses == outer.parentheses)
        code = control or previous in BEFORE_CODE
    else:
        # At namespace or class level, a block that follows ')' and the like is a function's.
        code = previous in BEFORE_CODE
        control = parentheses == outer.parentheses
    return Frame(code, parentheses, index + 1, control)


def form_of(tokens):
    """What kind of statement these tokens, without the ';', are."""
    first = tokens[0].text
    if first in JUMPS:
        return "jump"
    if first in NOT_SIMPLE or tokens[0].kind not in ("name", "operator"):
        return "other"
    flat = outermost(tokens)
    names_side_by_side = any(
        left.kind == "name" and right.kind == "name" for left, right in zip(flat, flat[1:])
    )
    type_before_name = any(
        left.text in ("&", "*", ">") and right.kind == "name" for left, right in zip(flat, flat[1:])
    )
    assigns = any(token.text in ASSIGNMENTS for token in flat)
    if names_side_by_side or (type_before_name and tokens[0].kind == "name"):
        return "declaration"
    if assigns:
        return "assignment"
    if tokens[0].kind == "name" and tokens[-1].text == ")":
        return "call"
    return "other"


def outermost(tokens):
    """The tokens that stand in no bracket."""
    depth = 0
    flat = []
    for token in tokens:
        if token.text in (")", "]", "}"):
            depth -= 1
        if depth == 0:
            flat.append(token)
        if token.text in ("(", "[", "{"):
            depth += 1
    return flat
