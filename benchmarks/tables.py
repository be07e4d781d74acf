"""Figures as text: medians with their spread, ratios of pairs, growth, and tables for a terminal and for a page."""

import dataclasses
import math
import statistics


@dataclasses.dataclass
class Table:
    title: str
    columns: list
    rows: list = dataclasses.field(default_factory=list)
    before: str = ""  # what was done
    notes: list = dataclasses.field(default_factory=list)

    def add(self, *cells):
        self.rows.append([str(cell) for cell in cells])

    def text(self):
        table = [self.columns, *self.rows]
        widths = [max(len(row[i]) for row in table) for i in range(len(self.columns))]
        lines = ["  ".join([row[0].ljust(widths[0]), *(c.rjust(w) for c, w in zip(row[1:], widths[1:]))]).rstrip()
                 for row in table]
        lines.insert(1, "  ".join("-" * width for width in widths))
        return "\n".join([f"== {self.title}", *([self.before] if self.before else []), *lines,
                          *(f"   {note}" for note in self.notes), ""])

    def markdown(self):
        rule = ["---", *["---:"] * (len(self.columns) - 1)]
        lines = ["| " + " | ".join(row) + " |" for row in [self.columns, rule, *self.rows]]
        parts = [f"## {self.title}", self.before, "\n".join(lines), "\n".join(f"- {note}" for note in self.notes)]
        return "\n\n".join(part for part in parts if part) + "\n"


def number(value):
    """Three figures that mean something."""
    if value == 0:
        return "0"
    return f"{value:.{max(0, 2 - math.floor(math.log10(abs(value))))}f}"


def spread(values, scale=1.0, unit=""):
    """The median, and the least and the most in brackets."""
    middle, least, most = (number(scale * of(values)) for of in (statistics.median, min, max))
    text = f"{middle}{unit}"
    return text if len(values) < 2 else f"{text} ({least}–{most})"


def ratios(values, others):
    """Pair by pair: the runs of one round met the same state of the machine."""
    return [value / other for value, other in zip(values, others)]


def exponent(sizes, times):
    """The slope of the best straight line through the logarithms: 1 grows with the size, 0 not at all."""
    xs, ys = [math.log(size) for size in sizes], [math.log(time) for time in times]
    return statistics.linear_regression(xs, ys).slope


def growth(what, against, sizes, times):
    return f"{what} grows with {against} to the power of {exponent(sizes, times):.2f}."
