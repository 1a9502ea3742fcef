"""Many mutants of one source in one text, each behind a switch that is read when the program starts.

`Schema.add( number, changed )` finds out where in the preprocessed source a mutant differs from it:

- in a block: another version of the block stands beside it,
      if ( ::PeloraMutation::number == 17 ) { the mutant's } else { the source's }
- in a constant: the mutant's stands behind it under another name, and the blocks and constants that
  name it have a version that names the mutant's
- in a value that an object is made with: ( ::PeloraMutation::is( 17 ) ? the mutant's : the source's )

Whatever else it changes, it must be compiled by itself: Unfit.
"""

import dataclasses
import difflib
import re

from blocks import Layout

# The names are of its own, so that they do not meet the declarations of the headers.
PRELUDE = """
extern "C" char* peloraMutationVariable( const char* ) __asm__( "getenv" );
extern "C" int peloraMutationInteger( const char* ) __asm__( "atoi" );
namespace PeloraMutation {
inline int number __attribute__(( visibility( "hidden" ) )) = 0;
__attribute__(( constructor( 101 ) )) static void readNumber()
{
    const char* const text = peloraMutationVariable( "PELORA_MUTANT" );
    number = text ? peloraMutationInteger( text ) : 0;
}
constexpr bool is( int asked ) { return !__builtin_is_constant_evaluated() && number == asked; }
}
"""
PRECOMPILED = re.compile(r"^#pragma GCC pch_preprocess [^\n]*\n", re.MULTILINE)
BLAMED = re.compile(r"mutant:(\d+):")


class Unfit(Exception):
    """The mutant cannot stand beside others."""


@dataclasses.dataclass
class Edit:
    """Versions of text[start:end]."""

    start: int
    end: int
    kind: str  # block, copy or value
    versions: dict  # text by the mutant's number
    constant: bool = False
    place: int = None  # where the text of a version begins in the source's, if not at `start`


@dataclasses.dataclass
class Placed:
    """Where a mutant went."""

    blocks: list  # whose versions differ; empty if it is in a value of an object
    exact: bool  # whether the mutant's program behaves as the mutant compiled by itself


@dataclasses.dataclass
class Region:
    """old[start:end] is new[new_start:new_end]."""

    start: int
    end: int
    new_start: int
    new_end: int


def regions_of(old, new):
    """Where two texts differ: one region, as small as can be."""
    if old == new:
        return []
    start = common_prefix(old, new)
    limit = min(len(old), len(new)) - start
    behind = common_prefix(old[start:][::-1], new[start:][::-1], limit)
    return [Region(start, len(old) - behind, start, len(new) - behind)]


def common_prefix(left, right, limit=None):
    """How many characters are the same, found by halves."""
    low, high = 0, min(len(left), len(right)) if limit is None else limit
    while low < high:
        middle = (low + high + 1) // 2
        if left[low:middle] == right[low:middle]:
            low = middle
        else:
            high = middle - 1
    return low


def line_regions_of(old, new):
    """Where two texts differ, by lines: one region for each place."""
    old_lines, new_lines = old.splitlines(True), new.splitlines(True)
    old_starts, new_starts = starts_of(old_lines), starts_of(new_lines)
    matcher = difflib.SequenceMatcher(None, old_lines, new_lines, autojunk=False)
    found = []
    for tag, a, b, c, d in matcher.get_opcodes():
        if tag != "equal":
            start, end, new_start, new_end = old_starts[a], old_starts[b], new_starts[c], new_starts[d]
            for part in regions_of(old[start:end], new[new_start:new_end]):
                found.append(
                    Region(
                        start + part.start,
                        start + part.end,
                        new_start + part.new_start,
                        new_start + part.new_end,
                    )
                )
    return found


def starts_of(lines):
    starts = [0]
    for line in lines:
        starts.append(starts[-1] + len(line))
    return starts


