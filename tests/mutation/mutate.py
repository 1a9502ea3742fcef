"""Changes the sources a little, again and again, and sees whether the tests notice.

scripts/mutate calls it; README.md tells how it works.
"""

import argparse
import collections
import fcntl
import os
import queue
import sys
import threading
import time

from base_build import BaseBuild, BuildError, Overlay
from choice import choose
from explained import ExplainedError, as_entry, read_explained, reason_for
from mutations import KINDS, mutants_of
from reach import measure_reach
from results import Results, ResultsError
from trials import BaselineError, Order, PastKills, Trial, measure_baseline, suites_of

FOLDERS = ("PeloraTcam", "sdk")
ENDINGS = (".cpp", ".h", ".def")
EXPLAINED = "tests/mutation/explained.txt"
RESULTS = "build/mutate/results.jsonl"
LEAST_CAUGHT = 0.95
MOST_OBJECTS_COMPARED = 20

CAUGHT, SURVIVED, EXPLAINED_AWAY = "caught", "SURVIVED", "explained"
SAME_CODE, INVALID = "same code", "invalid"


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(
        prog="scripts/mutate",
        description="Changes PeloraTcam/ and sdk/ a little, one change at a time, in a copy, and "
        "runs the tests on each changed build. Exit code: 0 if at least 95 % of the changes are "
        "caught, 1 if not, 2 if nothing could be tried; with --all, 3 if changes are left to try.",
    )
    parser.add_argument("--seed", type=int, default=1, help="decides the choice (default: 1)")
    parser.add_argument("--mutants", type=int, default=60, help="how many to try (default: 60)")
    parser.add_argument(
        "--minutes", type=float, default=30, help="start none after that time (default: 30)"
    )
    parser.add_argument(
        "--all",
        action="store_true",
        help="try every change, file by file, in as many runs as it takes: what the results file "
        "has is not tried again",
    )
    parser.add_argument(
        "--results",
        metavar="FILE",
        default=RESULTS,
        help=f"where --all keeps the verdicts (default: {RESULTS})",
    )
    parser.add_argument(
        "--again", action="store_true", help="with --all: try again what survived so far"
    )
    parser.add_argument("--file", action="append", help="only this file, or files (may be repeated)")
    parser.add_argument("--kind", action="append", choices=KINDS, help="only this kind")
    parser.add_argument("--list", action="store_true", help="list what could be tried, and end")
    return parser.parse_args(arguments)


def sources_of(root, only):
    """The files that are mutated, by their paths from the root."""
    files = {}
    for folder in FOLDERS:
        for name in sorted(os.listdir(os.path.join(root, folder))):
            if name.endswith(ENDINGS) and (not only or f"{folder}/{name}" in only):
                with open(os.path.join(root, folder, name), encoding="utf-8") as file:
                    files[f"{folder}/{name}"] = file.read()
    return files


def print_list(mutants):
    for mutant in mutants:
        print(f"{mutant.file}:{mutant.line}: {mutant.kind}")
        print(f"    - {mutant.before}\n    + {mutant.after}")
    kinds = collections.Counter(mutant.kind for mutant in mutants)
    print(f"{len(mutants)} mutants:", ", ".join(f"{kinds[kind]} {kind}" for kind in KINDS))


