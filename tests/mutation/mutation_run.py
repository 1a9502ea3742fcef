"""The trials of all chosen mutants."""

import collections
import itertools
import os
import queue
import resource
import threading
import time

from base_build import Overlay
from explained import reason_for
from schema_build import SchemaOverlay
from trials import PastKills, Trial, first_rounds, quick_rounds, slow_rounds

EXPLAINED = "tests/mutation/explained.txt"
MOST_OBJECTS_COMPARED = 20
MOST_OBJECTS_OF_CHEAP = 60
# So many mutants are compiled together. Rows of a table are compiled once for each of them.
TOGETHER, TOGETHER_OF_TABLE = 150, 60

CAUGHT, SURVIVED, EXPLAINED_AWAY = "caught", "SURVIVED", "explained"
SAME_CODE, INVALID = "same code", "invalid"
PUT_OFF = "put off"
KEPT_AS = {
    CAUGHT: "caught",
    SURVIVED: "survived",
    EXPLAINED_AWAY: "survived",
    SAME_CODE: "same",
    INVALID: "invalid",
}
LIBRARIES = ("lib/libPeloraAgent.so.1.0.0", "lib/libPeloraTcamSdk6Helpers.so.1.0.0")


def bunches_of(mutants):
    """The mutants as lists of such that are compiled together, in the same order."""
    for file, group in itertools.groupby(mutants, key=lambda mutant: mutant.file):
        group = list(group)
        size = TOGETHER_OF_TABLE if file.endswith(".def") else TOGETHER
        for first in range(0, len(group), size):
            yield group[first : first + size]


def processor_seconds():
    """What this process and all that it has waited for took of the processor."""
    usages = map(resource.getrusage, (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN))
    return sum(usage.ru_utime + usage.ru_stime for usage in usages)