class Schema:
    """A preprocessed source, and its mutants."""

    def __init__(self, text):
        self.text = text
        self.layout = Layout(text)
        self.edits = {}

    def add(self, number, changed):
        """Places a mutant, given as its preprocessed source. Gives where, or None if it is the same."""
        if changed == self.text:
            return None
        try:
            parts = self.parts(changed, regions_of(self.text, changed))
        except Unfit:
            parts = self.parts(changed, line_regions_of(self.text, changed))
        edits = []
        for part in parts:
            edits += self.edits_for(number, changed, *part)
        places = [(edit.start, edit.end, edit.kind) for edit in edits]
        if len(set(places)) < len(places):
            raise Unfit("two changes of one place")
        for edit in edits:
            kept = self.edits.setdefault((edit.start, edit.end, edit.kind), edit)
            kept.versions.update(edit.versions)
        return self.placed(edits)

    def placed(self, edits):
        values = any(edit.kind == "value" for edit in edits)
        blocks = [] if values else [edit for edit in edits if edit.kind == "block"]
        return Placed(
            [self.layout.block_around(edit.start, edit.end) for edit in blocks],
            not values and not any(edit.constant for edit in edits),
        )

    def remove(self, number):
        for key, edit in list(self.edits.items()):
            edit.versions.pop(number, None)
            if not edit.versions:
                del self.edits[key]

    def parts(self, changed, regions):
        """The regions by what is declared there: (declaration, start, end, start and end in `changed`)."""
        grouped = {}
        for region in regions:
            declaration = self.layout.declaration_around(region.start, region.end)
            if not declaration:
                raise Unfit("outside of what is declared")
            grouped.setdefault(id(declaration), (declaration, []))[1].append(region)
        found = []
        for declaration, own in grouped.values():
            start, end = own[0].start, own[-1].end
            block = self.layout.block_around(start, end)
            if block:
                around = (block.start, block.end)
            elif declaration.kind in ("constant", "object"):
                around = (declaration.start, declaration.end)
            else:
                raise Unfit("in a " + declaration.kind)
            new_start = own[0].new_start - (start - around[0])
            new_end = own[-1].new_end + (around[1] - end)
            found.append((declaration, block, own, around, changed[new_start:new_end]))
        return found

    def edits_for(self, number, changed, declaration, block, regions, around, text):
        if block:
            return [Edit(*around, "block", {number: text}, block.constant)]
        if declaration.kind == "constant":
            return self.copies_of(number, declaration, text)
        return [self.value_edit(number, declaration, regions, text)]

    # ---- Constants

    def copies_of(self, number, declaration, text):
        """The mutant's constant, and a version of whatever names it."""
        renamed = {}
        self.rename(number, declaration, renamed)
        edits = []
        for other in self.layout.declarations:
            own = other is declaration
            used = [t for t in other.tokens if t.kind == "name" and t.text in renamed]
            if own:
                edits.append(self.copy_edit(number, other, renamed_in(text, renamed)))
            elif used and not self.is_around_others(other):
                edits.append(self.edit_of_user(number, other, used, renamed))
        return edits

    def rename(self, number, declaration, renamed):
        """Gives new names to a constant and to all constants that are made of it."""
        if not declaration.name or declaration.name in renamed:
            return
        renamed[declaration.name] = f"{declaration.name}_mutant{number}"
        for other in self.layout.declarations:
            if other.kind == "constant" and any(t.text == declaration.name for t in other.tokens):
                self.rename(number, other, renamed)

    def is_around_others(self, declaration):
        """Whether it is a class, whose members are declarations of their own."""
        return any(
            other is not declaration and declaration.start <= other.start and other.end <= declaration.end
            for other in self.layout.declarations
        )

    def copy_edit(self, number, declaration, text):
        end = declaration.end
        return Edit(end, end, "copy", {number: text}, place=declaration.start)

    def edit_of_user(self, number, user, used, renamed):
        if user.kind in ("constant", "assertion"):
            return self.copy_edit(
                number, user, renamed_in(self.text[user.start : user.end], renamed)
            )
        block = self.layout.block_around(used[0].start, used[-1].end)
        if not user.body or not block:
            raise Unfit("its constant is used outside of functions")
        text = renamed_in(self.text[block.start : block.end], renamed)
        return Edit(block.start, block.end, "block", {number: text}, block.constant)

    # ---- Values

    def value_edit(self, number, declaration, regions, text):
        """The mutant's value of an object, as long as it is one argument or the whole."""
        start, end = regions[0].start, regions[-1].end
        ranges = value_ranges(declaration.tokens)
        around = [(first, last) for first, last in ranges if first <= start and end <= last]
        if not around:
            raise Unfit("not in one value")
        first, last = min(around, key=lambda ends: ends[1] - ends[0])
        grown = len(text) - (declaration.end - declaration.start)
        value = text[first - declaration.start : last - declaration.start + grown]
        return Edit(first, last, "value", {number: value})

    # ---- The text

    def rendered(self, blame=False):
        """The text with all mutants; with `blame`, each claims to be from a file named after it."""
        edits = sorted(self.edits.values(), key=lambda edit: (edit.start, -edit.end))
        body = self.rendered_range(0, len(self.text), edits, blame)
        return with_prelude(body, PRELUDE)

    def rendered_range(self, start, end, edits, blame):
        written, position, index = [], start, 0
        while index < len(edits):
            edit = edits[index]
            following = index + 1
            while following < len(edits) and edits[following].end <= edit.end and edit.end > edit.start:
                following += 1
            original = self.rendered_range(edit.start, edit.end, edits[index + 1 : following], blame)
            written.append(self.text[position : edit.start])
            written.append(self.versions_of(edit, original, blame))
            position, index = edit.end, following
        written.append(self.text[position:end])
        return "".join(written)

    def marker(self, position, number=None):
        """The line that says from where the next one comes."""
        file, line = self.layout.places.of(position)
        return f'\n# {line} "{file if number is None else f"mutant:{number}"}"\n'

    def versions_of(self, edit, original, blame):
        def version(number, text):
            place = edit.start if edit.place is None else edit.place
            return self.marker(place, number if blame else None) + text

        here, behind = self.marker(edit.start), self.marker(edit.end)
        versions = sorted(edit.versions.items())
        if edit.kind == "copy":
            return "".join(version(*entry) + behind for entry in versions)
        if edit.kind == "value":
            for number, text in versions:
                mutant = version(number, text) + here
                original = f"( ::PeloraMutation::is( {number} ) ? ( {mutant} ) : ( {original} ) )"
            return original
        asked = "is( {} )" if edit.constant else "number == {}"
        chain = "".join(
            f"if ( ::PeloraMutation::{asked.format(number)} ) {{{version(number, text)}\n}} else "
            for number, text in versions
        )
        return f" {chain}{{{here}{original}\n}}{behind}"


