"""Runs the tests on a mutant until one fails."""

import collections
import itertools
import json
import os
import re
import resource
import signal
import subprocess
import threading
import time

# The tests that are asked. Those that read the sources themselves are not: a change of the text
# that they notice proves nothing about what the program does.
ASKED = re.compile(r"(library|sdk|support)\.\w+|sim\.SdkNumbering")
READ_SOURCES = {"library.CallSites", "library.TwinsDocument"}
# They load the library from a path that is compiled in.
LOAD_BY_PATH = {"library.BuiltLibrary", "library.LoadOrder", "library.UdfLogMessages"}
OTHER_NUMBERING = "shuffled:1"
# All tests that take no longer, a start of the program included, are asked before those that do.
QUICK_TEST_SECONDS = (0.03, 0.08, 0.25)
# Asked before all others: so many tests that caught mutants of the nearest lines, so many that
# caught most mutants of the file, and so many of so many suites.
NEAR_TESTS = 4
FREQUENT_TESTS = 6
FIRST_SUITES = 3
FIRST_TESTS = 5
LIBRARY = "lib/libPeloraTcamSdk6Helpers.so"


class BaselineError(Exception):
    """A test fails on the unchanged sources, so it can prove nothing."""


class Suite:
    """One test binary."""

    def __init__(self, name, has_numberings, sources):
        self.name = name
        self.has_numberings = has_numberings
        self.target = "bin/test_" + name.replace(".", "_")
        self.sources = sources
        self.times = {}  # the seconds that each test takes
        self.seconds = 0.0

    def similarity(self, file):
        """How much the name of one of its sources is like that of a file."""
        stem = os.path.splitext(os.path.basename(file))[0]
        return max((len(os.path.commonprefix([stem, source])) for source in self.sources), default=0)


def suites_of(ctest_json, inputs):
    """The suites, from what `ctest --show-only=json-v1` gives and what each binary is linked of."""
    names = [test["name"] for test in json.loads(ctest_json)["tests"]]
    found = {}
    for name in names:
        base = re.sub(r"\.(default|shuffled:\d+)$", "", name)
        if ASKED.fullmatch(base) and base not in READ_SOURCES:
            found[base] = found.get(base, False) or base != name
    suites = []
    for base in sorted(found):
        target = "bin/test_" + base.replace(".", "_")
        sources = [os.path.basename(part).split(".")[0] for part in inputs.get(target, [])]
        suites.append(Suite(base, found[base], sources))
    return suites


class Order:
    """In which order the suites are asked about a file: those that caught most lately first."""

    def __init__(self, suites):
        self.suites = suites
        self.by_file = {}
        self.lock = threading.Lock()

    def of(self, file):
        with self.lock:
            return list(self.known(file))

    def known(self, file):
        if file not in self.by_file:
            by_name = lambda suite: (-suite.similarity(file), suite.seconds)
            self.by_file[file] = sorted(self.suites, key=by_name)
        return self.by_file[file]

    def caught(self, file, suite):
        with self.lock:
            order = self.known(file)
            order.remove(suite)
            order.insert(0, suite)


class Kill:
    """A test that caught a mutant, and under which numbering."""

    FORM = re.compile(r"(?P<suite>[\w.]+): (?P<test>\w+(?:/\w+)?\.[\w/]+)(?P<how>.*)")

    def __init__(self, suite, test, numbering):
        self.suite = suite
        self.test = test
        self.numbering = numbering

    @staticmethod
    def told_by(why):
        """The kill that a verdict tells of, or None if it names no test."""
        match = Kill.FORM.match(why)
        if not match:
            return None
        numbering = OTHER_NUMBERING if OTHER_NUMBERING in match.group("how") else "default"
        return Kill(match.group("suite"), match.group("test"), numbering)

    def key(self):
        return (self.suite, self.test, self.numbering)


