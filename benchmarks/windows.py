"""Downloads in the real main window."""

import concurrent.futures
import contextlib
import os
import shutil
import statistics
import subprocess

from lab import MB, MIB, Failure
from servers import SCHEMES
from tables import growth, number, ratios, spread
from transfers import curl, over

LONG_TURN = 50  # milliseconds


def run(session, urls):
    """The cost of downloading all at once in the window, and what the program told of itself."""
    with folder_of_its_own(session) as folder:
        cost = session.lab.cost([session.lab.program("window"), folder, *urls], session.display)
        check(folder, urls)
    return cost


def run_curl(session, urls):
    """The same by one process of curl."""
    with folder_of_its_own(session) as folder:
        pairs = [part for i, url in enumerate(urls) for part in ("-o", folder / str(i), url)]
        scheme = urls[0].partition(":")[0]
        cost = session.lab.cost([*curl(session.lab, scheme), "-Z", "--parallel-immediate", *pairs])
        check(folder, urls)
    return cost


@contextlib.contextmanager
def folder_of_its_own(session):
    folder = session.lab.memory / "window"
    folder.mkdir()
    try:
        yield folder
    finally:
        shutil.rmtree(folder)


def check(folder, urls):
    """The streams are named after their sizes."""
    if sum(file.stat().st_size for file in folder.iterdir()) != sum(int(url.rpartition("/")[2]) for url in urls):
        raise Failure("a download came short")


def of(figures, key, scale=1.0):
    return [scale * one[key] for one in figures]


