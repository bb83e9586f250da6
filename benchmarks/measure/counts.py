"""Whether a change costs instructions: what works take inside our own libraries and programs, against a file of counts.

What the C library, OpenSSL and the dynamic linker do is left out, so that the counts depend on our sources and on the
compiler alone. Where the number of reads and writes varies from run to run, so do the counts, and nothing is said.
"""
import os
import statistics
from concurrent.futures import ThreadPoolExecutor

from .bench import Bench
from .callgrind import profile
from .cost import marginal
from .row import OURS

RUNS = 3
SPREAD = 0.01   # the runs of a work that counts lie this close together
ALLOWED = 0.03  # a count may be this much above the recorded one


def median_of(runs):
    """The median of the runs; None if they lie too far apart."""
    middle = statistics.median(runs)
    return middle if max(runs) - min(runs) <= SPREAD * middle else None


def format_counts(compiler, counts):
    lines = "".join(f"{name}\t{count:.6g}\n" for name, count in sorted(counts.items()))
    return f"compiler\t{compiler}\n{lines}"


def parse_counts(text):
    """The compiler, and the counts by name."""
    entries = dict(line.split("\t") for line in text.splitlines())
    return entries.pop("compiler"), {name: float(count) for name, count in entries.items()}


def judge(compiler, medians, recorded_compiler, recorded):
    """What is to be said of the medians, a line each, and whether the check fails.

    A median above what is allowed fails only if the compiler is the one of the recorded counts. A check that could
    compare nothing fails, too."""
    lines, compared, above = [], 0, []
    for name, median in sorted(medians.items()):
        if median is None:
            lines.append(f"{name}: skipped, its runs differ by more than {SPREAD:.0%}")
        elif name not in recorded:
            lines.append(f"{name}: {median:.6g}, not recorded yet (--update does)")
        else:
            compared += 1
            change = median / recorded[name] - 1
            lines.append(f"{name}: {median:.6g}, recorded {recorded[name]:.6g} ({change:+.1%})")
            if change > ALLOWED:
                lines[-1] += ", too many"
                above.append(name)
    lines += [f"{name}: recorded, but not measured any more (--update drops it)" for name in sorted(recorded)
              if name not in medians]
    if not compared:
        return [*lines, "nothing could be compared"], True
    if above and compiler != recorded_compiler:
        lines.append(f"warning: {', '.join(above)} above what is recorded, but for {recorded_compiler}; this is {compiler}")
    return lines, bool(above) and compiler == recorded_compiler


def update(compiler, medians, recorded):
    """The new counts. A work whose runs varied keeps its old one."""
    kept = {name: recorded[name] for name, median in medians.items() if median is None and name in recorded}
    return format_counts(compiler, {**kept, **{name: median for name, median in medians.items() if median is not None}})


def own_cost(at, work):
    """What a unit of the work takes inside our own code."""
    def cost(command):
        return profile(command).below(at.build_folder)
    return marginal(cost, lambda amount: work.commands[OURS](at, amount), *work.checked) / work.units


def measure(build_folder, works):
    """The median of each work by its name, None for those whose runs vary."""
    chosen = [work for work in works if work.checked]

    def measure_some(some):
        # A server serves one connection after the other, so each processor has its own.
        with Bench(build_folder) as at:
            return {work.name: median_of([own_cost(at, work) for _ in range(RUNS)]) for work in some}

    processors = os.cpu_count()
    with ThreadPoolExecutor(processors) as pool:
        shares = pool.map(measure_some, [chosen[first::processors] for first in range(processors)])
        return {name: median for share in shares for name, median in share.items()}
