"""One download by the engine alone against curl and aria2c, and the questions for sizes that come before."""

import statistics
import subprocess

from lab import MB, MIB, Failure
from tables import Table, growth, ratios, spread

LIMIT = 20 * MB  # bytes per second of each connection of the limited server
# Small pieces, so that it takes four connections for small streams too.
ARIA2C = ["aria2c", "--no-conf", "--quiet", "-x4", "-s4", "-k1M", "--allow-overwrite=true",
          "--auto-file-renaming=false", "--disable-ipv6"]
# What is fetched reaches the file when it comes, so that the file tells when the first bytes came.
PROMPT = ["--disk-cache=0", "--file-allocation=none"]
CONTENDERS = "fourfold", "curl", "aria2c"


def curl(laboratory, scheme):
    return ["curl", "-q", "-sS", "--fail", *(["--cacert", laboratory.authority] if scheme == "https" else [])]


def aria2c(laboratory, scheme):
    return [*ARIA2C, *([f"--ca-certificate={laboratory.authority}"] if scheme == "https" else [])]


def contenders(laboratory, url, out, size):
    """By itself aria2c fills its file in advance; the last but one spares it that."""
    scheme = url.partition(":")[0]
    aria2 = [*aria2c(laboratory, scheme), "-d", out.parent, "-o", out.name]
    return {
        "fourfold": [laboratory.program("fetch"), url, out, size],
        "curl": [*curl(laboratory, scheme), "-o", out, url],
        "aria2c": [*aria2, url],
        "aria2c, unfilled": [*aria2, "--file-allocation=none", url],
        "aria2c, prompt": [*aria2, *PROMPT, url],
    }


def race(session, url, size, folder, rounds, original=None, enter=(), names=CONTENDERS, watched=False):
    """The costs of each contender, round by round; the order changes from round to round."""
    out = folder / "out"
    commands = contenders(session.lab, url, out, size)
    costs = {name: [] for name in names}
    for i in session.rounds(rounds):
        for name in names[i % len(names):] + names[:i % len(names)]:
            costs[name].append(session.lab.cost([*enter, *commands[name]], file=out if watched else None))
            if out.stat().st_size != size:
                raise Failure(f"{name} fetched {out.stat().st_size} bytes of {size}")
            if i == 0 and original and subprocess.run(["cmp", "-s", "-n", str(size), original, out]).returncode:
                raise Failure(f"{name} fetched other bytes than the server holds")
            out.unlink()
    return costs


class Race(Table):
    """A table of the contenders' costs for streams of several sizes."""

    def __init__(self, title, before, watched=False):
        first = ["first byte s"] if watched else []
        super().__init__(title, ["", *first, "wall s", "× curl", "processor s", "× curl", "s/GB", "peak MiB"],
                         before=before)
        self.watched = watched
        self.results = {}  # by size: the costs of each contender

    def enter(self, size, costs):
        self.results[size] = costs
        for name, each in costs.items():
            first = [spread([cost.first for cost in each])] if self.watched else []
            wall, processor = self.wall(size, name), self.processor(size, name)
            self.add(f"{size / MB:.0f} MB, {name}", *first, spread(wall), spread(ratios(wall, self.wall(size, "curl"))),
                     spread(processor), spread(ratios(processor, self.processor(size, "curl"))),
                     spread(processor, 1000 * MB / size), spread([cost.peak for cost in each], 1 / MIB))

    def wall(self, size, name):
        return [cost.wall for cost in self.results[size][name]]

    def processor(self, size, name):
        return [cost.processor for cost in self.results[size][name]]

    def tell_growth(self, names):
        sizes = list(self.results)
        if len(sizes) < 2:
            return
        for name in names:
            walls, processor = ([statistics.median(of(size, name)) for size in sizes]
                                for of in (self.wall, self.processor))
            self.notes.append(f"{name}: {growth('wall time', 'bytes', sizes, walls)} "
                              f"{growth('Processor time', 'bytes', sizes, processor)}")


def over(scheme):
    return " over https" if scheme == "https" else ""


