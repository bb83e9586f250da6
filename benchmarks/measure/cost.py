"""What a command costs: instructions, allocations, system calls, wall time, memory."""
import re
import statistics
import subprocess
import sys
import tempfile
import time

from .callgrind import profile


def run(command):
    """Wall seconds of one run, and what it printed. Ends this process if the command fails."""
    start = time.monotonic()
    done = subprocess.run(list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=600,
                          check=False)
    elapsed = time.monotonic() - start
    if done.returncode != 0:
        sys.exit(f"benchmark: {' '.join(map(str, command))} ended with {done.returncode}:\n{done.stderr}")
    return elapsed, done.stdout + done.stderr


def instructions(command):
    return profile(command).total


def marginal(cost, command_of, small, large):
    """What a unit of size costs between the two sizes, so that start-up drops out. `cost` is a number or several."""
    less, more = cost(command_of(small)), cost(command_of(large))
    if isinstance(less, tuple):
        return tuple((b - a) / (large - small) for a, b in zip(less, more))
    return (more - less) / (large - small)


def both_counts(command):
    """The instructions of a command as callgrind counts them, and with repeated string instructions taken once."""
    counted = profile(command)
    return counted.total, counted.once


def allocations(command):
    """How often a command allocates memory, and how many bytes in all."""
    _, output = run(["valgrind", "--leak-check=no", "--undef-value-errors=no", *command])
    found = re.search(r"total heap usage: ([\d,]+) allocs, [\d,]+ frees, ([\d,]+) bytes allocated", output)
    return tuple(int(number.replace(",", "")) for number in found.groups())


def system_calls(command):
    with tempfile.NamedTemporaryFile(mode="r", prefix="strace-") as summary:
        run(["strace", "-f", "-c", "-U", "calls,name", "-o", summary.name, *command])
        return int(re.search(r"(\d+) total$", summary.read(), re.M).group(1))


def peak_memory(command, runs=7):
    """The median of the largest resident sets in MiB, as the program itself tells them: the kernel counts some pages late."""
    return statistics.median(int(re.search(r"peak (\d+) KiB", run(command)[1]).group(1)) for _ in range(runs)) / 1024


def interleaved(commands, runs=7):
    """The median wall time of each command, their runs taken in turn after one that does not count."""
    times = {name: [] for name in commands}
    for round_number in range(runs + 1):
        for name, command in commands.items():
            elapsed, _ = run(command)
            if round_number > 0:
                times[name].append(elapsed)
    return {name: statistics.median(values) for name, values in times.items()}


def seconds_each(commands_of, few, many, runs=7):
    """What one more of something costs a process in wall time: `commands_of` maps a number of them to commands by name."""
    medians = interleaved({(name, number): command for number in (few, many)
                           for name, command in commands_of(number).items()}, runs)
    return {name: (medians[name, many] - medians[name, few]) / (many - few) for name in commands_of(few)}
