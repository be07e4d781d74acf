"""Measures the engine, the window and their helpers in one run, paired and interleaved with their peers.

The full run prints every table and writes docs/benchmarks.md; --quick is a guard for continuous integration: small
sizes, and exit code 1 where a ratio is badly off. Nothing is ever judged by an absolute time there.
"""

import argparse
import datetime
import os
import pathlib
import platform
import re
import shutil
import signal
import statistics
import subprocess
import sys
import time

import lab
import tables
from lab import MB
from tables import Table, growth, number, ratios, spread

PAGE = pathlib.Path(__file__).resolve().parent.parent / "docs" / "benchmarks.md"
BY_HAND = "<!-- What follows is written by hand and kept by ./bench. -->"
MIB = 1 << 20
LIMIT = 20 * MB  # bytes per second of each connection of the limited server
TIME_LIMIT = 300  # seconds; from then on every measurement is made once
# Small pieces, so that it takes four connections for small streams too.
ARIA2C = ["aria2c", "--no-conf", "--quiet", "-x4", "-s4", "-k1M", "--allow-overwrite=true",
          "--auto-file-renaming=false", "--disable-ipv6"]


class Session:
    """What the sections share: where they run, how much, and what they found."""

    def __init__(self, laboratory, quick):
        self.lab = laboratory
        self.quick = quick
        self.display = None
        self.tables = []
        self.holds = []  # (what, limit in words, measured in words, whether it holds)
        self.guards = []  # the same, with the wider limits of the quick run
        self.end = time.monotonic() + TIME_LIMIT

    def table(self, *arguments, **named):
        table = Table(*arguments, **named)
        self.tables.append(table)
        return table

    def leave_out(self, title, reason):
        self.table(title, ["left out"], rows=[[reason]])

    def rounds(self, count):
        """Fewer where time is up, but at least one."""
        for i in range(count):
            if i == 0 or time.monotonic() < self.end:
                yield i

    def at_most(self, what, value, limit, badly_off, unit="", show=None):
        self._judge(what, f"≤ {limit}{unit}", value <= limit, show or number(value) + unit)
        self._guard(what, f"≤ {badly_off}{unit}", value <= badly_off, number(value) + unit)

    def at_least(self, what, value, limit, badly_off, unit="", show=None):
        self._judge(what, f"≥ {limit}{unit}", value >= limit, show or number(value) + unit)
        self._guard(what, f"≥ {badly_off}{unit}", value >= badly_off, number(value) + unit)

    def guard_at_most(self, what, value, badly_off, unit=""):
        self._guard(what, f"≤ {badly_off}{unit}", value <= badly_off, number(value) + unit)

    def _judge(self, *verdict):
        self.holds.append(verdict)

    def _guard(self, *verdict):
        self.guards.append(verdict)


def contenders(laboratory, url, out, size):
    """By itself aria2c fills its file in advance; the last one spares it that."""
    return {
        "fourfold": [laboratory.program("fetch"), url, out, size],
        "curl": ["curl", "-q", "-sS", "--fail", "-o", out, url],
        "aria2c": [*ARIA2C, "-d", out.parent, "-o", out.name, url],
        "aria2c, unfilled": [*ARIA2C, "--file-allocation=none", "-d", out.parent, "-o", out.name, url],
    }


def race(session, url, size, folder, rounds, original=None, enter=(), names=("fourfold", "curl", "aria2c")):
    """The costs of each contender, round by round; the order changes from round to round."""
    out = folder / "out"
    commands = contenders(session.lab, url, out, size)
    costs = {name: [] for name in names}
    for i in session.rounds(rounds):
        for name in names[i % len(names):] + names[:i % len(names)]:
            costs[name].append(session.lab.cost([*enter, *commands[name]]))
            if out.stat().st_size != size:
                raise lab.Failure(f"{name} fetched {out.stat().st_size} bytes of {size}")
            if i == 0 and original and subprocess.run(["cmp", "-s", "-n", str(size), original, out]).returncode:
                raise lab.Failure(f"{name} fetched other bytes than the server holds")
            out.unlink()
    return costs


RACE_COLUMNS = ["", "wall s", "× curl", "processor s", "× curl", "s/GB", "peak MiB"]


