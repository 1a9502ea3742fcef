"""Which mutants of all are tried: a choice that a seed decides."""

import random
from collections import defaultdict

# Of ten mutants, so many may be in a file that other targets than the library include: they need
# more compiling than all the others together.
COSTLY_IN_TEN = 1


def choose(mutants, seed, count, is_costly):
    """Chooses `count` mutants, spread evenly over kinds and, within a kind, over files.

    `is_costly( file )` says whether a file is compiled into more than the library. A choice of
    more mutants starts with the same ones as a choice of fewer.
    """
    rng = random.Random(seed)
    cheap = round_robin([m for m in mutants if not is_costly(m.file)], rng)
    costly = round_robin([m for m in mutants if is_costly(m.file)], rng)
    chosen = []
    while len(chosen) < count and (cheap or costly):
        turn_of_costly = len(chosen) % 10 >= 10 - COSTLY_IN_TEN
        source = costly if costly and (turn_of_costly or not cheap) else cheap
        chosen.append(source.pop(0))
    return chosen


def round_robin(mutants, rng):
    """All mutants, in turns by kind and, within a kind, in turns by file."""
    by_kind = defaultdict(lambda: defaultdict(list))
    for mutant in mutants:
        by_kind[mutant.kind][mutant.file].append(mutant)
    queues = []
    for kind in sorted(by_kind):
        files = sorted(by_kind[kind])
        rng.shuffle(files)
        for file in files:
            rng.shuffle(by_kind[kind][file])
        queues.append(in_turns([by_kind[kind][file] for file in files]))
    return in_turns(queues)


def in_turns(queues):
    """The first of each, then the second of each, and so on."""
    longest = max(map(len, queues), default=0)
    return [queue[turn] for turn in range(longest) for queue in queues if turn < len(queue)]
