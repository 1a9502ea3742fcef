"""Which tests run which block of the library: the others cannot notice a mutant of it. And how long
each test takes.

The library is built once more. In this build every block of the sources that are mutated first
marks itself in a file that the processes of a test share, so that what a child does counts, however
it ends. Every test is run by itself on it.
"""

import os
import re
import resource

from base_build import BuildError, link_names, run
from blocks import Layout
from precompiled import header_command, leading_includes
from schema import with_prelude
from trials import Round, environment_for, patched, run_suite, LOAD_BY_PATH

LIBRARY = "lib/libPeloraTcamSdk6Helpers.so.1.0.0"
MUTATED = ("PeloraTcam/", "sdk/")

PRELUDE = """
extern "C" char* peloraMutationVariable( const char* ) __asm__( "getenv" );
extern "C" int peloraMutationOpen( const char*, int, ... ) __asm__( "open" );
extern "C" int peloraMutationClose( int ) __asm__( "close" );
extern "C" void* peloraMutationMap( void*, unsigned long, int, int, int, long ) __asm__( "mmap" );
extern "C" int peloraMutationUnmap( void*, unsigned long ) __asm__( "munmap" );
namespace PeloraMutation {
inline char* marks __attribute__(( visibility( "hidden" ) )) = nullptr;
__attribute__(( constructor( 101 ) )) static void openMarks()
{
    const char* const path = peloraMutationVariable( "PELORA_REACHED" );
    if ( marks == nullptr && path != nullptr ) {
        const int file = peloraMutationOpen( path, 2 );
        void* const place = peloraMutationMap( nullptr, 1 << 20, 3, 1, file, 0 );
        marks = place == (void*)-1 ? nullptr : static_cast< char* >( place );
        peloraMutationClose( file );
    }
}
__attribute__(( destructor( 101 ) )) static void closeMarks()
{
    if ( marks != nullptr ) {
        peloraMutationUnmap( marks, 1 << 20 );
        marks = nullptr;
    }
}
inline void mark( int number )
{
    if ( marks != nullptr ) {
        marks[ number ] = 1;
    }
}
constexpr void markUnlessConstant( int number )
{
    if ( !__builtin_is_constant_evaluated() ) {
        mark( number );
    }
}
}
"""
MOST_MARKS = 1 << 20


def with_marks(text, first):
    """The preprocessed text whose blocks mark themselves, and what each is called.

    Their numbers begin with `first`.
    """
    layout = Layout(text)
    blocks = [
        block
        for block in sorted(layout.blocks, key=lambda block: block.start)
        if any("/" + folder in layout.places.of(block.start)[0] for folder in MUTATED)
    ]
    written, position, names = [], 0, []
    for number, block in enumerate(blocks, start=first):
        function = "markUnlessConstant" if block.constant else "mark"
        written.append(text[position : block.start])
        written.append(f" ::PeloraMutation::{function}( {number} );")
        position = block.start
        names.append(block_name(layout, block))
    return with_prelude("".join(written) + text[position:], PRELUDE), names


def block_name(layout, block):
    """What a block is called in every preprocessed text of its object."""
    file, line, which = layout.key_of(block)
    match = re.search(r"(?:PeloraTcam|sdk)/[^/]*$", file)
    return f"{match.group() if match else file}:{line}:{which}"


class Reach:
    """What was found out: which tests may notice a mutant."""

    def __init__(self, graph, suites, reached):
        """`reached`: for each test, (suite, test), the blocks that it runs, as (object, name)."""
        self.graph = graph
        self.suites = suites
        self.tests_of_block = {}
        self.tests_of_object = {}
        for test, blocks in reached.items():
            for output, name in blocks:
                self.tests_of_block.setdefault((output, name), set()).add(test)
                self.tests_of_object.setdefault(output, set()).add(test)

    def asked(self, file, blocks=None):
        """The tests of each suite that may notice a mutant of that file, in the order of asking.

        `blocks`: for each object that it changes, the names of the blocks; None if that is not known
        or if it changes what is no block. What is no block, or not of the library, may be seen by any
        test, but most likely by one that runs a block of the same source.
        """
        if blocks is not None and set(blocks) <= set(self.graph.inputs[LIBRARY]):
            return [self.by_suite(self.of_blocks(blocks), file)]
        first = self.by_suite(self.of_objects(file), file)
        others = {suite.name: set(suite.times) - first.get(suite.name, set()) for suite in self.suites}
        return [first, others]

    def by_suite(self, tests, file):
        asked = {}
        for suite, test in tests:
            asked.setdefault(suite, set()).add(test)
        for suite in self.suites:
            if self.graph.needed(suite.target, file):
                asked[suite.name] = set(suite.times)
        return asked

    def of_blocks(self, blocks):
        found = set()
        for output, names in blocks.items():
            for name in names:
                found |= self.tests_of_block.get((output, name), set())
        return found

    def of_objects(self, file):
        objects = self.graph.affected(file) & set(self.tests_of_object)
        return set().union(*(self.tests_of_object[output] for output in objects))