def throughput(session, scheme):
    sizes = [200 * MB] if session.quick else [250 * MB, 1000 * MB, *([1900 * MB] if scheme == "http" else [])]
    fitting = [size for size in sizes if size <= session.lab.free_bytes() // 4]
    if not fitting:
        session.leave_out(f"One stream{over(scheme)}", "too little memory")
        return
    one_gigabyte = 1000 * MB if 1000 * MB in fitting else fitting[-1]
    places = {"a tmpfs": session.lab.memory}
    if not session.quick:
        places["disk"] = session.lab.disk
    for place, folder in places.items():
        on_disk = folder == session.lab.disk
        table = session.show(Race(f"One stream from nginx on loopback{over(scheme)} onto {place}",
                                  "Four ranges by the engine alone, one stream by curl, `aria2c -x4 -s4` as it is, and "
                                  "spared from filling its file in advance."))
        table.notes += [f"{size / MB:.0f} MB: left out, too little memory." for size in sizes if size not in fitting]
        for size in [one_gigabyte] if on_disk else fitting:
            original = session.lab.stream(size)
            names = CONTENDERS if on_disk or session.quick else (*CONTENDERS, "aria2c, unfilled")
            table.enter(size, race(session, f"{session.near[scheme][0]}/{size}", size, folder,
                                   5 if size == 1000 * MB else 3, original, names=names))
            original.unlink()
        table.tell_growth(("fourfold", "curl"))
        if not on_disk:
            judge_throughput(session, scheme, table, one_gigabyte)


def judge_throughput(session, scheme, table, size):
    name = f"{size / MB:.0f} MB from nginx on loopback{over(scheme)} onto a tmpfs, "
    of_aria2, of_curl = (1, 1.4) if scheme == "https" else (0.6, 2)
    for what, costs, peer, limit, badly_off in (("wall time / curl's", table.wall, "curl", 1.1, 2.5),
                                                ("wall time / aria2c's", table.wall, "aria2c", of_aria2,
                                                 2.5 * of_aria2),
                                                ("processor time / curl's", table.processor, "curl", of_curl, 4)):
        session.at_most(name + what, ratios(costs(size, "fourfold"), costs(size, peer)), limit, badly_off)


def limited(session, scheme):
    site = session.lab.demo_site()[scheme]
    sizes = [40 * MB] if session.quick else [50 * MB, 150 * MB]
    proxy = " behind nginx, which makes https of it," if scheme == "https" else ","
    table = session.show(Race(f"A server that limits each connection to {LIMIT // MB} MB/s{over(scheme)}",
                              f"The demo site{proxy} since it paces evenly: nginx itself gives every connection one "
                              "second's bytes at once first."))
    for size in sizes:
        table.enter(size, race(session, f"{site}/stream?size={size}&seed=1&rate={LIMIT}", size, session.lab.memory,
                               1 if session.quick else 2))
    table.tell_growth(("fourfold", "curl"))
    session.at_least(f"{sizes[-1] / MB:.0f} MB from a server that limits each connection{over(scheme)}, one "
                     "connection's wall time / four ranges'",
                     ratios(table.wall(sizes[-1], "curl"), table.wall(sizes[-1], "fourfold")), 3.9, 2.5)


def far(session):
    server = session.lab.far_server()
    if not server:
        session.leave_out("A far server", "the machine allows no network of its own")
        return
    way, addresses, enter = server
    names = "fourfold", "curl", "aria2c, prompt"
    for scheme in addresses:
        table = session.show(Race(f"A far server{over(scheme)}, 50 ms of delay for every round trip",
                                  f"nginx in a network namespace of its own; the delay is made by {way}, over real "
                                  "TCP. Time counts from the start of the process, so handshakes are in it; aria2c is "
                                  "made to write what comes at once.", watched=True))
        for size in (10 * MB, 50 * MB):
            original = session.lab.stream(size)
            table.enter(size, race(session, f"{addresses[scheme][0]}/{size}", size, session.lab.memory, 2, original,
                                   enter, names, watched=True))
        table.tell_growth(names)
    probes(session, addresses, enter, "Probes of formats on the far server", [20], 2)


def near_probes(session):
    probes(session, session.near, [], "Probes of formats on loopback", [5, 20, 80], 3)


def probes(session, addresses, enter, title, counts, rounds):
    table = session.table(title, ["formats", "kept alive ms", "each anew ms", "anew / kept alive", "processor ms"],
                          before="Their sizes asked for with HEAD one after another, on one kept-alive connection or "
                                 "on a new one each, since the server closes it.")
    name = session.lab.stream(MB).name
    for scheme, each_address in addresses.items():
        medians = []
        for count in counts:
            kept, anew, processor = [], [], []
            for _ in session.rounds(rounds):
                for address, walls in zip(each_address, (kept, anew)):
                    command = [*enter, session.lab.program("probes"), count, f"{address}/{name}"]
                    [figures] = session.lab.cost(command).figures
                    walls.append(figures["wall"])
                    if walls is kept:
                        processor.append(figures["processor"])
            table.add(f"{count}, {scheme}", spread(kept, 1000), spread(anew, 1000), spread(ratios(anew, kept)),
                      spread(processor, 1000))
            medians.append(statistics.median(kept))
        if len(counts) > 1:
            table.notes.append(growth(f"Wall time on a kept-alive connection of {scheme}", "formats", counts,
                                      medians))