def add_race(table, size, costs):
    walls = {name: [cost.wall for cost in each] for name, each in costs.items()}
    processor = {name: [cost.processor for cost in each] for name, each in costs.items()}
    for name, each in costs.items():
        table.add(f"{size / MB:.0f} MB, {name}", spread(walls[name]), spread(ratios(walls[name], walls["curl"])),
                  spread(processor[name]), spread(ratios(processor[name], processor["curl"])),
                  spread(processor[name], 1000 * MB / size), spread([cost.peak for cost in each], 1 / MIB))
    return walls, processor


def add_growth(table, results, sizes, names=("fourfold", "curl")):
    if len(sizes) < 2:
        return
    for name in names:
        walls, processor = ([statistics.median(result[kind][name]) for result in results] for kind in (0, 1))
        table.notes.append(f"{name}: {growth('wall time', 'bytes', sizes, walls)} "
                           f"{growth('Processor time', 'bytes', sizes, processor)}")


def throughput(session):
    sizes = [200 * MB] if session.quick else [250 * MB, 1000 * MB, 1900 * MB]
    fitting = [size for size in sizes if size <= session.lab.free_bytes() // 4]
    if not fitting:
        session.leave_out("One stream from nginx on loopback", "too little memory")
        return
    places = {"onto a tmpfs": session.lab.memory}
    if not session.quick:
        places["onto disk"] = session.lab.disk
    for place, folder in places.items():
        table = session.table(f"One stream from nginx on loopback {place}", RACE_COLUMNS,
                              before="Four ranges by the engine alone, one stream by curl, `aria2c -x4 -s4` as it is, "
                                     "and spared from filling its file in advance.")
        table.notes += [f"{size / MB:.0f} MB: left out, too little memory." for size in sizes if size not in fitting]
        results = []
        sizes_here = fitting if folder == session.lab.memory else fitting[1:] or fitting
        for size in sizes_here:
            original = session.lab.stream(size)
            names = ["fourfold", "curl", "aria2c", "aria2c, unfilled"][:4 if folder == session.lab.memory else 3]
            costs = race(session, f"{session.lab.near[0]}/{size}", size, folder, 5 if size <= 1000 * MB else 3,
                         original, names=names)
            results.append(add_race(table, size, costs))
            original.unlink()
        add_growth(table, results, sizes_here)
        if folder == session.lab.memory:
            judge_throughput(session, fitting, results)


def judge_throughput(session, sizes, results):
    index = sizes.index(1000 * MB) if 1000 * MB in sizes else -1
    walls, processor = results[index]
    name = f"{sizes[index] / MB:.0f} MB from nginx on loopback onto a tmpfs, "
    for what, peer, kind, limit, badly_off in (("wall time / curl's", "curl", walls, 1.1, 2.5),
                                               ("wall time / aria2c's", "aria2c", walls, 0.6, 1.5),
                                               ("processor time / curl's", "curl", processor, 2, 4)):
        values = ratios(kind["fourfold"], kind[peer])
        session.at_most(name + what, statistics.median(values), limit, badly_off, show=spread(values))


def limited(session):
    site = session.lab.demo_site()
    sizes = [60 * MB] if session.quick else [50 * MB, 200 * MB]
    table = session.table(f"A server that limits each connection to {LIMIT // MB} MB/s", RACE_COLUMNS,
                          before="The demo site, which paces evenly: nginx gives every connection one second's bytes "
                                 "at once first.")
    results = []
    for size in sizes:
        costs = race(session, f"{site}/stream?size={size}&seed=1&rate={LIMIT}", size, session.lab.memory,
                     1 if session.quick else 3)
        results.append(add_race(table, size, costs))
    add_growth(table, results, sizes)
    walls, _ = results[-1]
    values = ratios(walls["curl"], walls["fourfold"])
    session.at_least(f"{sizes[-1] / MB:.0f} MB from a server that limits each connection, one connection's wall time / "
                     "four ranges'", statistics.median(values), 3.9, 3.2, show=spread(values))


def far(session):
    sizes = [10 * MB, 100 * MB]
    server = session.lab.far_server()
    if not server:
        session.leave_out("A far server", "the machine allows no network of its own")
        return
    way, addresses, enter = server
    table = session.table("A far server, 50 ms of delay for every round trip", RACE_COLUMNS,
                          before=f"nginx in a network namespace of its own; the delay is made by {way}, over real TCP.")
    results = []
    for size in sizes:
        original = session.lab.stream(size)
        costs = race(session, f"{addresses[0]}/{size}", size, session.lab.memory, 3, original, enter)
        results.append(add_race(table, size, costs))
    add_growth(table, results, sizes, ("fourfold", "curl", "aria2c"))
    probes(session, addresses, enter, "Probes of formats on the far server", [5, 20])


def near_probes(session):
    probes(session, session.lab.near, [], "Probes of formats on loopback", [5, 20, 80])


def probes(session, addresses, enter, title, counts):
    table = session.table(title, ["formats", "kept alive ms", "each anew ms", "anew / kept alive", "processor ms"],
                          before="Their sizes asked for with HEAD one after another, on one kept-alive connection or "
                                 "on a new one each, since the server closes it.")
    name = session.lab.stream(MB).name
    medians = []
    for count in counts:
        kept, anew, processor = [], [], []
        for _ in session.rounds(3):
            for address, walls in zip(addresses, (kept, anew)):
                command = [*enter, session.lab.program("probes"), count, f"{address}/{name}"]
                [figures] = session.lab.cost(command).figures
                walls.append(figures["wall"])
                if walls is kept:
                    processor.append(figures["processor"])
        table.add(count, spread(kept, 1000), spread(anew, 1000), spread(ratios(anew, kept)), spread(processor, 1000))
        medians.append(statistics.median(kept))
    table.notes.append(growth("Wall time on a kept-alive connection", "formats", counts, medians))


def window(session):
    size = 50 * MB if session.quick else 500 * MB
    counts = [1, 8] if session.quick else [1, 2, 4, 8]
    size = max(MB, min(size, session.lab.free_bytes() // 10 // MB * MB))
    url = f"{session.lab.near[0]}/{session.lab.stream(size).name}"
    table = session.table(
        f"Downloads at once in the real window, {size / MB:.0f} MB each",
        ["", "MB/s", "processor s/GB", "user", "above idle MiB", "longest turn ms", "turns > 50 ms", "frames/s"],
        before="The main window on a virtual screen, every download started through its page; `curl -Z` fetches the "
               "same in one process.")
    above, costs, spent = {}, [], {}
    folder = session.lab.memory / "window"
    for count in counts:
        runs, peers = [], []
        for _ in session.rounds(1 if session.quick else 3):
            for kind in (runs, peers):
                folder.mkdir()
                if kind is runs:
                    command = [session.lab.program("window"), folder, *[url] * count]
                else:
                    pairs = [part for i in range(count) for part in ("-o", folder / str(i), url)]
                    command = ["curl", "-q", "-sS", "--fail", "-Z", "--parallel-immediate", *pairs]
                kind.append(session.lab.cost(command, session.display))
                if sum(file.stat().st_size for file in folder.iterdir()) != count * size:
                    raise lab.Failure("a download in the window came short")
                shutil.rmtree(folder)
        gigabytes = count * size / 1000 / MB
        figures = [run.figures[0] for run in runs]
        of = lambda key, each=figures: [one[key] for one in each]
        processor = [one / gigabytes for one in of("processor")]
        table.add(f"{count}, window", spread([1000 * gigabytes / wall for wall in of("wall")]), spread(processor),
                  spread([run.user / (run.user + run.system) for run in runs], 100, " %"),
                  spread(of("peakAboveIdle"), 1 / MIB), spread(of("longestTurn")), sum(of("longTurns")),
                  spread([one["frames"] / one["wall"] for one in figures]))
        table.add(f"{count}, curl -Z", spread([1000 * gigabytes / run.wall for run in peers]),
                  spread([run.processor / gigabytes for run in peers]),
                  spread([run.user / run.processor for run in peers], 100, " %"), "", "", "", "")
        above[count] = figures
        costs.append(statistics.median(of("processor")))
        spent[count] = ratios(processor, [run.processor / gigabytes for run in peers])
    table.notes.append(growth("Processor time", "downloads", counts, costs))
    table.notes.append(growth("Memory above idle", "downloads", counts,
                              [statistics.median(one["peakAboveIdle"] for one in above[count]) for count in counts]))
    table.notes.append(f"Processor time of eight downloads / curl's for the same bytes: {spread(spent[8])}.")
    judge_window(session, above)


def judge_window(session, above):
    for count, limit, badly_off in ((1, 16, 32), (8, 64, 128)):
        values = [one["peakAboveIdle"] / MIB for one in above[count]]
        session.at_most(f"memory above the idle application with {count} download{'s' if count > 1 else ''}",
                        statistics.median(values), limit, badly_off, " MiB", spread(values, unit=" MiB"))
    turns = [one["longestTurn"] for one in above[8]]
    session.holds.append(("longest event-loop turn with 8 downloads", "< 50 ms", statistics.median(turns) < 50,
                          spread(turns, unit=" ms")))


def large_file(session):
    """Memory must not depend on the size of the file."""
    table = session.table("One large download in the real window",
                          ["", "above idle MiB", "longest turn ms", "MB/s", "frames/s"])
    sizes = [size for size in (100 * MB, 1000 * MB, 1900 * MB) if size <= session.lab.free_bytes() // 4]
    peaks = []
    folder = session.lab.memory / "window"
    for size in sizes:
        figures = []
        url = f"{session.lab.near[0]}/{session.lab.stream(size).name}"
        for _ in session.rounds(3):
            folder.mkdir()
            figures += session.lab.cost([session.lab.program("window"), folder, url], session.display).figures
            shutil.rmtree(folder)
        session.lab.forget_streams()
        peaks.append([one["peakAboveIdle"] / MIB for one in figures])
        table.add(f"{size / MB:.0f} MB", spread(peaks[-1]), spread([one["longestTurn"] for one in figures]),
                  spread([size / MB / one["wall"] for one in figures]),
                  spread([one["frames"] / one["wall"] for one in figures]))
    if len(sizes) > 1:
        table.notes.append(growth("Memory above idle", "bytes", sizes, list(map(statistics.median, peaks))))
    session.at_most("memory above the idle application, largest file", max(map(statistics.median, peaks)), 16, 32,
                    " MiB", spread(peaks[-1], unit=" MiB"))


def slow_disk(session):
    if os.geteuid() != 0:
        session.leave_out("A slow disk", "it takes root to mount one")
        return
    sizes = [4 * MB, 16 * MB]
    image = session.lab.disk / "image"
    folder = session.lab.disk / "mounted"
    folder.mkdir()
    with image.open("wb") as file:
        file.truncate(128 * MIB)
    subprocess.run(["mkfs.ext4", "-q", "-F", image], check=True)
    table = session.table("A slow disk", ["", "wall s", "MB/s", "above idle MiB", "longest turn ms", "turns > 50 ms"],
                          before="A file system mounted with `-o sync`: every write waits for the disk.")
    walls, peaks = [], []
    # The mount lives in a namespace of its own and goes with the process.
    mounted = ["unshare", "--mount", "sh", "-c", 'mount -o loop,sync "$0" "$1" && shift && exec "$@"', image, folder]
    for size in sizes:
        url = f"{session.lab.near[0]}/{session.lab.stream(size).name}"
        figures, peers = [], []
        for _ in session.rounds(2):
            figures += session.lab.cost([*mounted, session.lab.program("window"), folder, url],
                                        session.display).figures
            peers.append(session.lab.cost([*mounted, "curl", "-q", "-sS", "-o", folder / "out", url]).wall)
        walls.append([one["wall"] for one in figures])
        peaks.append([one["peakAboveIdle"] / MIB for one in figures])
        table.add(f"{size / MB:.0f} MB, window", spread(walls[-1]), spread([size / MB / wall for wall in walls[-1]]),
                  spread(peaks[-1]), spread([one["longestTurn"] for one in figures]),
                  sum(one["longTurns"] for one in figures))
        table.add(f"{size / MB:.0f} MB, curl", spread(peers), spread([size / MB / wall for wall in peers]), "", "", "")
    table.notes.append(f"{growth('Wall time', 'bytes', sizes, list(map(statistics.median, walls)))} "
                       f"{growth('Memory above idle', 'bytes', sizes, list(map(statistics.median, peaks)))}")


def start_up(session):
    table = session.table("Start to the first frame of the main window",
                          ["", "wall ms", "× empty", "processor ms", "× empty", "idle memory MiB"],
                          before="Against an empty main window of the same size; both processes timed alike, in turns.")
    screens = {"virtual screen": session.display} if session.display else {}
    for screen, display in {**screens, "offscreen": None}.items():
        runs = {"start": [], "empty-window": []}
        for i in session.rounds(6 if session.quick else 15):
            for name in list(runs)[::1 if i % 2 else -1]:
                cost = session.lab.cost([session.lab.program(name)], display)
                [figures] = cost.figures
                # The first of all finds cold caches.
                if i > 0:
                    runs[name].append({**figures, "wall": figures["shown"] - cost.started})
        of = lambda name, key: [run[key] for run in runs[name]]
        wall, processor = (ratios(of("start", key), of("empty-window", key)) for key in ("wall", "processor"))
        table.add(f"fourfold, {screen}", spread(of("start", "wall"), 1000), spread(wall),
                  spread(of("start", "processor"), 1000), spread(processor), spread(of("start", "idle"), 1 / MIB))
        table.add(f"empty window, {screen}", spread(of("empty-window", "wall"), 1000), "1",
                  spread(of("empty-window", "processor"), 1000), "1", spread(of("empty-window", "idle"), 1 / MIB))
        # What a person sees is on a screen; the other shows what the application itself adds.
        if display or not session.display:
            session.at_most("start to window shown / an empty window's", statistics.median(wall), 1.3, 2.5,
                            show=spread(wall))


def analysis(session):
    table = session.table("Analysis of pages, processor time", ["page", "median ms", "first ms", "bytes"],
                          before="Without network and probes; the median of fifteen, and the first of the process.")
    pages = session.lab.cost([session.lab.program("analysis")]).figures
    for page in pages:
        amount = f"{page['amount'] / 1000:g} MB" if page["page"] == "watch" else f"{page['amount']} rows"
        table.add(f"{page['page']}, {amount}", f"{number(page['median'])} "
                  f"({number(page['spread'][0])}–{number(page['spread'][1])})", number(page["first"]),
                  f"{page['bytes']:.0f}")
    for kind in dict.fromkeys(page["page"] for page in pages):
        same = [page for page in pages if page["page"] == kind]
        table.notes.append(f"{kind}: " + growth("time", "bytes" if kind == "watch" else "rows",
                                                [page["amount"] for page in same], [page["median"] for page in same]))
    [large] = [page for page in pages if page["page"] == "watch" and page["amount"] == 1000]
    [small] = [page for page in pages if page["page"] == "watch" and page["amount"] == 250]
    session.holds.append(("analysis of a 1 MB watch page, processor time", "≤ 20 ms", large["median"] <= 20,
                          number(large["median"]) + " ms"))
    session.guard_at_most("analysis of a watch page of 1 MB / one of 250 kB", large["median"] / small["median"], 12)


def task_list(session):
    table = session.table("A task list of finished downloads",
                          ["finished rows", "add first ms", "add one ms", "× first", "progress ms", "scroll ms"],
                          before="Processor time of one turn of the window each, layout and painting included.")
    figures = session.lab.cost([session.lab.program("tasklist"), 10, 100, 1000, 2000]).figures
    for one in figures:
        table.add(f"{one['rows']:.0f}", number(one["first"]), number(one["add"]), number(one["add"] / one["first"]),
                  number(one["progress"]), number(one["scroll"]))
    rows = [one["rows"] for one in figures]
    for what, key in (("Adding one", "add"), ("A progress update", "progress"), ("Scrolling a page", "scroll")):
        table.notes.append(growth(what, "rows", rows, [one[key] for one in figures]))
    session.at_most("adding a row to 2,000 finished downloads / adding the first",
                    figures[-1]["add"] / figures[-1]["first"], 2, 6)


def make_tree(folder, files):
    """A hundred files in each of the folders, which nest three deep."""
    for i in range(files // 100):
        below = folder / f"{i % 10}" / f"{i // 10 % 10}" / f"folder {i}"
        below.mkdir(parents=True)
        for j in range(100):
            (below / f"file {j:02}.{'mp4' if j % 2 else 'txt'}").touch()


def folder_tree(session):
    table = session.table("A folder tree through the file-search filters",
                          ["files", "all ms", "× find", "media ms", "find ms"],
                          before="The whole processes' wall time, output included for find.")
    counts = [10_000] if session.quick else [1_000, 10_000, 100_000]
    medians = []
    for count in counts:
        folder = session.lab.memory / f"tree-{count}"
        make_tree(folder, count)
        walk = session.lab.program("walk")
        commands = {"all": [walk, folder], "media": [walk, folder, "--media"], "find": ["find", folder, "-type", "f"]}
        walls = {name: [] for name in commands}
        for i in session.rounds(5):
            for name in list(commands)[::1 if i % 2 else -1]:
                cost = session.lab.cost(commands[name])
                walls[name].append(cost.wall)
                if name == "all" and cost.figures[0]["files"] != count:
                    raise lab.Failure("the filters found another number of files")
        shutil.rmtree(folder)
        values = ratios(walls["all"], walls["find"])
        table.add(f"{count}", spread(walls["all"], 1000), spread(values), spread(walls["media"], 1000),
                  spread(walls["find"], 1000))
        medians.append(statistics.median(walls["all"]))
    if len(counts) > 1:
        table.notes.append(growth("Listing all", "files", counts, medians))
    session.guard_at_most("listing a folder tree / find", statistics.median(values), 6)


SECTIONS = {
    "analysis": (analysis, True),
    "task-list": (task_list, True),
    "start": (start_up, True),
    "throughput": (throughput, True),
    "limited": (limited, True),
    "window": (window, True),
    "large-file": (large_file, False),
    "slow-disk": (slow_disk, False),
    "far": (far, False),
    "probes": (near_probes, False),
    "tree": (folder_tree, True),
}


def machine(programs):
    def says(command):
        result = subprocess.run(command, capture_output=True, text=True)
        return (result.stdout + result.stderr).splitlines()[0]

    processor = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    memory = re.search(r"MemTotal:\s*(\d+)", pathlib.Path("/proc/meminfo").read_text())
    libraries = subprocess.run(["ldd", pathlib.Path(programs) / "fourfold-fetch"], capture_output=True, text=True)
    core = re.search(r"libQt5Core\S* => (\S+)", libraries.stdout)
    qt = re.search(r"\.so\.(.*)", os.path.realpath(core[1]))[1] if core else "unknown"
    return (f"{os.cpu_count()} cores ({processor[1] if processor else platform.machine()}), "
            f"{int(memory[1]) / MIB:.0f} GiB of memory, Linux {platform.release()}, Qt {qt}, "
            f"{says(['curl', '--version']).split(' (')[0]}, {says(['aria2c', '--version'])}, "
            f"{says(['nginx', '-v']).rpartition(' ')[2]}")


def verdicts(title, judged):
    table = Table(title, ["what", "limit", "measured", ""])
    for what, limit, holds, measured in judged:
        table.add(what, limit, measured, "holds" if holds else "MISSED")
    return table


def write_page(session, description, seconds):
    by_hand = PAGE.read_text().partition(BY_HAND)[2] if PAGE.exists() else "\n"
    generated = "\n".join(table.markdown() for table in [verdicts("Numbers to hold", session.holds), *session.tables])
    PAGE.write_text(f"""# Benchmarks

Made by `./bench` on {datetime.date.today()} in {seconds:.0f} seconds: paired runs in changing order, medians with the
least and the most in brackets, ratios of the pairs. MB and GB are powers of ten, MiB of two.

The machine: {description}.

{generated}
{BY_HAND}{by_hand}""")


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
        laboratory.near = laboratory.nginx()
        session.display = laboratory.display()
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
        write_page(session, description, time.monotonic() - began)
    return 1 if failed or options.quick and not all(holds for _, _, holds, _ in judged) else 0


if __name__ == "__main__":
    sys.exit(main())