class ReachBuild:
    """The library that marks what is run."""

    def __init__(self, graph, folder, must):
        self.graph = graph
        self.tree = graph.tree
        self.folder = folder
        self.must = must
        self.names = []  # (object, block) by the number of its mark
        self.is_made = False

    def names_of_marks(self):
        self.make()
        return self.names

    def make(self):
        if self.is_made:
            return
        self.is_made = True
        os.makedirs(os.path.join(self.folder, "lib"), exist_ok=True)
        objects = [part for part in self.graph.inputs[LIBRARY] if part.endswith(".o")]
        replaced = {output: self.compile(n, output) for n, output in enumerate(objects)}
        if len(self.names) > MOST_MARKS:
            raise BuildError("more blocks than there is room for")
        library = os.path.join(self.folder, LIBRARY)
        command = re.sub(r"\S+", lambda m: replaced.get(m.group(), m.group()), self.graph.commands[LIBRARY])
        self.shell(command.replace(f"-o {LIBRARY}", f"-o {library}"))
        link_names(library)

    def compile(self, number, output):
        place = os.path.join(self.folder, f"{number}.o")
        command = re.sub(r" (-MD|-MT \S+|-MF \S+|-o \S+)(?= |$)", "", self.graph.commands[output])
        text = self.shell(command + self.precompiled(number, output) + " -E -fpch-preprocess")
        marked, names = with_marks(text, len(self.names))
        self.names += [(output, name) for name in names]
        with open(place + ".ii", "w", encoding="utf-8") as file:
            file.write(marked)
        self.shell(re.sub(r" -c \S+", f" -fpreprocessed -c {place}.ii -o {place}", command))
        return place

    def precompiled(self, number, output):
        """The flag that takes in, precompiled, what is included and not mutated."""
        source = os.path.join(self.graph.sources, self.graph.source_of(output))
        with open(source, encoding="utf-8") as file:
            includes = leading_includes(file.read())
        headers = self.graph.precompiled.headers
        lines = [
            line
            for line, own in includes
            if not own or not any(other.startswith(MUTATED) for other in headers.included_by(own))
        ]
        header = os.path.join(self.folder, f"{number}.h")
        with open(header, "w", encoding="utf-8") as file:
            file.write("\n".join(lines) + "\n")
        self.shell(header_command(self.graph.commands[output], header))
        return f" -include {header}"

    def shell(self, command):
        result = run(["sh", "-c", command], self.tree)
        if result.returncode != 0:
            raise BuildError(result.stdout[-6000:])
        return result.stdout

    def path_of(self, suite):
        binary = os.path.join(self.tree, suite.target)
        return patched(binary, self.folder, self) if suite.name in LOAD_BY_PATH else binary

    def reached_by(self, suite):
        """For each test of a suite how long it takes, and the numbers of the marks that it leaves."""
        self.make()
        binary = self.path_of(suite)
        return {test: self.seconds_and_marks_of(suite, test, binary) for test in suite.times}

    def seconds_and_marks_of(self, suite, test, binary):
        """The time is the processor's: by the clock, a busy machine makes quick tests slow."""
        start = seconds_of_children()
        marks = self.marks_of(suite, test, binary)
        return [round(seconds_of_children() - start, 4), marks]

    def marks_of(self, suite, test, binary):
        marks = os.path.join(self.folder, "marks")
        with open(marks, "wb") as file:
            file.truncate(MOST_MARKS)
        one = Round(suite, "default", [test])
        environment = environment_for(self.folder, os.path.join(self.folder, "lib"), "default", test)
        environment["PELORA_REACHED"] = marks
        why = run_suite([binary], self.folder, environment, 2 * one.limit())
        if why:
            # It notices the marks themselves. So it may notice anything.
            print(f"{suite.name}: {why} on the library that marks what is run", flush=True)
            return list(range(len(self.names)))
        with open(marks, "rb") as file:
            seen = file.read(len(self.names))
        return [number for number, mark in enumerate(seen) if mark]


def seconds_of_children():
    """What the processes that this one has waited for took of the processor."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def measure_reach(graph, suites, folder, must, kept):
    """Builds that library, runs every test on it, and gives what they reach.

    `kept( target, measure )` gives what was measured of it before, if it still holds.
    """
    build = ReachBuild(graph, folder, must)
    names = [tuple(name) for name in kept(LIBRARY, build.names_of_marks)]
    reached = {}
    for suite in suites:
        measured = kept(suite.target, lambda: build.reached_by(suite))
        for test, (seconds, numbers) in measured.items():
            suite.times[test] = seconds
            reached[suite.name, test] = {names[number] for number in numbers}
        suite.seconds = sum(suite.times.values())
    if not any(reached.values()):
        raise BuildError("no test runs anything of the library")
    return Reach(graph, suites, reached)
