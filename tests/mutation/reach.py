"""Which suites call functions of which source of the library: the others cannot notice a mutant of it.

The library is built once more. In this build every function first marks its source in a file that
the processes of a suite share, so that what a child does counts, however it ends. What runs while
the library is loaded does not count: it runs in every suite.
"""

import os
import re

from base_build import BuildError, link_names
from trials import LOAD_BY_PATH, BaselineError, environment_for, run_suite

LIBRARY = "lib/libPeloraTcamSdk6Helpers.so.1.0.0"
INSTRUMENTED = ("__cyg_profile_func_enter", "__cyg_profile_func_exit")

HOOKS = """
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
namespace {
char* seen = nullptr;
// Linked behind the sources of the library, so this runs when they have been initialised.
__attribute__( ( constructor ) ) void begin()
{
    const int file = open( getenv( "PELORA_REACHED" ), O_RDWR );
    void* const place = mmap( nullptr, SOURCES, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0 );
    seen = place == MAP_FAILED ? nullptr : static_cast< char* >( place );
    close( file );
}
} // namespace
"""
HOOK = 'extern "C" void reached_NUMBER( void*, void* ) { if ( seen ) { seen[ NUMBER ] = 1; } }\n'
NO_HOOK = 'extern "C" void left( void*, void* ) {}\n'


def hooks_for(count):
    """The source that the marks of so many sources are made in."""
    hooks = "".join(HOOK.replace("NUMBER", str(number)) for number in range(count))
    return HOOKS.replace("SOURCES", str(count)) + hooks + NO_HOOK


class Reach:
    """What was found out; asks nobody who cannot notice."""

    def __init__(self, graph, suites_by_object):
        self.graph = graph
        self.suites_by_object = suites_by_object

    def may_notice(self, suite, file):
        """Whether a mutant of that file could make a test of the suite fail."""
        if self.graph.needed(suite.target, file):
            return True
        objects = self.graph.affected(file) & set(self.suites_by_object)
        reached_by = set().union(*(self.suites_by_object[output] for output in objects))
        # What nobody is seen to call is data, which anybody may read.
        return not reached_by or suite.name in reached_by


class ReachBuild:
    """The library that marks what is called."""

    def __init__(self, graph, folder, must):
        self.graph = graph
        self.folder = folder
        self.must = must
        self.objects = [part for part in graph.inputs[LIBRARY] if part.startswith("PeloraTcam/")]

    def make(self):
        os.makedirs(os.path.join(self.folder, "lib"), exist_ok=True)
        replaced = {output: self.compile(n, output) for n, output in enumerate(self.objects)}
        hooks = os.path.join(self.folder, "hooks.cpp")
        with open(hooks, "w", encoding="utf-8") as file:
            file.write(hooks_for(len(self.objects)))
        self.shell(f"g++ -O1 -fPIC -c {hooks} -o {hooks}.o")
        replaced[self.objects[-1]] += f" {hooks}.o"
        library = os.path.join(self.folder, LIBRARY)
        command = re.sub(r"\S+", lambda m: replaced.get(m.group(), m.group()), self.graph.commands[LIBRARY])
        self.shell(command.replace(f"-o {LIBRARY}", f"-o {library}"))
        link_names(library)

    def compile(self, number, output):
        place = os.path.join(self.folder, f"{number}.o")
        command = re.sub(r" (-MD|-MT \S+|-MF \S+)(?= |$)", "", self.graph.commands[output])
        self.shell(command.replace(f"-o {output}", f"-o {place}") + " -finstrument-functions")
        renamed = zip(INSTRUMENTED, (f"reached_{number}", "left"))
        self.shell("objcopy " + " ".join(f"--redefine-sym {a}={b}" for a, b in renamed) + " " + place)
        return place

    def shell(self, command):
        self.must(["sh", "-c", command], self.graph.tree)

    def reached_by(self, suite):
        """The objects whose functions a suite calls."""
        if suite.name in LOAD_BY_PATH:
            return set(self.objects)
        marks = os.path.join(self.folder, "marks")
        with open(marks, "wb") as file:
            file.write(bytes(len(self.objects)))
        library_folder = os.path.join(self.folder, "lib")
        environment = environment_for(self.folder, library_folder, "default", "*")
        environment["PELORA_REACHED"] = marks
        command = [os.path.join(self.graph.tree, suite.target)]
        why = run_suite(command, self.folder, environment, 900)
        if why:
            raise BaselineError(f"{suite.name} fails on the library that marks what is called: {why}")
        with open(marks, "rb") as file:
            seen = file.read()
        return {output for output, mark in zip(self.objects, seen) if mark}


def measure_reach(graph, suites, folder, must):
    """Builds that library, runs all suites on it, and gives what they reach."""
    build = ReachBuild(graph, folder, must)
    build.make()
    by_object = {output: set() for output in build.objects}
    for suite in suites:
        for output in build.reached_by(suite):
            by_object[output].add(suite.name)
    if not any(by_object.values()):
        raise BuildError("no suite calls anything of the library")
    return Reach(graph, by_object)
