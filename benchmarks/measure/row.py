"""A row of the results: what one work costs this library and others, and what is aimed at."""
import math
from dataclasses import dataclass, field

OURS, BARE = "libzol_http", "bare loop"
BEAST, CURL, POCO, GMIME = "Beast", "libcurl", "Poco", "GMime"
LIBRARIES = (BEAST, CURL, POCO, GMIME)


@dataclass(frozen=True)
class Target:
    """At most `limit`, and for each name in `times` at most that many times what it costs there. `once`: what is limited is
    our cost with repeated string instructions taken once, for a work that has to copy every byte."""
    limit: float | None = None
    times: dict[str, float] = field(default_factory=dict)
    once: bool = False

    def __str__(self):
        texts = [] if self.limit is None else [f"≤ {number(self.limit)}{' (rep once)' if self.once else ''}"]
        texts += [f"≤ {other}" if factor == 1 else f"≤ {factor:.3g} × {other}" for other, factor in self.times.items()]
        return ", ".join(texts)

    def is_met(self, values):
        """Whether these values meet it; None where there is nothing to meet."""
        if self.limit is None and not self.times:
            return None
        limits = [self.limit] if self.limit is not None else []
        limits += [factor * values[other] for other, factor in self.times.items() if other in values]
        return all(values[OURS] <= limit for limit in limits)


@dataclass(frozen=True)
class Row:
    """`values` has what the work costs, by the names of who did it; `once` is what it costs us with repeated string
    instructions taken once."""
    work: str
    values: dict[str, float]
    target: Target = Target()
    once: float | None = None

    @property
    def is_met(self):
        return self.target.is_met({**self.values, OURS: self.once} if self.target.once else self.values)

    @property
    def against(self):
        """Whom the ratio compares with: the one the target names, or the best of the libraries, or else of the others."""
        if len(self.target.times) == 1:
            return next(iter(self.target.times))
        others = {name: value for name, value in self.values.items() if name in LIBRARIES} or \
                 {name: value for name, value in self.values.items() if name != OURS}
        return min(others, key=others.get) if others else None

    @property
    def ratio(self):
        return self.values[OURS] / self.values[self.against] if self.against and self.values[self.against] > 0 else None


@dataclass
class Section:
    title: str
    rows: list[Row] = field(default_factory=list)

    @property
    def columns(self):
        """The names in the rows, in the order in which they come up; ours first."""
        names = dict.fromkeys(name for row in self.rows for name in row.values)
        return [OURS, *(name for name in names if name != OURS)]


def number(value):
    """A number with three figures that say something, and for a large one all before the point."""
    if value == 0 or abs(value) >= 100:
        return f"{value:,.0f}".replace(",", " ")
    decimals = max(2, 2 - math.floor(math.log10(abs(value))))
    return f"{value:.{decimals}f}".rstrip("0").rstrip(".")
