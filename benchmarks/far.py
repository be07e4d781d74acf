"""A server far away: nginx in the network namespace that this runs in, every packet 25 ms late in either direction.

    far.py FOLDER DATA

By the kernel's network emulator where it is there; else by a network device whose packets this program holds back and
returns with the two addresses exchanged, so that the namespace talks to itself over real TCP. Prints one line of JSON
when it serves, and ends when its standard input does.
"""

import collections
import fcntl
import json
import os
import select
import struct
import subprocess
import sys
import time

import servers

DELAY = 0.025  # seconds, one way
OWN, MIRRORED = "10.77.0.1", servers.FAR
PORTS = 8080, 8081, 8443, 8444
TUNSETIFF, IFF_TUN, IFF_NO_PI = 0x400454CA, 0x0001, 0x1000


def ip(*arguments):
    subprocess.run(["ip", *arguments], check=True)


def emulator():
    command = "tc qdisc add dev lo root netem delay 25ms limit 100000".split()
    return subprocess.run(command, stderr=subprocess.DEVNULL).returncode == 0


def open_mirror():
    device = os.open("/dev/net/tun", os.O_RDWR | os.O_NONBLOCK)
    fcntl.ioctl(device, TUNSETIFF, struct.pack("16sH", b"far", IFF_TUN | IFF_NO_PI))
    ip("link", "set", "far", "mtu", "9000", "txqueuelen", "10000", "up")
    ip("addr", "add", OWN, "peer", MIRRORED, "dev", "far")
    # With large packets ten at once would be a start that no far connection gets.
    ip("route", "replace", MIRRORED, "dev", "far", "src", OWN, "initcwnd", "2")
    return device


def exchanged(packet):
    return packet[:12] + packet[16:20] + packet[12:16] + packet[20:]


def read_packets(device, held):
    # Not all there may be: what is due must not wait.
    for _ in range(64):
        try:
            packet = os.read(device, 65536)
        except BlockingIOError:
            return
        if packet[0] >> 4 == 4:
            held.append((time.monotonic() + DELAY, exchanged(packet)))


def mirror(device):
    held = collections.deque()
    while True:
        wait = max(0, held[0][0] - time.monotonic()) if held else None
        readable, _, _ = select.select([device, sys.stdin], [], [], wait)
        if sys.stdin in readable:
            return
        if device in readable:
            read_packets(device, held)
        while held and held[0][0] <= time.monotonic():
            os.write(device, held.popleft()[1])


def main():
    folder, data = sys.argv[1:]
    ip("link", "set", "lo", "mtu", "1500", "up")
    device = None
    own = host = servers.LOOPBACK
    if not emulator():
        device = open_mirror()
        own, host = OWN, MIRRORED
    way = "a mirror of packets in real time" if device else "tc netem"
    configuration = servers.nginx_configuration(folder, own, PORTS, f"root {data};")
    server = subprocess.Popen(["setpriv", "--pdeathsig", "TERM", *servers.nginx(folder, configuration)])
    try:
        servers.wait_for_port(own, PORTS[-1])
        addresses = servers.addresses(host, PORTS)
        print(json.dumps({"way": way, "addresses": addresses, "pid": os.getpid()}), flush=True)
        if device:
            mirror(device)
        else:
            sys.stdin.read()
    finally:
        server.terminate()
        server.wait()


if __name__ == "__main__":
    main()
