"""What the application does without a network, and whether it gives back what it took."""

import shutil
import statistics

from lab import MIB, Failure
from tables import growth, number, ratios, spread


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
            session.at_most("start to window shown / an empty window's", wall, 1.3, 2.5)


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
    session.at_most("analysis of a 1 MB watch page, processor time", [large["median"]], 20, unit=" ms")
    session.guard_at_most("analysis of a watch page of 1 MB / one of 250 kB", large["median"] / small["median"], 12)


def task_list(session):
    table = session.table("A task list of finished downloads",
                          ["finished rows", "add to a full page ms", "add one ms", "× full page", "progress ms",
                           "scroll ms"],
                          before="Processor time of one turn of the window each, layout and painting included; a page "
                                 "is full with 20 rows.")
    counts = [20, 2000] if session.quick else [20, 100, 1000, 2000]
    figures = session.lab.cost([session.lab.program("tasklist"), *counts]).figures
    for one in figures:
        table.add(f"{one['rows']:.0f}", number(one["addToFullPage"]), number(one["add"]),
                  number(one["add"] / one["addToFullPage"]), number(one["progress"]), number(one["scroll"]))
    for what, key in (("Adding one", "add"), ("A progress update", "progress"), ("Scrolling a page", "scroll")):
        table.notes.append(growth(what, "rows", counts, [one[key] for one in figures]))
    session.at_most("adding a row to 2,000 finished downloads / adding one to 20",
                    [figures[-1]["add"] / figures[-1]["addToFullPage"]], 1.3, 4)


def soak(session):
    downloads, analyses = (60, 12) if session.quick else (1000, 200)
    sites = session.lab.demo_site()
    table = session.table(f"{downloads} downloads and {analyses} analyses in one process",
                          ["", "threads", "descriptors", "allocated MiB", "resident MiB"],
                          before="Up to a megabyte each, eight at once, by turns over http and https, every file "
                                 "compared by hash; every tenth analysis is a playlist.")
    command = [session.lab.program("soak"), downloads, analyses, *sites.values()]
    start, end = session.lab.cost(command, timeout=180).figures
    for when, held in (("after 160 downloads to warm up", start), ("at the end", end)):
        table.add(when, f"{held['threads']:.0f}", f"{held['descriptors']:.0f}",
                  number(held["allocated"] / MIB), number(held["resident"] / MIB))
    for what, growth_of, limit, unit in (
            ("threads", end["threads"] - start["threads"], 0, ""),
            ("descriptors", end["descriptors"] - start["descriptors"], 0, ""),
            ("allocated memory", (end["allocated"] - start["allocated"]) / MIB, 1, " MiB")):
        session.at_most(f"{what} after {downloads} more downloads", [growth_of], limit, limit, unit)


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
                    raise Failure("the filters found another number of files")
        shutil.rmtree(folder)
        values = ratios(walls["all"], walls["find"])
        table.add(f"{count}", spread(walls["all"], 1000), spread(values), spread(walls["media"], 1000),
                  spread(walls["find"], 1000))
        medians.append(statistics.median(walls["all"]))
    if len(counts) > 1:
        table.notes.append(growth("Listing all", "files", counts, medians))
    session.guard_at_most("listing a folder tree / find", statistics.median(values), 6)
