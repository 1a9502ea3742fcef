"""The build of many mutants of one file: see schema.py."""

import os
import re

from base_build import Overlay, run
from reach import block_name
from schema import Schema, Unfit, blamed_in

# So often a source is compiled without the mutants that the compiler complained about.
MOST_ATTEMPTS = 4


class SchemaOverlay(Overlay):
    """A build in which an environment variable chooses the mutant.

    `numbers`: the mutants by their numbers, which begin with 1. Whatever is made tells more of them:
    what turns out to be `unfit` is not among them any more, with the reason; `blocks` tells, for
    each mutant, which blocks it changes, by object, or None if it changes what is no block;
    `inexact` has those that the compiler itself may run.
    """

    def __init__(self, graph, folder, mutants, source):
        super().__init__(graph, folder, mutants[0], source)
        self.source = source
        self.numbers = dict(enumerate(mutants, start=1))
        self.unfit = {}
        self.blocks = {number: {} for number in self.numbers}
        self.inexact = set()
        self.schemata = {}

    def file_path(self):
        return os.path.join(self.folder, "src", self.mutant.file)

    def drop(self, number, why):
        """Takes a mutant out; what has been compiled may still have it."""
        if self.numbers.pop(number, None):
            self.unfit[number] = why
            for schema in self.schemata.values():
                schema.remove(number)

    # ---- Where the mutants go

    def place_all(self, output):
        base = self.text_of(output, self.source)
        if base is None:
            for number in list(self.numbers):
                self.drop(number, "the source cannot be preprocessed")
            return
        schema = Schema(base)
        self.schemata[output] = schema
        for layer in layers_of(self.numbers):
            # Most objects read only a few columns of a table.
            if len(layer) == 1 or self.text_of(output, self.with_all(layer)) != base:
                for number in layer:
                    if number in self.numbers:
                        self.place(output, schema, number, self.numbers[number])

    def with_all(self, layer):
        """The source with several mutants at once."""
        source = self.source
        for mutant in sorted((self.numbers[n] for n in layer), key=lambda m: m.start, reverse=True):
            source = mutant.applied_to(source)
        return source

    def place(self, output, schema, number, mutant):
        changed = self.text_of(output, mutant.applied_to(self.source))
        if changed is None:
            self.drop(number, "it cannot be preprocessed")
            return
        try:
            placed = schema.add(number, changed)
        except Unfit as reason:
            self.drop(number, str(reason))
            return
        if placed:
            self.note_blocks(output, schema, number, placed)

    def note_blocks(self, output, schema, number, placed):
        names = [block_name(schema.layout, block) for block in placed.blocks]
        if not names:
            self.blocks[number] = None
        elif self.blocks[number] is not None:
            self.blocks[number][output] = names
        if not placed.exact:
            self.inexact.add(number)

    def text_of(self, output, source):
        """The preprocessed text of an object's source, with that text of the file, or None."""
        with open(self.file_path(), "w", encoding="utf-8") as file:
            file.write(source)
        command = plain(self.command_for(output)) + self.precompiled(output)
        result = run(["sh", "-c", command + " -E -fpch-preprocess"], self.graph.tree)
        return result.stdout if result.returncode == 0 else None

    def precompiled(self, output):
        source = self.graph.source_of(output)
        command = self.graph.commands[output]
        return self.graph.precompiled.flag_for(output, command, source, self.mutant.file)

    # ---- The build

    def is_changed(self, output):
        if output.endswith(".o"):
            if output not in self.schemata:
                self.place_all(output)
            return output in self.schemata and bool(self.schemata[output].edits)
        return super().is_changed(output)

    def make_one(self, output, more_flags=""):
        if not output.endswith(".o"):
            return super().make_one(output, more_flags)
        os.makedirs(os.path.dirname(os.path.join(self.folder, output)), exist_ok=True)
        for _ in range(MOST_ATTEMPTS):
            if self.compile(output, "").returncode == 0:
                return True
            blamed = blamed_in(self.compile(output, " -fsyntax-only -fmax-errors=0").stdout)
            for number in blamed:
                self.drop(number, "the compiler complains")
            if not blamed:
                break
        return False

    def compile(self, output, flags):
        """Compiles an object; with flags, only to find out whom the compiler complains about."""
        text = os.path.join(self.folder, "schema.ii")
        with open(text, "w", encoding="utf-8") as file:
            file.write(self.schemata[output].rendered(blame=bool(flags)))
        command = re.sub(r" -c \S+", f" -fpreprocessed -c {text}", plain(self.command_for(output)))
        place = os.path.join(self.folder, output)
        return run(["sh", "-c", command + f" -o {place}" + flags], self.graph.tree)


def layers_of(numbers):
    """The numbers of mutants, in lists of such that change different places of the source."""
    layers = []
    for number, mutant in sorted(numbers.items(), key=lambda entry: (entry[1].start, entry[1].end)):
        for layer in layers:
            if numbers[layer[-1]].end < mutant.start:
                layer.append(number)
                break
        else:
            layers.append([number])
    return layers


def plain(command):
    """The command without what it writes."""
    return re.sub(r" (-MD|-MT \S+|-MF \S+|-o \S+)(?= |$)", "", command)
