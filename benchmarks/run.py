"""Measures the engine, the window and their helpers in one run, paired and interleaved with their peers.

The full run prints every table and writes them into the build folder; --quick is a guard for continuous integration:
small sizes, and exit code 1 where a ratio is badly off. Nothing is ever judged by an absolute time there.
"""

import argparse
import datetime
import functools
import os
import pathlib
import platform
import re
import signal
import subprocess
import sys
import time

import lab
import programs
import transfers
import windows
from servers import SCHEMES
from session import Session
from tables import Table

# Each with whether it belongs to the guard.
SECTIONS = {
    "analysis": (programs.analysis, True),
    "task-list": (programs.task_list, True),
    "start": (programs.start_up, True),
    **{name if scheme == "http" else f"{name}-https": (functools.partial(section, scheme=scheme), True)
       for name, section in (("throughput", transfers.throughput), ("limited", transfers.limited),
                             ("window", windows.window))
       for scheme in SCHEMES},
    "outliers": (windows.outliers, False),
    "idle": (windows.idle, True),
    "at-once": (windows.at_once, False),
    "soak": (programs.soak, True),
    "large-file": (windows.large_file, False),
    "slow-disk": (windows.slow_disk, False),
    "far": (transfers.far, False),
    "probes": (transfers.near_probes, False),
    "tree": (programs.folder_tree, True),
}


def machine(folder):
    def says(command):
        result = subprocess.run(command, capture_output=True, text=True)
        return (result.stdout + result.stderr).splitlines()[0]

    processor = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    memory = re.search(r"MemTotal:\s*(\d+)", pathlib.Path("/proc/meminfo").read_text())
    libraries = subprocess.run(["ldd", pathlib.Path(folder) / "fourfold-fetch"], capture_output=True, text=True)
    core = re.search(r"libQt5Core\S* => (\S+)", libraries.stdout)
    qt = re.search(r"\.so\.(.*)", os.path.realpath(core[1]))[1] if core else "unknown"
    return (f"{os.cpu_count()} cores ({processor[1] if processor else platform.machine()}), "
            f"{int(memory[1]) / lab.MIB:.0f} GiB of memory, Linux {platform.release()}, Qt {qt}, "
            f"{says(['curl', '--version']).split(' (')[0]}, {says(['aria2c', '--version'])}, "
            f"{says(['nginx', '-v']).rpartition(' ')[2]}")


def verdicts(title, judged):
    table = Table(title, ["what", "limit", "measured", ""])
    for what, limit, holds, measured in judged:
        table.add(what, limit, measured, "holds" if holds else "MISSED")
    return table


def commit():
    result = subprocess.run(["git", "-C", pathlib.Path(__file__).parent, "describe", "--always", "--dirty"],
                            capture_output=True, text=True)
    return result.stdout.strip() or "unknown"


def write_page(session, path, description, seconds):
    generated = "\n".join(table.markdown() for table in [verdicts("Numbers to hold", session.holds), *session.tables])
    path.write_text(f"""# Benchmarks

Made by `./bench` on {datetime.date.today()} at commit {commit()} in {seconds:.0f} seconds: paired runs in
changing order, medians with the least and the most in brackets, ratios of the pairs. MB and GB are powers of ten, MiB of
two. Over https it is TLS 1.3.

The machine: {description}.

{generated}""")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--programs", required=True, help="the folder of the built programs")
    parser.add_argument("--quick", action="store_true", help="the guard: small sizes, no page")
    parser.add_argument("--only", action="append", choices=SECTIONS, help="this section; several may be named")
    parser.add_argument("--verbose", action="store_true", help="let through what the programs say")
    options = parser.parse_args()
    # So that what was started is ended.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))

    failed = False
    began = time.monotonic()
    description = machine(options.programs)
    print(f"{description}\n")
    with lab.Lab(options.programs, options.verbose) as laboratory:
        session = Session(laboratory, options.quick)
        for name, (section, is_quick) in SECTIONS.items():
            if name not in options.only if options.only else options.quick and not is_quick:
                continue
            shown = len(session.tables)
            try:
                section(session)
            except lab.Failure as failure:
                # One section less is no reason to lose the others, but the run has failed.
                print(f"{name}: {failure}", file=sys.stderr)
                failed = True
            for table in session.tables[shown:]:
                print(table.text(), flush=True)
            laboratory.forget_streams()

    judged = session.guards if options.quick else session.holds
    print(verdicts("The guard" if options.quick else "Numbers to hold", judged).text())
    print(f"{time.monotonic() - began:.0f} seconds")
    if not options.quick and not options.only:
        page = pathlib.Path(options.programs).resolve().parent / "benchmarks.md"
        write_page(session, page, description, time.monotonic() - began)
        print(f"All of it is in {page}")
    return 1 if failed or options.quick and not all(holds for _, _, holds, _ in judged) else 0


if __name__ == "__main__":
    sys.exit(main())