class PastKills:
    """Which tests caught the mutants of which line: likely those that catch its other mutants."""

    def __init__(self):
        self.by_file = {}
        self.counts = {}
        self.lock = threading.Lock()

    def add(self, file, line, why):
        kill = Kill.told_by(why)
        if kill:
            with self.lock:
                self.by_file.setdefault(file, []).append((line, kill))
                self.counts.setdefault(file, collections.Counter())[kill.key()] += 1

    def frequent(self, file, may_ask, count=FREQUENT_TESTS):
        """The tests that caught most mutants of a file, of those for which `may_ask( kill )` holds."""
        with self.lock:
            kills = [Kill(*key) for key, _ in self.counts.get(file, collections.Counter()).most_common()]
        return list(itertools.islice(filter(may_ask, kills), count))

    def near(self, file, line, may_ask, count=NEAR_TESTS):
        """The tests that caught mutants of the nearest lines, the latest first of the same line.

        Only those for which `may_ask( kill )` holds.
        """
        with self.lock:
            kills = list(reversed(self.by_file.get(file, [])))
        kills.sort(key=lambda entry: abs(entry[0] - line))
        found = {}
        for _, kill in kills:
            if len(found) < count and may_ask(kill):
                found.setdefault(kill.key(), kill)
        return list(found.values())


def grouped(kills):
    """The same kills as runs of one suite: (suite, numbering, tests)."""
    groups = {}
    for kill in kills:
        groups.setdefault((kill.suite, kill.numbering), []).append(kill.test)
    return [(suite, numbering, tests) for (suite, numbering), tests in groups.items()]


def run_suite(command, folder, environment, limit, patience=None):
    """Runs a test binary. Gives None if it passed, else why it did not.

    It may take `limit` seconds of the processor, and `patience` by the clock: on a busy machine ten
    times as many, and twenty more.
    """
    process = subprocess.Popen(
        command,
        cwd=folder,
        env=environment,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        errors="replace",
        start_new_session=True,
    )
    restrict(process.pid, limit)
    try:
        output, _ = process.communicate(timeout=patience or 20 + 10 * limit)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        output, _ = process.communicate()
        return failure_in(output, "does not end")
    if process.returncode == 0:
        return None
    ended = process.returncode == -signal.SIGXCPU
    return failure_in(output, "does not end" if ended else f"exit code {process.returncode}")


def restrict(process, seconds):
    """Restricts the memory and the time of a process."""
    limits = {
        resource.RLIMIT_CORE: 0,
        resource.RLIMIT_AS: 6_000_000_000,
        resource.RLIMIT_CPU: 1 + int(seconds),
    }
    for limit, value in limits.items():
        try:
            resource.prlimit(process, limit, (value, value + 1 if value else 0))
        except ProcessLookupError:
            return


def failure_in(output, what_else):
    """Which test failed, as the output tells; or the one that was running, and what became of it."""
    failed = re.search(r"\[  FAILED  \] ([\w./]+)", output)
    if failed and "." in failed.group(1):
        return failed.group(1)
    started = re.findall(r"\[ RUN      \] ([\w./]+)", output)
    return f"{started[-1]} {what_else}" if started else what_else


def environment_for(folder, library_folder, numbering, chosen, mutant=0):
    return dict(
        os.environ,
        LD_LIBRARY_PATH=library_folder,
        PELORA_MUTANT=str(mutant),
        PELORA_SDK_NUMBERING=numbering,
        GTEST_FAIL_FAST="1",
        GTEST_FILTER=chosen,
        TMPDIR=folder,
        TEST_TMPDIR=folder,
    )


def measure_baseline(suites, tree, folder, kept):
    """Runs everything on the unchanged sources: it must pass, and shows what is slow.

    `kept( suite, measure )` gives what was measured before, if it still holds.
    """
    os.makedirs(folder, exist_ok=True)
    for suite in suites:
        suite.times = kept(suite, lambda: baseline_of(suite, tree, folder))
        suite.seconds = sum(suite.times.values())


