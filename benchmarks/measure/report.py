"""The results as Markdown."""
from .row import OURS, number

INTRODUCTION = """\
# What libzol_http costs, beside others

Written by `scripts/benchmark`{mode}. Instructions are those of user space as callgrind counts them, and marginal: the
difference of two amounts of the same work divided by the difference of the amounts, so that start-up drops out. callgrind
counts every round of a repeated string instruction, with which the C library copies large blocks; the column "rep once" has
what we cost when such an instruction counts as one. The ratio compares with the one that it names. ✓ and ✗ tell whether the
target is met. All others do the same work on the same machine in the same run; the bare loop is the least that any client
can do: connect, send, receive.

![costs relative to libzol_http]({plot})

"""


def table(header, rows):
    widths = [max(3, *(len(row[column]) for row in (header, *rows))) for column in range(len(header))]
    rule = ["-" * width if column == 0 else "-" * (width - 1) + ":" for column, width in enumerate(widths)]
    return "".join("| " + " | ".join(cell.ljust(width) if column == 0 else cell.rjust(width)
                                     for column, (cell, width) in enumerate(zip(row, widths))) + " |\n"
                   for row in (header, rule, *rows))


def section_table(section):
    others = [name for name in section.columns if name != OURS]
    # Only where one of the rows is changed by it.
    with_once = any(row.once is not None and row.once < 0.99 * row.values[OURS] for row in section.rows)
    header = ["work", OURS, *(["rep once"] if with_once else []), "target", "", *others, "ratio"]
    rows = []
    for row in section.rows:
        once = [] if not with_once else [number(row.once) if row.once is not None else ""]
        met = {None: "", True: "✓", False: "✗"}[row.is_met]
        ratio = "" if row.ratio is None else f"{number(row.ratio)} × {row.against}"
        rows.append([row.work, number(row.values[OURS]), *once, str(row.target), met,
                     *(number(row.values[name]) if name in row.values else "" for name in others), ratio])
    return f"## {section.title}\n\n{table(header, rows)}"


def markdown(sections, machine, plot, is_quick):
    facts = table(["", ""], [[name, value] for name, value in machine.items()])
    mode = " --quick, whose figures are rough" if is_quick else ""
    return INTRODUCTION.format(plot=plot, mode=mode) + "\n".join([*map(section_table, sections), "## Measured on\n\n" + facts])