def with_prelude(text, prelude):
    """The text with declarations before it, but behind the precompiled header."""
    match = PRECOMPILED.search(text)
    at = match.end() if match else text.index("\n") + 1
    return text[:at] + prelude + text[at:]


def renamed_in(text, names):
    """The text with those names in the place of others."""
    pattern = r'"(?:\\.|[^"\\\n])*"|\b(?:' + "|".join(map(re.escape, names)) + r")\b"
    return re.sub(pattern, lambda match: names.get(match.group(), match.group()), text)


def value_ranges(tokens):
    """The values that an object is made with, as ranges of the text: arguments and elements."""
    found = []
    for index, token in enumerate(tokens):
        if token.text in ("(", "{"):
            found += argument_ranges(tokens, index)
        elif token.text == "=" and tokens[index + 1].text != "{":
            found.append((tokens[index + 1].start, tokens[-1].start))
            break
    return found


def argument_ranges(tokens, opening):
    """The arguments between the bracket at that index and the one that closes it."""
    found, depth, start = [], 0, opening + 1
    for index in range(opening, len(tokens)):
        text = tokens[index].text
        depth += 1 if text in ("(", "[", "{") else -1 if text in (")", "]", "}") else 0
        if depth == 0 or (depth == 1 and text == ","):
            if start < index and tokens[start].text != "{":
                found.append((tokens[start].start, tokens[index - 1].end))
            start = index + 1
        if depth == 0:
            break
    return found


def blamed_in(output):
    """The mutants that the compiler complains about."""
    return {int(number) for number in BLAMED.findall(output)}