def baseline_of(suite, tree, folder):
    report = os.path.join(folder, "times.json")
    command = [os.path.join(tree, suite.target), "--gtest_output=json:" + report]
    must_pass(suite, command, folder, "default")
    with open(report, encoding="utf-8") as file:
        times = times_by_test(json.load(file))
    if suite.has_numberings:
        must_pass(suite, command[:1], folder, OTHER_NUMBERING)
    return times


def must_pass(suite, command, folder, numbering):
    why = run_suite(command, folder, environment_for(folder, "", numbering, "*"), 600)
    if why:
        raise BaselineError(f"{suite.name} fails on the unchanged sources ({numbering}): {why}")


def times_by_test(report):
    return {
        case["classname"] + "." + case["name"]: float(case["time"].rstrip("s"))
        for group in report["testsuites"]
        for case in group["testsuite"]
        if case.get("result") == "COMPLETED"
    }


class Round:
    """Tests of one suite that one process runs."""

    def __init__(self, suite, numbering, tests):
        self.suite = suite
        self.numbering = numbering
        self.tests = tests

    def limit(self):
        """How many seconds of the processor they may take."""
        return 2 + 3 * sum(self.suite.times[test] for test in self.tests)

    def filter(self):
        every = len(self.tests) == len(self.suite.times)
        return "*" if every else ":".join(self.tests)


def first_rounds(suites, asked):
    """The runs that a mutant is tried with first of all.

    `suites`: in the order of asking; `asked`: the tests of each that may notice, by its name.
    """
    for suite, tests in chosen_of(suites, asked)[:FIRST_SUITES]:
        yield Round(suite, "default", tests[:FIRST_TESTS])


def quick_rounds(suites, asked):
    """The runs that a mutant is tried with: what takes least and tells most comes first."""
    yield from first_rounds(suites, asked)
    chosen = chosen_of(suites, asked)
    longer_than = -1.0
    for at_most in QUICK_TEST_SECONDS:
        for suite, tests in chosen:
            some = [test for test in tests if longer_than < suite.times[test] <= at_most]
            if some:
                yield Round(suite, "default", some)
        longer_than = at_most


def slow_rounds(suites, asked):
    """The runs that follow if none of those catches it: another numbering, and what takes long."""
    chosen = chosen_of(suites, asked)
    for suite, tests in chosen:
        some = [test for test in tests if suite.times[test] <= QUICK_TEST_SECONDS[-1]]
        if suite.has_numberings and some:
            yield Round(suite, OTHER_NUMBERING, some)
    for suite, tests in chosen:
        some = [test for test in tests if suite.times[test] > QUICK_TEST_SECONDS[-1]]
        if some:
            yield Round(suite, "default", some)


def chosen_of(suites, asked):
    chosen = [(suite, quickest_first(suite, asked.get(suite.name, ()))) for suite in suites]
    return [(suite, tests) for suite, tests in chosen if tests]


def quickest_first(suite, tests):
    return sorted((test for test in tests if test in suite.times), key=lambda test: (suite.times[test], test))


