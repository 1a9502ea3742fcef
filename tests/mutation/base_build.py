"""The copy of the sources, its build, and the build of one mutant beside it.

The base build is made once and never changed. A mutant is a changed copy of one file in a folder
of its own, which stands first among the include folders; only what depends on that file is
compiled and linked anew, into that folder, with the commands of the base build. An object whose
source reads the same after the preprocessor is taken from the base build.
"""

import json
import os
import re
import shutil
import subprocess
import time

from precompiled import Headers, PrecompiledHeaders

CONFIGURATION = [
    "-G", "Ninja",
    "-DCMAKE_BUILD_TYPE=",
    "-DCMAKE_CXX_COMPILER=g++",
    # The warnings are the real build's affair: a mutant that only warns is a valid mutant.
    "-DCMAKE_CXX_FLAGS=-O0 -w",
    # LD_LIBRARY_PATH must come before the path that stands in a test.
    "-DCMAKE_EXE_LINKER_FLAGS=-Wl,--enable-new-dtags",
    "-DCMAKE_SHARED_LINKER_FLAGS=-Wl,--enable-new-dtags",
    "-DPELORA_BUILD_BENCH=OFF",
]  # fmt: skip

LEFT_OUT = re.compile(r"build.*|\..*")


# A mutant is compiled once; nobody asks the compiler cache for it again.
LAUNCHER = re.compile(r"^\S*ccache ")


class BuildError(Exception):
    """Something that should build does not."""


def run(command, folder, timeout=None, **more):
    """Runs a command; its output is text."""
    return subprocess.run(
        command,
        cwd=folder,
        timeout=timeout,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        errors="replace",
        check=False,
        **more,
    )


def copy_changed(root, copy):
    """Makes `copy` the same as `root`; files that are the same keep their time."""
    wanted = set()
    for folder, folders, files in os.walk(root):
        relative = os.path.relpath(folder, root)
        if relative == ".":
            folders[:] = [name for name in folders if not LEFT_OUT.fullmatch(name)]
        for name in files:
            path = os.path.normpath(os.path.join(relative, name))
            wanted.add(path)
            copy_file(os.path.join(root, path), os.path.join(copy, path))
    for folder, _, files in os.walk(copy):
        for name in files:
            path = os.path.relpath(os.path.join(folder, name), copy)
            if path not in wanted:
                os.remove(os.path.join(copy, path))


def copy_file(source, target):
    if os.path.exists(target):
        with open(source, "rb") as new, open(target, "rb") as old:
            if new.read() == old.read():
                return
    os.makedirs(os.path.dirname(target), exist_ok=True)
    shutil.copy(source, target)


class BaseBuild:
    """The build of the unchanged sources."""

    def __init__(self, root, work, jobs):
        self.root = root
        self.work = work
        self.jobs = jobs
        self.sources = os.path.join(work, "src")
        self.tree = os.path.join(work, "tree")

    def prepare(self):
        """Copies the sources and configures their build."""
        copy_changed(self.root, self.sources)
        launcher = shutil.which("ccache") or ""
        self.must(
            ["cmake", "-S", self.sources, "-B", self.tree, *CONFIGURATION]
            + [f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher}"],
            self.work,
        )

    def build(self, targets):
        self.must(["ninja", "-C", self.tree, f"-j{self.jobs}", *targets], self.work)

    def must(self, command, folder):
        result = run(command, folder)
        if result.returncode != 0:
            raise BuildError(f"{command[0]} failed:\n{result.stdout[-6000:]}")
        return result.stdout

    def graph(self):
        commands = json.loads(self.must(["ninja", "-t", "compdb"], self.tree))
        return BuildGraph(self.sources, self.tree, commands, self.read_deps())

    def read_deps(self):
        """The files that each object was compiled from."""
        deps = {}
        for line in self.must(["ninja", "-t", "deps"], self.tree).split("\n"):
            if line.startswith("    "):
                deps[output].add(os.path.normpath(os.path.join(self.tree, line.strip())))
            elif ": #deps" in line:
                output = line.split(": #deps")[0]
                deps[output] = set()
        return deps


class BuildGraph:
    """What is made from what, and how."""

    def __init__(self, sources, tree, commands, deps):
        self.sources = sources
        self.tree = tree
        self.deps = deps
        self.commands = {
            entry["output"]: LAUNCHER.sub("", entry["command"])
            for entry in commands
            if re.search(r"\.(o|a|so[.\d]*)$|^bin/", entry["output"]) and " -o " in entry["command"]
            or entry["output"].endswith(".a")
        }
        self.inputs = {
            output: [word for word in command.split() if self.is_input(word, output)]
            for output, command in self.commands.items()
        }
        self.affected_by = {}
        self.preprocessed = {}
        self.precompiled = PrecompiledHeaders(
            Headers(sources),
            os.path.join(os.path.dirname(tree), "precompiled"),
            lambda command: run(["sh", "-c", command], tree).returncode == 0,
        )
        self.optimised = {}

    def source_of(self, output):
        """The file that an object is compiled from, by its path from the root, or None."""
        match = re.search(r" -c (\S+)", self.commands[output])
        return os.path.relpath(match.group(1), self.sources) if match else None

    def is_input(self, word, output):
        """Whether a word of the command that makes an output is something that it contains.

        A shared library is not: a program that is linked to it takes the mutant's at run time.
        """
        return word in self.commands and word != output and ".so" not in word

    def affected(self, file):
        """All that must be made anew when that file changes."""
        if file not in self.affected_by:
            path = os.path.join(self.sources, file)
            found = {output for output, files in self.deps.items() if path in files}
            found &= set(self.commands)
            grown = True
            while grown:
                more = {o for o, inputs in self.inputs.items() if found.intersection(inputs)}
                grown = not more <= found
                found |= more
            self.affected_by[file] = found
        return self.affected_by[file]

    def needed(self, target, file):
        """What of that must be made anew for one target, in the order of making."""
        affected = self.affected(file)
        order = []

        def visit(output):
            if output not in affected or output in order:
                return
            for part in self.inputs[output]:
                visit(part)
            order.append(output)

        visit(target)
        return order


