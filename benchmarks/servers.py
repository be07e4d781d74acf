"""What the contenders fetch from: nginx over http and https, and the certificates that it takes."""

import contextlib
import getpass
import os
import pathlib
import socket
import subprocess
import time

LOOPBACK = "127.0.0.1"
FAR = "10.77.0.2"  # where the far server is reached through the mirror of packets
SCHEMES = "http", "https"


class Failure(Exception):
    """What was to be measured did not work."""


CERTIFICATES = f"""[req]
distinguished_name = name
prompt = no
[name]
CN = Fourfold benchmarks
[authority]
basicConstraints = critical,CA:TRUE
keyUsage = critical,keyCertSign
[server]
basicConstraints = critical,CA:FALSE
extendedKeyUsage = serverAuth
subjectAltName = IP:{LOOPBACK},IP:{FAR}
"""


def make_certificates(folder):
    """authority.pem, which the contenders are told to trust, and server.pem with server.key, which it has signed."""
    configuration = folder / "certificates.cnf"
    configuration.write_text(CERTIFICATES)
    for name, signer in (("authority", []),
                         ("server", ["-CA", folder / "authority.pem", "-CAkey", folder / "authority.key"])):
        subprocess.run(["openssl", "req", "-x509", "-config", configuration, "-extensions", name, "-days", "2",
                        "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", *signer,
                        "-keyout", folder / f"{name}.key", "-out", folder / f"{name}.pem"],
                       check=True, stderr=subprocess.DEVNULL)


def addresses(host, ports):
    """For each scheme: where connections are kept alive, and where each request takes a new one."""
    return {scheme: [f"{scheme}://{host}:{port}" for port in ports[2 * i:2 * i + 2]]
            for i, scheme in enumerate(SCHEMES)}


def nginx_configuration(folder, host, ports, content):
    """Serves over http on the first two ports and over https on the others; the second of each closes connections."""
    user = f"user {getpass.getuser()};" if os.geteuid() == 0 else ""
    # The temporary folders of modules that are not used would otherwise be made in the system's places.
    temporary = "".join(f"{module}_temp_path {folder}/nginx;" for module in
                        ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
    sites = "\n    ".join(
        f"server {{ listen {host}:{port}{' ssl' if i >= 2 else ''}; {'keepalive_timeout 0; ' if i % 2 else ''}"
        f"{content} }}" for i, port in enumerate(ports))
    path = pathlib.Path(folder) / f"nginx-{ports[0]}.conf"
    path.write_text(f"""
{user}
daemon off;
worker_processes 2;
pid {folder}/nginx-{ports[0]}.pid;
error_log stderr;
events {{ worker_connections 512; }}
http {{
    access_log off;
    sendfile on;
    tcp_nopush on;
    keepalive_requests 100000;
    send_timeout 300s;
    ssl_protocols TLSv1.3;
    ssl_certificate {folder}/server.pem;
    ssl_certificate_key {folder}/server.key;
    {temporary}
    {sites}
}}
""")
    return path


def nginx(folder, configuration):
    return ["nginx", "-p", folder, "-e", "stderr", "-c", configuration]


def free_ports(count):
    with contextlib.ExitStack() as stack:
        probes = [stack.enter_context(socket.socket()) for _ in range(count)]
        for probe in probes:
            probe.bind((LOOPBACK, 0))
        return [probe.getsockname()[1] for probe in probes]


def wait_for_port(host, port, seconds=10):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        with contextlib.suppress(OSError), socket.create_connection((host, port), 1):
            return
        time.sleep(0.02)
    raise Failure(f"no server came up on {host}:{port}")
