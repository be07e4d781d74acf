"""What the sections share: where they run, how much, and what they found."""

import statistics
import time

from tables import Table, number, spread

TIME_LIMIT = 420  # seconds; from then on every measurement is made once


class Session:
    def __init__(self, laboratory, quick):
        self.lab = laboratory
        self.quick = quick
        self.near = laboratory.nginx()
        self.display = laboratory.display()
        self.tables = []
        self.holds = []  # (what, limit in words, whether it holds, measured in words)
        self.guards = []  # the same, with the wider limits of the quick run
        self.end = time.monotonic() + TIME_LIMIT

    def show(self, table):
        self.tables.append(table)
        return table

    def table(self, *arguments, **named):
        return self.show(Table(*arguments, **named))

    def leave_out(self, title, reason):
        self.table(title, ["left out"], rows=[[reason]])

    def rounds(self, count):
        """Fewer where time is up, but at least one."""
        for i in range(count):
            if i == 0 or time.monotonic() < self.end:
                yield i

    def at_most(self, what, values, limit, badly_off=None, unit="", of=statistics.median):
        """Judges the median, or the most of the values; the guard only where it has a limit of its own."""
        self.holds.append((what, f"≤ {limit}{unit}", of(values) <= limit, spread(values, unit=unit)))
        if badly_off is not None:
            self.guard_at_most(what, of(values), badly_off, unit)

    def at_least(self, what, values, limit, badly_off):
        value = statistics.median(values)
        self.holds.append((what, f"≥ {limit}", value >= limit, spread(values)))
        self.guards.append((what, f"≥ {badly_off}", value >= badly_off, number(value)))

    def guard_at_most(self, what, value, badly_off, unit=""):
        self.guards.append((what, f"≤ {badly_off}{unit}", value <= badly_off, number(value) + unit))