class MutationRun:
    """The trials of all chosen mutants, on several threads.

    `kept`: the verdicts of earlier runs, which gets those of this one, or None.
    """

    def __init__(self, base, graph, order, reach, sources, explained, kept=None):
        self.base = base
        self.graph = graph
        self.order = order
        self.reach = reach
        self.past_kills = PastKills()
        self.sources = sources
        self.explained = explained
        self.kept = kept
        self.results = []
        self.seconds = collections.Counter()
        self.lock = threading.Lock()

    def run(self, chosen, workers, minutes):
        """Tries all with quick tests, and then with the slow ones what those do not catch."""
        self.total = len(chosen)
        self.end = time.monotonic() + 60 * minutes
        start = processor_seconds()
        self.failure = None
        costly = [mutant for mutant in chosen if self.is_costly(mutant.file)]
        for mutants in ([mutant for mutant in chosen if mutant not in costly], costly):
            self.stages, self.put_off = (quick_rounds,), []
            self.run_stage(mutants, workers)
            if self.put_off and self.goes_on():
                print(f"Asking the slow tests about {len(self.put_off)} mutants:", flush=True)
                self.stages = (slow_rounds,)
                self.run_stage(sorted(self.put_off, key=chosen.index), workers)
        self.seconds["in all"] = processor_seconds() - start
        if self.failure:
            raise self.failure

    def is_costly(self, file):
        """Whether most of the tree includes a file."""
        return len(self.graph.affected(file)) > MOST_OBJECTS_OF_CHEAP

    def run_stage(self, mutants, workers):
        waiting = queue.SimpleQueue()
        for bunch in bunches_of(mutants):
            waiting.put(bunch)
        threads = [
            threading.Thread(target=self.work, args=(waiting, str(worker)), daemon=True)
            for worker in range(workers)
        ]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    def goes_on(self):
        return time.monotonic() < self.end and not self.failure

    def work(self, waiting, worker):
        while self.goes_on():
            try:
                bunch = waiting.get_nowait()
            except queue.Empty:
                return
            try:
                self.try_bunch(bunch, worker)
            except Exception as failure:  # handed to the main thread
                self.failure = failure

    # ---- Together

    def try_bunch(self, bunch, worker):
        """Tries mutants of one file, as many as can be in one build, the others one by one."""
        folder = os.path.join(self.base.work, "mut" + worker)
        overlay = SchemaOverlay(self.graph, folder, bunch, self.sources[bunch[0].file])
        try:
            if not all(overlay.make(library) for library in LIBRARIES):
                return self.try_halves(bunch, worker)
            trial = Trial(overlay, self.order, self.past_kills)
            for number, mutant in list(overlay.numbers.items()):
                # Building a suite may take a mutant out.
                if self.goes_on() and number in overlay.numbers:
                    verdict = self.judged_together(mutant, number, overlay, trial, worker)
                    if number in overlay.numbers:
                        self.note(mutant, *verdict)
        finally:
            overlay.remove()
        for number, mutant in enumerate(bunch, start=1):
            if number in overlay.unfit and self.goes_on():
                self.note(mutant, *self.try_one(mutant, worker))

    def try_halves(self, bunch, worker):
        if len(bunch) == 1:
            self.note(bunch[0], *self.try_one(bunch[0], worker))
            return
        middle = len(bunch) // 2
        for half in (bunch[:middle], bunch[middle:]):
            self.try_bunch(half, worker)

    def judged_together(self, mutant, number, overlay, trial, worker):
        """What becomes of one of the mutants of a build, and who caught it."""
        blocks = overlay.blocks[number]
        if blocks == {} and not self.is_in_suites(mutant.file):
            return SAME_CODE, "the compiler gets the same to see"
        # What the compiler may run itself is tried alone, unless it is caught at once.
        alone = number in overlay.inexact
        stages = (first_rounds,) if alone else self.stages
        for asked in self.reach.asked(mutant.file, blocks):
            who = trial.who_catches(mutant, asked, number, stages)
            if who:
                return CAUGHT, who
            alone = alone or trial.left_out(asked)
        if alone:
            return self.try_one(mutant, worker)
        return (PUT_OFF, "") if self.is_first_stage() else self.judged_survivor(mutant, worker)

    def is_in_suites(self, file):
        """Whether a file is compiled into test programs, too."""
        return any(self.graph.needed(suite.target, file) for suite in self.order.of(file))

    def is_first_stage(self):
        return quick_rounds in self.stages

    # ---- One by one

    def try_one(self, mutant, worker):
        """What becomes of a mutant that is compiled by itself, and who caught it."""
        overlay = self.overlay_of(mutant, worker)
        stages = (quick_rounds,) if self.is_first_stage() else (quick_rounds, slow_rounds)
        try:
            for library in LIBRARIES:
                if not overlay.make(library):
                    return INVALID, "does not compile"
            trial = Trial(overlay, self.order, self.past_kills)
            for asked in self.reach.asked(mutant.file):
                who = trial.who_catches(mutant, asked, stages=stages)
                if who:
                    return CAUGHT, who
            if self.is_first_stage():
                return PUT_OFF, ""
            return self.judged_survivor(mutant, worker)
        finally:
            overlay.remove()

    def judged_survivor(self, mutant, worker):
        """What becomes of a mutant that no test catches."""
        reason = reason_for(mutant, self.explained)
        if reason:
            return EXPLAINED_AWAY, reason
        if len(self.graph.affected(mutant.file)) <= MOST_OBJECTS_COMPARED:
            overlay = self.overlay_of(mutant, worker)
            try:
                if overlay.same_code(" -O2"):
                    return SAME_CODE, "the optimising compiler makes the same code of it"
            finally:
                overlay.remove()
        return SURVIVED, ""

    def overlay_of(self, mutant, worker):
        folder = os.path.join(self.base.work, "one" + worker)
        return Overlay(self.graph, folder, mutant, self.sources[mutant.file])

    def note(self, mutant, outcome, why):
        with self.lock:
            if outcome == PUT_OFF:
                self.put_off.append(mutant)
                print(f"{outcome}: {mutant.kind} {mutant.file}:{mutant.line}", flush=True)
                print(f"    - {mutant.before}\n    + {mutant.after}", flush=True)
                return
            self.results.append((mutant, outcome, why))
            if self.kept:
                self.kept.add(mutant, KEPT_AS[outcome], why)
            place = f"{mutant.file}:{mutant.line}"
            number = f"[{len(self.results)}/{self.total}]"
            print(f"{number} {outcome:9} {mutant.kind:10} {place}  {why}", flush=True)
            if outcome == SURVIVED:
                print(f"    - {mutant.before}\n    + {mutant.after}", flush=True)