def window(session, scheme):
    size = 50 * MB if session.quick else 250 * MB
    size = max(MB, min(size, session.lab.free_bytes() // 10 // MB * MB))
    url = f"{session.near[scheme][0]}/{session.lab.stream(size).name}"
    table = session.table(
        f"Downloads at once in the real window{over(scheme)}, {size / MB:.0f} MB each",
        ["", "MB/s", "processor s/GB", "user", "above idle MiB", "longest turn ms", "turns > 50 ms", "frames/s"],
        before="The main window on a virtual screen, every download started through its page; `curl -Z` fetches the "
               "same in one process.")
    for count in (1, 8):
        runs, peers = [], []
        for i in session.rounds(1 if session.quick else 3):
            for fetch, results in ((run, runs), (run_curl, peers))[::1 if i % 2 else -1]:
                results.append(fetch(session, [url] * count))
        gigabytes = count * size / 1000 / MB
        figures = [run.figures[0] for run in runs]
        processor = of(figures, "processor", 1 / gigabytes)
        table.add(f"{count}, window", spread([1000 * gigabytes / wall for wall in of(figures, "wall")]),
                  spread(processor), spread([run.user / run.processor for run in runs], 100, " %"),
                  spread(of(figures, "peakAboveIdle"), 1 / MIB), spread(of(figures, "longestTurn")),
                  f"{sum(of(figures, 'longTurns')):.0f}",
                  spread([one["frames"] / one["wall"] for one in figures]))
        table.add(f"{count}, curl -Z", spread([1000 * gigabytes / run.wall for run in peers]),
                  spread([run.processor / gigabytes for run in peers]),
                  spread([run.user / run.processor for run in peers], 100, " %"), "", "", "", "")
        above = statistics.median(of(figures, "peakAboveIdle", 1 / MIB))
        session.guard_at_most(f"memory above the idle application with {count} at once{over(scheme)}", above,
                              *{1: (32, " MiB"), 8: (128, " MiB")}[count])
    session.at_most(f"eight downloads in the window{over(scheme)}, processor time / curl -Z's",
                    ratios(processor, [run.processor / gigabytes for run in peers]),
                    *{"http": (1.15, 3), "https": (1.4, 3)}[scheme])


def at_most_in_every_run(session, what, values, limit, unit):
    """The median hides what happens once in ten times."""
    session.at_most(f"{what}, every one of {len(values)} runs", values, limit, 2 * limit, unit, of=max)


def outliers(session):
    """What happens in one run of twenty happens to somebody every day."""
    runs = 20
    table = session.table("The worst of many runs in the real window",
                          ["", "runs", "above idle MiB", "longest turn ms", "runs with a turn ≥ 50 ms"],
                          before="The same bytes as one download or as eight; beside it nothing, or two processes that "
                                 "never rest.")
    for busy in (0, 2):
        with session.lab.busy(busy):
            for scheme in SCHEMES:
                for count in (1, 8) if busy == 0 else (8,):
                    url = f"{session.near[scheme][0]}/{session.lab.stream(320 * MB // count).name}"
                    figures = [run(session, [url] * count).figures[0] for _ in range(runs)]
                    above, turns = of(figures, "peakAboveIdle", 1 / MIB), of(figures, "longestTurn")
                    beside = f"{busy} busy processes beside" if busy else "alone"
                    table.add(f"{count}, {scheme}, {beside}", runs, spread(above), spread(turns),
                              sum(turn >= LONG_TURN for turn in turns))
                    at_most_in_every_run(session, f"memory above idle with {count} at once{over(scheme)}, {beside}",
                                         above, 16 if count == 1 else 64, " MiB")
                    if count == 8 and not busy:
                        session.holds.append((f"longest event-loop turn with 8 at once{over(scheme)}, every one of "
                                              f"{runs} runs", f"< {LONG_TURN} ms", max(turns) < LONG_TURN,
                                              spread(turns, unit=" ms")))


def at_once(session):
    """What each further download costs; they share the same bytes."""
    total = 600 * MB
    counts = [1, 2, 4, 8, 16, 30]
    table = session.table(f"From 1 to 30 downloads at once over https, {total / MB:.0f} MB in all",
                          ["downloads", "processor s/GB", "above idle MiB", "MiB per download", "longest turn ms"])
    spent, held = [], []
    for count in counts:
        url = f"{session.near['https'][0]}/{session.lab.stream(total // count).name}"
        figures = [run(session, [url] * count).figures[0] for _ in session.rounds(2)]
        processor, above = of(figures, "processor", 1000 * MB / total), of(figures, "peakAboveIdle", 1 / MIB)
        table.add(count, spread(processor), spread(above), spread(above, 1 / count), spread(of(figures, "longestTurn")))
        spent.append(statistics.median(processor))
        held.append(statistics.median(above))
    table.notes.append(f"{growth('Processor time', 'downloads', counts, spent)} "
                       f"{growth('Memory above idle', 'downloads', counts, held)}")


def idle(session):
    """All states beside each other: whoever wakes up for nothing does so in company as well."""
    seconds = 5 if session.quick else 60
    table = session.table("An application that has nothing to do",
                          ["", "wake-ups/s", "paints/s", "processor ms/s"],
                          before=f"For {seconds} seconds each; wake-ups are the context switches of all threads.")
    site = session.lab.demo_site()["http"]
    url = f"{session.near['https'][0]}/{session.lab.stream(MB).name}"
    states = {"open": "the window open", "downloaded": "after a download", "analysed": "after an analysis",
              "minimised": "minimised", "focused": "a field has the cursor, which blinks"}

    def watch(state):
        folder = session.lab.memory / f"idle-{state}"
        folder.mkdir()
        command = [session.lab.program("idle"), state, seconds, folder, site, url]
        return session.lab.cost(command, session.display, timeout=seconds + 30).figures[0]

    with concurrent.futures.ThreadPoolExecutor(len(states)) as pool:
        figures = dict(zip(states, pool.map(watch, states)))
    for state, one in figures.items():
        table.add(states[state], number(one["wakeUps"]), number(one["paints"]), number(1000 * one["processor"]))
    session.at_most("wake-ups per second of an application that has nothing to do, its worst state",
                    [one["wakeUps"] for state, one in figures.items() if state != "focused"], 1, 10, of=max)


def large_file(session):
    """Memory must not depend on the size of the file."""
    table = session.table("One large download in the real window",
                          ["", "above idle MiB", "longest turn ms", "MB/s", "frames/s"])
    sizes = [size for size in (100 * MB, 1000 * MB, 1900 * MB) if size <= session.lab.free_bytes() // 4]
    peaks = []
    for size in sizes:
        url = f"{session.near['http'][0]}/{session.lab.stream(size).name}"
        figures = [run(session, [url]).figures[0] for _ in session.rounds(3)]
        session.lab.forget_streams()
        peaks.append([one["peakAboveIdle"] / MIB for one in figures])
        table.add(f"{size / MB:.0f} MB", spread(peaks[-1]), spread([one["longestTurn"] for one in figures]),
                  spread([size / MB / one["wall"] for one in figures]),
                  spread([one["frames"] / one["wall"] for one in figures]))
    if len(sizes) > 1:
        table.notes.append(growth("Memory above idle", "bytes", sizes, list(map(statistics.median, peaks))))
    session.at_most("memory above the idle application, largest file", peaks[-1], 16, unit=" MiB")


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
        url = f"{session.near['http'][0]}/{session.lab.stream(size).name}"
        figures, peers = [], []
        for _ in session.rounds(2):
            figures += session.lab.cost([*mounted, session.lab.program("window"), folder, url],
                                        session.display).figures
            peers.append(session.lab.cost([*mounted, "curl", "-q", "-sS", "-o", folder / "out", url]).wall)
        walls.append([one["wall"] for one in figures])
        peaks.append([one["peakAboveIdle"] / MIB for one in figures])
        table.add(f"{size / MB:.0f} MB, window", spread(walls[-1]), spread([size / MB / wall for wall in walls[-1]]),
                  spread(peaks[-1]), spread([one["longestTurn"] for one in figures]),
                  f"{sum(of(figures, 'longTurns')):.0f}")
        table.add(f"{size / MB:.0f} MB, curl", spread(peers), spread([size / MB / wall for wall in peers]), "", "", "")
    table.notes.append(f"{growth('Wall time', 'bytes', sizes, list(map(statistics.median, walls)))} "
                       f"{growth('Memory above idle', 'bytes', sizes, list(map(statistics.median, peaks)))}")
