"""Changes the sources a little, again and again, and sees whether the tests notice.

scripts/mutate calls it; README.md tells how it works.
"""

import argparse
import collections
import fcntl
import os
import sys

from base_build import BaseBuild, BuildError
from choice import choose
from explained import ExplainedError, as_entry, read_explained, reason_for
from measured import Measured
from mutation_run import CAUGHT, EXPLAINED, EXPLAINED_AWAY, INVALID, SAME_CODE, SURVIVED
from mutation_run import MutationRun
from mutations import KINDS, mutants_of
from reach import measure_reach
from results import Results, ResultsError
from trials import BaselineError, Order, measure_baseline, suites_of

FOLDERS = ("PeloraTcam", "sdk")
ENDINGS = (".cpp", ".h", ".def")
RESULTS = "tests/mutation/results.txt"
LEAST_CAUGHT = 0.95
OUTCOMES = {"caught": CAUGHT, "survived": SURVIVED, "same": SAME_CODE, "invalid": INVALID}


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
    parser.add_argument(
        "--jobs",
        type=int,
        default=workers_that_fit(),
        help="work on so many files at a time (default: what fits, at most 2)",
    )
    parser.add_argument("--file", action="append", help="only this file, or files (may be repeated)")
    parser.add_argument("--kind", action="append", choices=KINDS, help="only this kind")
    parser.add_argument("--list", action="store_true", help="list what could be tried, and end")
    return parser.parse_args(arguments)


def sources_of(root):
    """The files that are mutated, by their paths from the root."""
    files = {}
    for folder in FOLDERS:
        for name in sorted(os.listdir(os.path.join(root, folder))):
            if name.endswith(ENDINGS):
                with open(os.path.join(root, folder, name), encoding="utf-8") as file:
                    files[f"{folder}/{name}"] = file.read()
    return files


def print_list(mutants):
    for mutant in mutants:
        print(f"{mutant.file}:{mutant.line}: {mutant.kind}")
        print(f"    - {mutant.before}\n    + {mutant.after}")
    kinds = collections.Counter(mutant.kind for mutant in mutants)
    print(f"{len(mutants)} mutants:", ", ".join(f"{kinds[kind]} {kind}" for kind in KINDS))


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
    measured = Measured(os.path.join(base.work, "measured.json"), base.tree)
    print("Running the tests on them ...", flush=True)
    kept = lambda suite, measure: measured.of("times", suite.target, measure)
    measure_baseline(suites, base.tree, os.path.join(base.work, "baseline"), kept)
    print("Finding out which tests run which block ...", flush=True)
    kept = lambda target, measure: measured.of("marks", target, measure)
    reach = measure_reach(graph, suites, os.path.join(base.work, "mark"), base.must, kept)
    return graph, Order(suites), reach


def is_costly(graph):
    """Says of a file whether anything but the library's own sources includes it."""
    return lambda file: any(
        output.endswith(".o") and not output.startswith("PeloraTcam/")
        for output in graph.affected(file)
    )


def main(arguments):
    options = parse_arguments(arguments)
    root = os.getcwd()
    sources = sources_of(root)
    if options.file and not set(options.file) <= set(sources):
        print("No such source:", *sorted(set(options.file) - set(sources)), file=sys.stderr)
        return 2
    every = [m for file, text in sources.items() for m in mutants_of(file, text)]
    mutants = [
        mutant
        for mutant in every
        if (not options.kind or mutant.kind in options.kind)
        and (not options.file or mutant.file in options.file)
    ]
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
        os.nice(10)
        return run_chosen(options, root, work, sources, mutants, every)


def run_chosen(options, root, work, sources, mutants, every):
    workers = max(1, options.jobs)
    try:
        with open(os.path.join(root, EXPLAINED), encoding="utf-8") as file:
            explained = read_explained(file.read())
        kept = Results(options.results, every, sources) if options.all else None
        base = BaseBuild(root, work, workers)
        graph, order, reach = prepare(base)
        run = MutationRun(base, graph, order, reach, sources, explained, kept)
        if options.all:
            return run_all(options, run, mutants, workers)
        chosen = choose(mutants, options.seed, options.mutants, is_costly(graph))
        print(f"Trying {len(chosen)} of {len(mutants)} mutants, seed {options.seed}:", flush=True)
        chosen.sort(key=lambda mutant: mutant.file)
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
            run.past_kills.add(mutant.file, mutant.line, known[1])
        if not known or (options.again and known[0] == "survived"):
            left.append(mutant)
    left.sort(key=lambda mutant: place_in_order(mutant, run))
    print(f"Trying {len(left)} of {len(mutants)} mutants; the others are known:", flush=True)
    try:
        run.run(left, workers, options.minutes)
    finally:
        run.kept.tidy()
    print_times(run)
    judged = all_known(run, mutants)
    code = judge(judged)
    if len(judged) < len(mutants):
        print(f"{len(mutants) - len(judged)} mutants are left to try.")
        return 3
    return code


def place_in_order(mutant, run):
    """File by file; what takes much compiling comes late, and last what no test is said to catch."""
    explained = reason_for(mutant, run.explained) is not None
    return explained, len(run.graph.affected(mutant.file)), mutant.file, mutant.start


def all_known(run, mutants):
    """The verdicts of the results file, as the list of explained mutants stands now."""
    judged = []
    for mutant in mutants:
        known = run.kept.of(mutant)
        if known:
            outcome, why = OUTCOMES[known[0]], known[1]
            if outcome == SURVIVED and reason_for(mutant, run.explained):
                outcome = EXPLAINED_AWAY
            judged.append((mutant, outcome, why))
    return judged


def print_times(run):
    if run.results:
        count = len(run.results)
        parts = ", ".join(f"{name} {value / count:.2f} s" for name, value in run.seconds.items())
        print(f"\nA mutant took on average {parts} of the processor's time.")


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except KeyboardInterrupt:
        sys.exit(130)
