"""Runs the tests on a mutant until one fails."""

import json
import os
import re
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
SLOW_TEST_SECONDS = 0.25
# So many tests that caught mutants of the nearest lines are asked before all others.
NEAR_TESTS = 6
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
        self.slow = []
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

    def __init__(self, suites, may_notice=lambda suite, file: True):
        self.suites = suites
        self.may_notice = may_notice
        self.by_file = {}
        self.lock = threading.Lock()

    def of(self, file):
        with self.lock:
            if file not in self.by_file:
                by_name = lambda suite: (-suite.similarity(file), suite.seconds)
                asked = [suite for suite in self.suites if self.may_notice(suite, file)]
                self.by_file[file] = sorted(asked, key=by_name)
            return list(self.by_file[file])

    def caught(self, file, suite):
        with self.lock:
            order = self.by_file[file]
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
        self.lock = threading.Lock()

    def add(self, file, line, why):
        kill = Kill.told_by(why)
        if kill:
            with self.lock:
                self.by_file.setdefault(file, []).append((line, kill))

    def near(self, file, line, count=NEAR_TESTS):
        """The tests that caught mutants of the nearest lines, the latest first of the same line."""
        with self.lock:
            kills = list(reversed(self.by_file.get(file, [])))
        kills.sort(key=lambda entry: abs(entry[0] - line))
        found = {}
        for _, kill in kills:
            if len(found) < count:
                found.setdefault(kill.key(), kill)
        return list(found.values())


def grouped(kills):
    """The same kills as runs of one suite: (suite, numbering, tests)."""
    groups = {}
    for kill in kills:
        groups.setdefault((kill.suite, kill.numbering), []).append(kill.test)
    return [(suite, numbering, tests) for (suite, numbering), tests in groups.items()]


def run_suite(command, folder, environment, seconds):
    """Runs a test binary. Gives None if it passed, else why it did not."""
    process = subprocess.Popen(
        ["nice", "-n", "10", "prlimit", "--core=0", "--as=6000000000", *command],
        cwd=folder,
        env=environment,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        errors="replace",
        start_new_session=True,
    )
    try:
        output, _ = process.communicate(timeout=seconds)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        output, _ = process.communicate()
        return failure_in(output, "does not end")
    if process.returncode == 0:
        return None
    return failure_in(output, f"exit code {process.returncode}")


def failure_in(output, what_else):
    """Which test failed, as the output tells; or the one that was running, and what became of it."""
    failed = re.search(r"\[  FAILED  \] ([\w./]+)", output)
    if failed:
        return failed.group(1)
    started = re.findall(r"\[ RUN      \] ([\w./]+)", output)
    return f"{started[-1]} {what_else}" if started else what_else


def environment_for(folder, library_folder, numbering, chosen):
    return dict(
        os.environ,
        LD_LIBRARY_PATH=library_folder,
        PELORA_SDK_NUMBERING=numbering,
        GTEST_FAIL_FAST="1",
        GTEST_FILTER=chosen,
        TMPDIR=folder,
        TEST_TMPDIR=folder,
    )


def measure_baseline(suites, tree, folder):
    """Runs everything on the unchanged sources: it must pass, and shows what is slow."""
    os.makedirs(folder, exist_ok=True)
    for suite in suites:
        report = os.path.join(folder, "times.json")
        command = [os.path.join(tree, suite.target), "--gtest_output=json:" + report]
        must_pass(suite, command, folder, "default")
        with open(report, encoding="utf-8") as file:
            times = times_by_test(json.load(file))
        suite.slow = sorted(name for name, seconds in times.items() if seconds > SLOW_TEST_SECONDS)
        suite.seconds = sum(times.values())
        if suite.has_numberings:
            must_pass(suite, command[:1], folder, OTHER_NUMBERING)


def must_pass(suite, command, folder, numbering):
    why = run_suite(command, folder, environment_for(folder, "", numbering, "*"), 600)
    if why:
        raise BaselineError(f"{suite.name} fails on the unchanged sources ({numbering}): {why}")


def times_by_test(report):
    return {
        case["classname"] + "." + case["name"]: float(case["time"].rstrip("s"))
        for group in report["testsuites"]
        for case in group["testsuite"]
    }


class Stage:
    """One of the rounds in which the suites are run."""

    def __init__(self, numbering, slow):
        self.numbering = numbering
        self.slow = slow

    def applies_to(self, suite):
        return bool(suite.slow) if self.slow else suite.has_numberings or self.numbering == "default"

    def filter_for(self, suite):
        if self.slow:
            return ":".join(suite.slow)
        return "*-" + ":".join(suite.slow) if suite.slow else "*"


# Quick tests first; what is slow, and another numbering, only for what they do not catch.
STAGES = [Stage("default", slow=False), Stage("default", slow=True), Stage(OTHER_NUMBERING, slow=False)]


class Trial:
    """One mutant against all suites."""

    def __init__(self, overlay, order, past_kills):
        self.overlay = overlay
        self.order = order
        self.past_kills = past_kills
        self.folder = os.path.join(overlay.folder, "run")
        self.seconds = 0.0
        os.makedirs(self.folder, exist_ok=True)

    def who_catches(self, mutant):
        """The test that catches the mutant, or None."""
        why = self.ask_near(mutant) or self.ask_all(mutant.file)
        if why:
            self.past_kills.add(mutant.file, mutant.line, why)
        return why

    def ask_near(self, mutant):
        """Asks single tests that caught mutants of the lines around it."""
        by_name = {suite.name: suite for suite in self.order.of(mutant.file)}
        for name, numbering, tests in grouped(self.past_kills.near(mutant.file, mutant.line)):
            if name in by_name:
                why = self.ask(by_name[name], numbering, ":".join(tests))
                if why:
                    return why
        return None

    def ask_all(self, file):
        for stage in STAGES:
            for suite in self.order.of(file):
                if stage.applies_to(suite):
                    why = self.ask(suite, stage.numbering, stage.filter_for(suite))
                    if why:
                        self.order.caught(file, suite)
                        return why
        return None

    def ask(self, suite, numbering, chosen):
        """Why a suite's chosen tests catch the mutant, or None."""
        if not self.overlay.make(suite.target):
            return f"{suite.name}: does not compile"
        start = time.monotonic()
        library_folder = os.path.join(self.overlay.folder, "lib")
        environment = environment_for(self.folder, library_folder, numbering, chosen)
        limit = 15 + 10 * suite.seconds
        why = run_suite([self.binary(suite)], self.folder, environment, limit)
        self.seconds += time.monotonic() - start
        if not why:
            return None
        return f"{suite.name}: {why}" + (f" ({numbering})" if numbering != "default" else "")

    def binary(self, suite):
        path = self.overlay.path_of(suite.target)
        made = [output for output in self.overlay.made if output.startswith(LIBRARY)]
        if suite.name not in LOAD_BY_PATH or not made:
            return path
        return patched(path, self.folder, self.overlay)


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