class MutationRun:
    """The trials of all chosen mutants, on several threads."""

    def __init__(self, base, graph, order, sources, explained, kept=None):
        self.base = base
        self.graph = graph
        self.order = order
        self.past_kills = PastKills()
        self.sources = sources
        self.explained = explained
        self.kept = kept
        self.results = []
        self.seconds = collections.Counter()
        self.lock = threading.Lock()

    def run(self, chosen, workers, minutes):
        self.total = len(chosen)
        self.end = time.monotonic() + 60 * minutes
        waiting = queue.SimpleQueue()
        for mutant in chosen:
            waiting.put(mutant)
        threads = [
            threading.Thread(target=self.work, args=(waiting, f"mut{worker}"), daemon=True)
            for worker in range(workers)
        ]
        self.failure = None
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        if self.failure:
            raise self.failure

    def work(self, waiting, folder_name):
        folder = os.path.join(self.base.work, folder_name)
        while time.monotonic() < self.end and not self.failure:
            try:
                mutant = waiting.get_nowait()
            except queue.Empty:
                return
            try:
                self.note(mutant, *self.try_one(mutant, folder))
            except Exception as failure:  # handed to the main thread
                self.failure = failure

    def try_one(self, mutant, folder):
        """What becomes of a mutant, who caught it, and how long what took."""
        overlay = Overlay(self.graph, folder, mutant, self.sources[mutant.file])
        trial = Trial(overlay, self.order, self.past_kills)
        try:
            outcome, why = self.judged(mutant, overlay, trial)
            return outcome, why, {**overlay.seconds, "tests": trial.seconds}
        finally:
            overlay.remove()

    def judged(self, mutant, overlay, trial):
        for library in ("lib/libPeloraAgent.so.1.0.0", "lib/libPeloraTcamSdk6Helpers.so.1.0.0"):
            if not overlay.make(library):
                return INVALID, "does not compile"
        who = trial.who_catches(mutant)
        if who:
            return CAUGHT, who
        reason = reason_for(mutant, self.explained)
        if reason:
            return EXPLAINED_AWAY, reason
        few = len(self.graph.affected(mutant.file)) <= MOST_OBJECTS_COMPARED
        if few and overlay.same_code(" -O2"):
            return SAME_CODE, "the optimising compiler makes the same code of it"
        return SURVIVED, ""

    def note(self, mutant, outcome, why, seconds):
        with self.lock:
            self.results.append((mutant, outcome, why))
            if self.kept:
                self.kept.add(mutant, outcome, why, seconds)
            for name, value in seconds.items():
                self.seconds[name] += value
            place = f"{mutant.file}:{mutant.line}"
            number = f"[{len(self.results)}/{self.total}]"
            print(f"{number} {outcome:9} {mutant.kind:10} {place}  {why}", flush=True)
            if outcome == SURVIVED:
                print(f"    - {mutant.before}\n    + {mutant.after}", flush=True)


def print_table(results):
    outcomes = (CAUGHT, EXPLAINED_AWAY, SURVIVED, SAME_CODE, INVALID)
    counts = collections.Counter((mutant.kind, outcome) for mutant, outcome, _ in results)
    print("\n" + "kind".ljust(12) + "".join(outcome.rjust(11) for outcome in outcomes))
    for kind in KINDS:
        print(kind.ljust(12) + "".join(str(counts[kind, outcome]).rjust(11) for outcome in outcomes))


def judge(results):
    """Prints the result; gives the exit code."""
    count = collections.Counter(outcome for _, outcome, _ in results)
    valid = len(results) - count[INVALID] - count[SAME_CODE]
    judged = valid - count[EXPLAINED_AWAY]
    print_table(results)
    survivors = [mutant for mutant, outcome, _ in results if outcome == SURVIVED]
    if survivors:
        print(f"\nSurvivors, as {EXPLAINED} would list them:\n")
        for mutant in survivors:
            print(as_entry(mutant))
    if not judged:
        print("\nNo valid mutant was tried.")
        return 2
    share = count[CAUGHT] / judged
    print(
        f"\n{valid} valid mutants: {count[CAUGHT]} caught, {count[EXPLAINED_AWAY]} explained, "
        f"{count[SURVIVED]} survived. Of those not explained {100 * share:.1f} % were caught "
        f"({100 * LEAST_CAUGHT:.0f} % are needed)."
    )
    return 0 if share >= LEAST_CAUGHT else 1


