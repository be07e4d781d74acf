"""Everything that the benchmarks start, and what it costs. Nothing of it outlives the Lab."""

import contextlib
import dataclasses
import getpass
import json
import os
import pathlib
import select
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

MB = 1_000_000
HERE = pathlib.Path(__file__).resolve().parent


class Failure(Exception):
    """What was to be measured did not work."""


@dataclasses.dataclass
class Cost:
    started: float  # seconds of the machine's monotonic clock
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
        home = self.memory / "home"
        (home / "run").mkdir(parents=True, mode=0o700)
        keep = {name: value for name, value in os.environ.items() if name in ("PATH", "LANG")}
        self.environment = {**keep, "HOME": str(home), "XDG_RUNTIME_DIR": str(home / "run"), "LC_ALL": "C.UTF-8",
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

    @staticmethod
    def _end(process):
        process.terminate()
        try:
            process.wait(5)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()

    def cost(self, command, display=None, timeout=60):
        environment = dict(self.environment)
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

    def nginx(self, folder=None):
        """Serves the data folder; returns two addresses: kept-alive connections, and a new one for each request."""
        ports = free_ports(2)
        configuration = nginx_configuration(self.memory, self.data, "127.0.0.1", *ports)
        self.start(["nginx", "-p", self.memory, "-e", "stderr", "-c", configuration])
        wait_for_port("127.0.0.1", ports[1])
        return tuple(f"http://127.0.0.1:{port}" for port in ports)

    def demo_site(self):
        [port] = free_ports(1)
        self.start([self.program("demosite"), "--port", port], stdout=subprocess.DEVNULL)
        wait_for_port("127.0.0.1", port)
        return f"http://127.0.0.1:{port}"

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


def free_ports(count):
    with contextlib.ExitStack() as stack:
        probes = [stack.enter_context(socket.socket()) for _ in range(count)]
        for probe in probes:
            probe.bind(("127.0.0.1", 0))
        return [probe.getsockname()[1] for probe in probes]


def wait_for_port(host, port, seconds=10):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        with contextlib.suppress(OSError), socket.create_connection((host, port), 1):
            return
        time.sleep(0.02)
    raise Failure(f"no server came up on {host}:{port}")


def nginx_configuration(folder, data, host, kept_alive_port, closing_port):
    user = f"user {getpass.getuser()};" if os.geteuid() == 0 else ""
    # The temporary folders of modules that are not used would otherwise be made in the system's places.
    temporary = "".join(f"{module}_temp_path {folder}/nginx;" for module in
                        ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
    path = pathlib.Path(folder) / f"nginx-{kept_alive_port}.conf"
    path.write_text(f"""
{user}
daemon off;
worker_processes 2;
pid {folder}/nginx-{kept_alive_port}.pid;
error_log stderr;
events {{ worker_connections 512; }}
http {{
    access_log off;
    sendfile on;
    tcp_nopush on;
    keepalive_requests 100000;
    send_timeout 300s;
    {temporary}
    server {{ listen {host}:{kept_alive_port}; root {data}; }}
    server {{ listen {host}:{closing_port}; root {data}; keepalive_timeout 0; }}
}}
""")
    return path