class Overlay:
    """The build of one mutant."""

    def __init__(self, graph, folder, mutant, source):
        self.graph = graph
        self.folder = folder
        self.mutant = mutant
        self.made = set()
        self.unchanged = set()
        self.seconds = {"compile": 0.0, "link": 0.0}
        path = os.path.join(folder, "src", mutant.file)
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(os.path.dirname(path))
        with open(path, "w", encoding="utf-8") as file:
            file.write(mutant.applied_to(source))

    def make(self, target):
        """Makes a target of the base build with the mutant. Says whether that worked."""
        for output in self.graph.needed(target, self.mutant.file):
            if output in self.made or output in self.unchanged:
                continue
            start = time.monotonic()
            worked = self.make_if_changed(output)
            self.seconds["compile" if output.endswith(".o") else "link"] += time.monotonic() - start
            if not worked:
                return False
        return True

    def make_if_changed(self, output):
        if not self.is_changed(output):
            self.unchanged.add(output)
            return True
        if not self.make_one(output):
            return False
        self.made.add(output)
        return True

    def is_changed(self, output):
        """Whether the mutant makes another output of it, as far as its parts tell."""
        if not output.endswith(".o"):
            return any(part in self.made for part in self.graph.inputs[output])
        if self.graph.source_of(output) == self.mutant.file:
            return True
        if output not in self.graph.preprocessed:
            self.graph.preprocessed[output] = self.preprocessed(self.graph.commands[output])
        mine = self.preprocessed(self.command_for(output))
        return mine is None or mine != self.graph.preprocessed[output]

    def preprocessed(self, command):
        """What the compiler gets to see, without the places that it comes from, or None."""
        without = re.sub(r" (-MD|-MT \S+|-MF \S+|-o \S+)(?= |$)", "", command)
        result = run(["sh", "-c", without + " -E -P"], self.graph.tree)
        return result.stdout if result.returncode == 0 else None

    def make_one(self, output, more_flags=""):
        os.makedirs(os.path.dirname(os.path.join(self.folder, output)), exist_ok=True)
        command = self.command_for(output) + more_flags
        if output.endswith(".o") and not more_flags:
            command += self.graph.precompiled.flag_for(
                output, self.graph.commands[output], self.graph.source_of(output), self.mutant.file
            )
        result = run(["sh", "-c", command], self.graph.tree)
        if result.returncode == 0 and ".so" in output:
            link_names(os.path.join(self.folder, output))
        return result.returncode == 0

    def command_for(self, output):
        """The base build's command, with what is made anew in the mutant's folder."""
        own = self.graph.affected(self.mutant.file) - self.unchanged
        original = os.path.join(self.graph.sources, self.mutant.file)
        own_sources = os.path.join(self.folder, "src")

        def moved(match):
            word = match.group()
            if word == original:
                return os.path.join(own_sources, self.mutant.file)
            plain = word[:-2] if word.endswith(".d") else word
            return os.path.join(self.folder, word) if plain in own else word

        command = re.sub(r"\S+", moved, self.graph.commands[output])
        if output.endswith(".o"):
            command = command.replace(" -I", f" -I{own_sources} -I", 1)
            command += f" -fmacro-prefix-map={own_sources}/="
        return command

    def path_of(self, output):
        """Where an output of the base build is for this mutant."""
        made = os.path.join(self.folder, output)
        return made if output in self.made else os.path.join(self.graph.tree, output)

    def same_code(self, flags=""):
        """Whether every object is, byte for byte, what the unchanged sources give."""
        objects = [o for o in self.graph.affected(self.mutant.file) if o.endswith(".o")]
        return all(self.same_object(output, flags) for output in objects)

    def same_object(self, output, flags):
        """Compiles the unchanged source to the same place, unless that was done, and compares."""
        changed = self.contents(output, flags)
        key = (output, flags, self.mutant.file)
        if changed and key not in self.graph.optimised:
            changed_file = os.path.join(self.folder, "src", self.mutant.file)
            shutil.move(changed_file, changed_file + ".kept")
            shutil.copy(os.path.join(self.graph.sources, self.mutant.file), changed_file)
            self.graph.optimised[key] = self.contents(output, flags)
            shutil.move(changed_file + ".kept", changed_file)
        return changed is not None and changed == self.graph.optimised[key]

    def contents(self, output, flags):
        """An object compiled with more flags, or None if that does not work."""
        worked = self.make_one(output, flags)
        return read_bytes(os.path.join(self.folder, output)) if worked else None

    def remove(self):
        shutil.rmtree(self.folder, ignore_errors=True)


def link_names(path):
    """Gives a shared library its shorter names: libX.so.1 and libX.so."""
    name = os.path.basename(path)
    while not name.endswith(".so"):
        name = name.rpartition(".")[0]
        link = os.path.join(os.path.dirname(path), name)
        if not os.path.lexists(link):
            os.symlink(path, link)


def read_bytes(path):
    with open(path, "rb") as file:
        return file.read()