def workers_that_fit():
    """Two, unless there is one processor or little memory."""
    with open("/proc/meminfo", encoding="utf-8") as file:
        available = next(int(line.split()[1]) for line in file if line.startswith("MemAvailable"))
    return max(1, min(2, os.cpu_count() or 1, available // 1500000))


def prepare(base):
    """Builds the unchanged sources and their tests, and runs them."""
    print("Building the unchanged sources ...", flush=True)
    base.prepare()
    listing = base.must(["ctest", "--show-only=json-v1"], base.tree)
    suites = suites_of(listing, {})
    base.build([suite.target for suite in suites])
    graph = base.graph()
    suites = suites_of(listing, graph.inputs)
    print("Running the tests on them ...", flush=True)
    measure_baseline(suites, base.tree, os.path.join(base.work, "baseline"))
    print("Finding out which suites reach which source ...", flush=True)
    reach = measure_reach(graph, suites, os.path.join(base.work, "reach"), base.must)
    return graph, Order(suites, reach.may_notice)


def is_costly(graph):
    """Says of a file whether anything but the library's own sources includes it."""
    return lambda file: any(
        output.endswith(".o") and not output.startswith("PeloraTcam/")
        for output in graph.affected(file)
    )


def main(arguments):
    options = parse_arguments(arguments)
    root = os.getcwd()
    sources = sources_of(root, options.file)
    if options.file and len(sources) < len(set(options.file)):
        print("No such source:", *sorted(set(options.file) - set(sources)), file=sys.stderr)
        return 2
    mutants = [m for file, text in sources.items() for m in mutants_of(file, text)]
    mutants = [m for m in mutants if not options.kind or m.kind in options.kind]
    if options.list:
        print_list(mutants)
        return 0

    work = os.path.join(root, "build", "mutate")
    os.makedirs(work, exist_ok=True)
    with open(os.path.join(work, "lock"), "w", encoding="utf-8") as lock:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            print("Another run is using build/mutate.", file=sys.stderr)
            return 2
        return run_chosen(options, root, work, sources, mutants)


def run_chosen(options, root, work, sources, mutants):
    workers = workers_that_fit()
    try:
        with open(os.path.join(root, EXPLAINED), encoding="utf-8") as file:
            explained = read_explained(file.read())
        kept = Results(options.results, sources) if options.all else None
        base = BaseBuild(root, work, workers)
        graph, order = prepare(base)
        run = MutationRun(base, graph, order, sources, explained, kept)
        if options.all:
            return run_all(options, run, mutants, workers)
        chosen = choose(mutants, options.seed, options.mutants, is_costly(graph))
        print(f"Trying {len(chosen)} of {len(mutants)} mutants, seed {options.seed}:", flush=True)
        run.run(chosen, workers, options.minutes)
    except (BuildError, BaselineError, ExplainedError, ResultsError) as failure:
        print(failure, file=sys.stderr)
        return 2
    print_times(run)
    return judge(run.results)


def run_all(options, run, mutants, workers):
    """Tries what the results file does not have yet, and judges all that is known."""
    left = []
    for mutant in mutants:
        known = run.kept.of(mutant)
        if known:
            run.past_kills.add(mutant.file, mutant.line, known["why"])
        if not known or (options.again and known["outcome"] in (SURVIVED, EXPLAINED_AWAY)):
            left.append(mutant)
    left.sort(key=lambda mutant: (len(run.graph.affected(mutant.file)), mutant.file, mutant.start))
    print(f"Trying {len(left)} of {len(mutants)} mutants; the others are known:", flush=True)
    run.run(left, workers, options.minutes)
    print_times(run)
    judged = all_known(run, mutants)
    code = judge(judged)
    if len(judged) < len(mutants):
        print(f"{len(mutants) - len(judged)} mutants are left to try.")
        return 3
    return code


def all_known(run, mutants):
    """The verdicts of the results file, as the list of explained mutants stands now."""
    judged = []
    for mutant in mutants:
        known = run.kept.of(mutant)
        if known:
            outcome = known["outcome"]
            if outcome in (SURVIVED, EXPLAINED_AWAY):
                outcome = EXPLAINED_AWAY if reason_for(mutant, run.explained) else SURVIVED
            judged.append((mutant, outcome, known["why"]))
    return judged


def print_times(run):
    if run.results:
        each = {name: value / len(run.results) for name, value in run.seconds.items()}
        parts = ", ".join(f"{name} {value:.2f} s" for name, value in each.items())
        print(f"\nA mutant took on average: {parts}.")


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except KeyboardInterrupt:
        sys.exit(130)