class Trial:
    """Mutants of one build against the tests."""

    def __init__(self, overlay, order, past_kills):
        self.overlay = overlay
        self.order = order
        self.past_kills = past_kills
        self.folder = os.path.join(overlay.folder, "run")
        self.binaries = {}
        self.unfit = set()  # tests that fail on this build without any mutant
        self.proven = set()
        self.seconds = 0.0
        os.makedirs(self.folder, exist_ok=True)

    def who_catches(self, mutant, asked, number=0, stages=(quick_rounds, slow_rounds)):
        """The test that catches the mutant, or None.

        `asked`: the tests that may notice it, by suite; `number`: which mutant of the build it is,
        0 if the build has no other; `stages`: which runs it is tried with.
        """
        for one in self.near_rounds(mutant, asked):
            why = self.ask(one, number)
            if why:
                return self.noted(mutant, why)
        suites = self.order.of(mutant.file)
        for one in itertools.chain(*(stage(suites, asked) for stage in stages)):
            why = self.ask(one, number)
            if why:
                self.order.caught(mutant.file, one.suite)
                return self.noted(mutant, why)
        return None

    def left_out(self, asked):
        """Whether some of these tests were not run, as they fail on this build anyway."""
        return any(test in asked.get(suite, ()) for suite, test, _ in self.unfit)

    def noted(self, mutant, why):
        self.past_kills.add(mutant.file, mutant.line, why)
        return why

    def near_rounds(self, mutant, asked):
        """Single tests that caught mutants of the lines around it, or many of the file."""
        by_name = {suite.name: suite for suite in self.order.of(mutant.file)}

        def may_ask(kill):
            if kill.suite not in by_name or kill.test not in asked.get(kill.suite, ()):
                return False
            # One that takes longer is asked in its turn.
            return by_name[kill.suite].times.get(kill.test, 0) <= QUICK_TEST_SECONDS[1]

        near = self.past_kills.near(mutant.file, mutant.line, may_ask)
        tried = {kill.key() for kill in near}
        frequent = self.past_kills.frequent(mutant.file, may_ask)
        for kills in (near, [kill for kill in frequent if kill.key() not in tried]):
            for name, numbering, tests in grouped(kills):
                yield Round(by_name[name], numbering, tests)

    def ask(self, one, number):
        """Why tests catch the mutant, or None."""
        if not self.overlay.make(one.suite.target):
            if number == 0:
                return f"{one.suite.name}: does not compile"
            self.unfit |= {(one.suite.name, test, one.numbering) for test in one.tests}
            return None
        while True:
            tests = [t for t in one.tests if (one.suite.name, t, one.numbering) not in self.unfit]
            one = Round(one.suite, one.numbering, tests)
            why = self.run(one, number) if tests else None
            if not why:
                return None
            if number == 0 or self.is_proof(one, why):
                other = f" ({one.numbering})" if one.numbering != "default" else ""
                return f"{one.suite.name}: {why}{other}"

    def is_proof(self, one, why):
        """Whether the test that failed passes on the same build without the mutant."""
        failed = [test for test in one.tests if why == test or why.startswith(test + " ")] or one.tests
        keys = {(one.suite.name, test, one.numbering) for test in failed}
        if not keys <= self.proven:
            if self.run(Round(one.suite, one.numbering, failed), 0):
                self.unfit |= keys
                return False
            self.proven |= keys
        return True

    def run(self, one, number):
        start = time.monotonic()
        library_folder = os.path.join(self.overlay.folder, "lib")
        environment = environment_for(
            self.folder, library_folder, one.numbering, one.filter(), number
        )
        why = run_suite([self.binary(one.suite)], self.folder, environment, one.limit())
        self.seconds += time.monotonic() - start
        return why

    def binary(self, suite):
        path = self.overlay.path_of(suite.target)
        made = [output for output in self.overlay.made if output.startswith(LIBRARY)]
        if suite.name not in LOAD_BY_PATH or not made:
            return path
        if path not in self.binaries:
            self.binaries[path] = patched(path, self.folder, self.overlay)
        return self.binaries[path]


def patched(path, folder, overlay):
    """A copy of a test binary that loads the mutant's library.

    The folder of a mutant has a name as long as that of the base build.
    """
    theirs = os.path.join(overlay.graph.tree, LIBRARY).encode()
    ours = os.path.join(overlay.folder, LIBRARY).encode()
    with open(path, "rb") as file:
        contents = file.read()
    if len(theirs) != len(ours) or theirs not in contents:
        raise BaselineError(path + " does not load the library from where it was built")
    copy = os.path.join(folder, os.path.basename(path))
    with open(copy, "wb") as file:
        file.write(contents.replace(theirs, ours))
    os.chmod(copy, 0o755)
    return copy
