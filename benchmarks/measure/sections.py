"""The sections of the results: each measures its rows one by one."""
from . import works
from .bench import GIB, KIB, MIB
from .cost import allocations, both_counts, instructions, interleaved, marginal, peak_memory, seconds_each, system_calls
from .row import BARE, CURL, GMIME, OURS, POCO, Row, Target


def counted(at, work, scale):
    """The row of a work. `scale` makes the difference of its amounts smaller."""
    small, large = work.amounts
    large = small + (large - small) // scale
    values, once = {}, None
    for name, command in work.commands.items():
        count, taken_once = (cost / work.units
                             for cost in marginal(both_counts, lambda amount: command(at, amount), small, large))
        values[name] = count
        once = taken_once if name == OURS else once
    return Row(work.text, values, work.target, once)


def count_all(*listed):
    """A section that counts the instructions of works."""
    def rows(at, scale):
        for work in listed:
            # Lines and small pages are few already.
            yield counted(at, work, scale if work.amounts[1] - work.amounts[0] > 1000 else 1)
    return rows


def other_costs_of_a_page(at, scale):
    def measured(cost, who):
        return {name: marginal(cost, lambda count: command(at, count), *works.PAGES) for name, command in who.items()}

    page, _, kept = (work.commands for work in works.SMALL_PAGES)
    for text, who, times, size, calls in (("getPage, a connection each", page, 14, 2048, 10),
                                          ("exchange over a connection that is kept", kept, None, None, None)):
        allocated = measured(allocations, who)
        yield Row(f"allocations, {text}", {name: cost[0] for name, cost in allocated.items()}, Target(times))
        yield Row(f"bytes allocated, {text}", {name: cost[1] for name, cost in allocated.items()}, Target(size))
        yield Row(f"system calls, {text}", measured(system_calls, who), Target(calls))


def growth(at, scale):
    """What ten times the work costs, start-up taken off."""
    def fetches(target):
        return lambda amount: at.fetch("zol", target.format(amount), 1)

    for text, command, nothing, amount in (
            ("header lines (90, then 900)", fetches("/headers/{}"), 5, 90),
            ("chunks of 512 bytes", fetches("/chunked/512/{}"), 512, 8 * MIB // scale),
            ("identity bytes", fetches("/identity/{}"), 512, 32 * MIB // scale),
            ("parts of 64 bytes (1000, then 10 000)", lambda parts: works.parse("zol", 64)(at, parts), 1, 1000),
            ("bytes in one part (1 MiB, then 10 MiB)", lambda size: works.parse("zol", size)(at, 1), 64, MIB)):
        base = instructions(command(nothing))
        once, tenfold = (instructions(command(amount * factor)) - base for factor in (1, 10))
        yield Row(text, {OURS: tenfold / once}, Target(11))


def wall(at, scale):
    size = 2 * GIB // scale
    fetches = {name: command(at, size) for name, command in works.body_fetched_by("/identity/{}").items()}
    yield Row(f"identity body of {size // MIB} MiB, the whole process", interleaved(fetches), Target(times={BARE: 1.05}))
    many = 1 + 64 // scale
    for work in works.UPLOADS:
        seconds = seconds_each(lambda count: {name: command(at, count) for name, command in work.commands.items()}, 1, many)
        yield Row(f"{work.text} of {works.UPLOAD // MIB} MiB", seconds, Target(times={BARE: 1.05}))
    for text, part_size, parts in (("1 MiB", MIB, 64 // scale), ("4 KiB", 4 * KIB, 16384 // scale)):
        seconds = seconds_each(lambda rounds: {name: command(at, parts, rounds)
                                               for name, command in works.parsed_by(part_size).items()}, 1, 9)
        yield Row(f"multipart body of {part_size * parts // MIB} MiB in parts of {text}", seconds,
                  Target(times={POCO: 1 / 3, GMIME: 1 / 3}))


def memory(at, scale):
    for size in (16 * MIB, 2 * GIB // scale):
        yield Row(f"identity body of {size // MIB} MiB",
                  {name: peak_memory(command(at, size))
                   for name, command in works.body_fetched_by("/identity/{}").items()}, Target(6))


def before_main(at, scale):
    floor, ours, curl = (instructions([at.program(f"empty_{name}")]) for name in ("floor", "zol", "curl"))
    yield Row("an empty program, less one linked with OpenSSL, zlib and the C++ library alone",
              {OURS: ours - floor, CURL: curl - floor}, Target(400_000))


SECTIONS = (
    ("One small page: user-space instructions a fetch", count_all(*works.SMALL_PAGES)),
    ("One small page: what else a fetch costs", other_costs_of_a_page),
    ("Header lines: user-space instructions a line", count_all(*works.LINES)),
    ("Bodies: user-space instructions a byte", count_all(*works.BODIES)),
    ("Uploads: user-space instructions a byte", count_all(*works.UPLOADS)),
    ("TLS: user-space instructions; the bare loop is OpenSSL's", count_all(*works.TLS)),
    ("Multipart: user-space instructions a byte", count_all(*works.MULTIPART_BYTES)),
    ("Multipart: user-space instructions a part", count_all(*works.MULTIPART_PARTS)),
    ("Searching a boundary of 30 bytes: user-space instructions a byte", count_all(*works.SEARCHES)),
    ("Before main: user-space instructions", before_main),
    ("Growth: how much more ten times the work costs", growth),
    ("Wall time: seconds, medians of 7 interleaved runs", wall),
    ("Memory: largest resident set, MiB", memory),
)
