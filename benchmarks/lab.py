"""Everything that the benchmarks start, and what it costs. Nothing of it outlives the Lab."""

import contextlib
import dataclasses
import json
import os
import pathlib
import select
import shutil
import signal
import subprocess
import sys
import tempfile

import servers
from servers import Failure

MB = 1_000_000
MIB = 1 << 20
HERE = pathlib.Path(__file__).resolve().parent


@dataclasses.dataclass
class Cost:
    started: float  # seconds of the machine's monotonic clock
    first: float  # seconds until the watched file held bytes; 0 without one
    wall: float  # seconds
    user: float
    system: float
    peak: int  # bytes
    figures: list  # what the program itself printed

    @property
    def processor(self):
        return self.user + self.system


class Lab:
    def __init__(self, programs, verbose=False):
        self.programs = pathlib.Path(programs).resolve()
        self._stack = contextlib.ExitStack()
        self._errors = None if verbose else subprocess.DEVNULL
        self.memory = self._folder("/dev/shm" if os.access("/dev/shm", os.W_OK) else None)
        self.disk = self._folder(self.programs.parent)
        self.data = self.memory / "data"
        self.data.mkdir()
        servers.make_certificates(self.memory)
        self.authority = self.memory / "authority.pem"
        home = self.memory / "home"
        (home / "run").mkdir(parents=True, mode=0o700)
        keep = {name: value for name, value in os.environ.items() if name in ("PATH", "LANG")}
        self.environment = {**keep, "HOME": str(home), "XDG_RUNTIME_DIR": str(home / "run"), "LC_ALL": "C.UTF-8",
                            # As the application sets itself up, for the programs that measure its engine alone.
                            "QT_NO_THREADED_GLIB": "1",
                            "no_proxy": "*", "QT_QPA_PLATFORM": "offscreen"}

    def __enter__(self):
        return self

    def __exit__(self, *reason):
        self._stack.close()

    def _folder(self, below):
        path = tempfile.mkdtemp(prefix="fourfold-bench-", dir=below)
        self._stack.callback(shutil.rmtree, path, ignore_errors=True)
        return pathlib.Path(path)

    def program(self, name):
        return str(self.programs / f"fourfold-{name}")

    def start(self, command, **options):
        """A process that ends with the Lab, and with this process however that ends."""
        process = subprocess.Popen(["setpriv", "--pdeathsig", "TERM", *map(str, command)], stderr=self._errors,
                                   env=self.environment, **options)
        self._stack.callback(self._end, process)
        return process

    @contextlib.contextmanager
    def busy(self, count):
        """That many processes that never rest run meanwhile."""
        processes = [self.start(["sh", "-c", "while :; do :; done"]) for _ in range(count)]
        try:
            yield
        finally:
            for process in processes:
                self._end(process)

    @staticmethod
    def _end(process):
        process.terminate()
        try:
            process.wait(5)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()

    def cost(self, command, display=None, timeout=60, file=None):
        command = [*(["--file", file] if file else []), *command]
        environment = dict(self.environment)
        # Reading certificates costs time that http does not take.
        if any(str(part).startswith("https:") for part in command):
            environment["FOURFOLD_BENCH_CA"] = str(self.authority)
        if display:
            environment.update(QT_QPA_PLATFORM="xcb", DISPLAY=display)
        process = subprocess.Popen([self.program("cost"), *map(str, command)], stdout=subprocess.PIPE,
                                   stderr=self._errors, env=environment, start_new_session=True)
        try:
            output, _ = process.communicate(timeout=timeout)
        except BaseException as reason:
            # The measured program, not only the one that measures it.
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            if isinstance(reason, subprocess.TimeoutExpired):
                raise Failure(f"no end in {timeout} seconds: {' '.join(map(str, command))}") from reason
            raise
        if process.returncode != 0:
            raise Failure(f"exit code {process.returncode}: {' '.join(map(str, command))}")
        lines = [json.loads(line) for line in output.splitlines() if line.startswith(b"{")]
        return Cost(**lines[-1], figures=lines[:-1])

    def stream(self, size):
        """A file that the servers serve under its name; its blocks have no length in common with any range."""
        path = self.data / str(size)
        if not path.exists():
            block = os.urandom(min(size, 61_000_003))
            with path.open("wb") as file:
                for offset in range(0, size, len(block)):
                    file.write(block[:min(len(block), size - offset)])
        return path

    def forget_streams(self):
        for path in self.data.iterdir():
            path.unlink()

    def free_bytes(self):
        """On the tmpfs, where files take memory."""
        fields = dict(line.split(":") for line in pathlib.Path("/proc/meminfo").read_text().splitlines())
        return min(int(fields["MemAvailable"].split()[0]) * 1024, shutil.disk_usage(self.memory).free)

    def nginx(self, content=None):
        """Serves the data folder, or what the given part of the configuration says; its addresses for each scheme."""
        ports = servers.free_ports(4)
        configuration = servers.nginx_configuration(self.memory, servers.LOOPBACK, ports,
                                                    content or f"root {self.data};")
        self.start(servers.nginx(self.memory, configuration))
        servers.wait_for_port(servers.LOOPBACK, ports[-1])
        return servers.addresses(servers.LOOPBACK, ports)

    def demo_site(self):
        """Its address for each scheme: nginx in front of it turns http into https."""
        [port] = servers.free_ports(1)
        self.start([self.program("demosite"), "--port", port], stdout=subprocess.DEVNULL)
        servers.wait_for_port(servers.LOOPBACK, port)
        site = f"http://{servers.LOOPBACK}:{port}"
        proxy = self.nginx(f"location / {{ proxy_pass {site}; proxy_buffering off; proxy_http_version 1.1; }}")
        return {"http": site, "https": proxy["https"][0]}

    def far_server(self):
        """nginx in a network of its own, a round trip of 50 ms away: how that is done, the addresses, and the prefix
        of commands that are to run there; nothing where the machine does not allow it."""
        new_network = ["unshare", "--net"] if os.geteuid() == 0 else ["unshare", "--map-root-user", "--net"]
        server = self.start([*new_network, sys.executable, "-B", HERE / "far.py", self.memory, self.data],
                            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        ready = first_line(server.stdout, 10)
        if not ready:
            return None
        ready = json.loads(ready)
        enter = ["nsenter", "--target", str(ready["pid"]), "--net"]
        if os.geteuid() != 0:
            enter += ["--user", "--preserve-credentials"]
        return ready["way"], ready["addresses"], enter

    def display(self):
        """A virtual screen; nothing where there is none to be had."""
        screen = self.start(["Xvfb", "-displayfd", "1", "-screen", "0", "1600x1000x24", "-nolisten", "tcp"],
                            stdout=subprocess.PIPE)
        number = first_line(screen.stdout, 10)
        return f":{number.decode().strip()}" if number else None


def first_line(stream, seconds):
    return stream.readline() if select.select([stream], [], [], seconds)[0] else b""
