#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Lets a host browse on a network of its own, where a service daemon of its own comes and goes.

    network_test.py HOST

The network is the loopback and a cable with both ends in it, in a namespace that ends with the test
and takes along every process that was started there. Needs neither systemd nor anything outside.
Exits with 77 and says why where such a namespace cannot be made, or the daemon is not installed.
"""
import contextlib
import os
import pathlib
import queue
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time

PATIENCE = 15.0  # seconds until what must happen is missed
SKIPPED = 77
INSIDE = "--inside"  # the second start, in the namespace
NEEDED = ("unshare", "mount", "ip", "dbus-daemon", "avahi-daemon", "avahi-publish", "avahi-browse")
NAMESPACE = ("unshare", "--net", "--mount-proc", "--pid", "--fork", "--kill-child")

BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path={socket}</listen>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
"""

DAEMON = """[server]
host-name=testing
allow-interfaces={interfaces}
use-ipv4=yes
use-ipv6=no
enable-dbus=yes
[wide-area]
enable-wide-area=no
[publish]
publish-workstation=no
publish-hinfo=no
"""


def skip(reason):
    print(f"skipped: {reason}", flush=True)
    sys.exit(SKIPPED)


def check(condition, message):
    if not condition:
        raise AssertionError(message)


def wait_for(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        check(time.monotonic() < end, f"waited in vain for {what}")
        time.sleep(0.05)


def unescaped(name):
    """A name as the tools print it: bytes outside of plain text are decimal, after a backslash."""
    plain = re.sub(rb"\\(\d{3}|.)", lambda match: bytes([int(match[1])]) if len(match[1]) == 3
                   else match[1], name.encode())
    return plain.decode()


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, timeout=PATIENCE)


def connect_interfaces():
    """Raises the loopback and, so that services have several copies, both ends of a cable; returns
    the names of the interfaces."""
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    ends = ["end0", "end1"]
    made = run("ip", "link", "add", ends[0], "type", "veth", "peer", "name", ends[1])
    if made.returncode != 0:
        print(f"no second interface, no copies to fold: {made.stderr.strip()}", flush=True)
        return ["lo"]
    for number, end in enumerate(ends):
        subprocess.run(["ip", "address", "add", f"192.0.2.{number * 128 + 1}/25", "dev", end],
                       check=True)
        subprocess.run(["ip", "link", "set", end, "up"], check=True)
    return ["lo", *ends]


class Processes(contextlib.ExitStack):
    """Starts processes, and ends those that are left at the end."""

    def __init__(self, log):
        super().__init__()
        self.log = log

    def start(self, *command, **options):
        options.setdefault("stdout", self.log)
        options.setdefault("stderr", self.log)
        process = subprocess.Popen(command, **options)
        self.callback(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.terminate()
            try:
                process.wait(timeout=PATIENCE)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


class Network:
    """The message bus, the daemon on it, and those that publish."""

    def __init__(self, processes, directory, interfaces):
        self.processes = processes
        self.socket = directory / "bus"
        self.bus_configuration = directory / "bus.conf"
        self.bus_configuration.write_text(BUS.format(socket=self.socket))
        self.daemon_configuration = directory / "daemon.conf"
        self.daemon_configuration.write_text(DAEMON.format(interfaces=",".join(interfaces)))
        os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={self.socket}"

    def start_bus(self):
        bus = self.processes.start(
            "dbus-daemon", f"--config-file={self.bus_configuration}", "--nofork", "--nopidfile")
        wait_for(self.socket.exists, "the message bus")
        return bus

    def start_daemon(self):
        return self.processes.start(
            "avahi-daemon", "-f", self.daemon_configuration,
            "--no-drop-root", "--no-chroot", "--no-rlimits", "--no-proc-title")

    def publish(self, name, service_type="_ipp._tcp", port="631"):
        return self.processes.start("avahi-publish", "-s", name, service_type, port)

    def end(self, process):
        self.processes.end(process)

    def copies(self, service_type):
        """The services that the daemon reports, each with the interfaces it reports it on."""
        found = {}
        output = run("avahi-browse", "--terminate", "--parsable", "--no-db-lookup", service_type)
        for line in output.stdout.splitlines():
            event, interface, _, name = line.split(";")[:4]
            if event == "+":
                found.setdefault(unescaped(name), set()).add(interface)
        return found


class Host:
    """The program under test, and the lines it prints."""

    def __init__(self, processes, program, *arguments):
        self.process = processes.start(
            program, *arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=None,
            text=True)
        self.lines = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.put(line.rstrip("\n"))

    def expect(self, *lines):
        """The next lines must be these."""
        for line in lines:
            try:
                printed = self.lines.get(timeout=PATIENCE)
            except queue.Empty:
                raise AssertionError(f"the host did not print: {line}") from None
            print(f"  {printed}", flush=True)
            check(printed == line, f"expected of the host: {line}")

    def expect_quiet(self, seconds):
        try:
            raise AssertionError(f"not expected of the host: {self.lines.get(timeout=seconds)}")
        except queue.Empty:
            pass

    def write_line(self):
        self.process.stdin.write("\n")
        self.process.stdin.flush()

    def close(self):
        """Lets the host end by itself; sanitizers have their say then."""
        self.process.stdin.close()
        status = self.process.wait(timeout=PATIENCE)
        check(status == 0, f"the host ended with status {status}")
        self.expect_quiet(0)


def tree(*names):
    if not names:
        return "tree:"
    return "tree: local." + "".join(f" [{name} local.:_ipp._tcp.:{name}]" for name in names)


NO_DAEMON = "waiting: Daemon not running"
PRINTER, SCANNER = "Büro 2. Etage", "Scanner (local)."


def story(program, processes, directory, interfaces):
    network = Network(processes, directory, interfaces)

    print("without a bus", flush=True)
    refused = run(program, "_ipp._tcp")
    check(refused.returncode == 1, f"the host ended with status {refused.returncode}")
    check(refused.stderr.startswith("cannot browse for _ipp._tcp.: "), refused.stderr)

    print("with a bus, before there is a daemon", flush=True)
    bus = network.start_bus()
    host = Host(processes, program, "_ipp._tcp.")
    host.expect(NO_DAEMON)

    print("a daemon comes", flush=True)
    daemon = network.start_daemon()
    host.expect("browsing", "settled")

    print("two services are published, and one of another type", flush=True)
    printer = network.publish(PRINTER)
    host.expect(tree(PRINTER))
    scanner = network.publish(SCANNER)
    host.expect(tree(PRINTER, SCANNER))
    network.publish("Web", "_http._tcp", "80")
    wait_for(lambda: "Web" in network.copies("_http._tcp"), "the service of another type")
    everywhere = dict.fromkeys([PRINTER, SCANNER], set(interfaces))
    wait_for(lambda: network.copies("_ipp._tcp") == everywhere, "a copy for each interface")
    host.expect_quiet(0)

    print("a host that comes later", flush=True)
    other = Host(processes, program, "_http._tcp")
    other.expect("browsing", "tree: local. [Web local.:_http._tcp.:Web]", "settled")
    other.close()

    print("a host that takes many at once", flush=True)
    taker = Host(processes, program, "_ipp._tcp", "many")
    taker.expect("browsing", "found at once: 2", tree(PRINTER, SCANNER), "settled")

    print("a collection, in which what is there already makes one change", flush=True)
    collection = Host(processes, program, "_ipp._tcp", "collection")
    collection.expect("browsing", tree(PRINTER, SCANNER))

    print("the cable is pulled", flush=True)
    for end in interfaces[1:]:
        subprocess.run(["ip", "link", "set", end, "down"], check=True)
    left = dict.fromkeys(everywhere, {"lo"})
    wait_for(lambda: network.copies("_ipp._tcp") == left, "the copies on the cable to go")
    host.expect_quiet(1)

    print("one is withdrawn", flush=True)
    network.end(printer)
    host.expect(tree(SCANNER))

    taker.expect(tree(SCANNER))

    print("a handler raises, and browsing goes on", flush=True)
    host.write_line()
    printer = network.publish(PRINTER)
    host.expect(tree(PRINTER, SCANNER), "log: While browsing for services: a handler in trouble")
    taker.expect(tree(PRINTER, SCANNER))

    print("the daemon ends", flush=True)
    network.end(daemon)
    host.expect(tree(SCANNER), tree(), NO_DAEMON)
    taker.expect("lost at once: 2", tree(), NO_DAEMON)
    taker.close()
    collection.expect(tree(SCANNER), tree(PRINTER, SCANNER), tree())
    collection.close()
    network.end(printer)
    network.end(scanner)

    print("the daemon comes back", flush=True)
    daemon = network.start_daemon()
    host.expect("browsing", "settled")
    network.publish(SCANNER)
    host.expect(tree(SCANNER))

    print("the bus ends", flush=True)
    network.end(bus)
    host.expect(tree(), NO_DAEMON)
    network.end(daemon)

    print("the bus comes back, and the daemon", flush=True)
    network.start_bus()
    network.start_daemon()
    host.expect("browsing", "settled")
    network.publish(PRINTER)
    host.expect(tree(PRINTER))
    host.close()


def inside(program):
    mounted = run("mount", "-t", "tmpfs", "tmpfs", "/run")
    if mounted.returncode != 0:
        skip(f"the daemon needs a /run of its own: {mounted.stderr.strip()}")
    interfaces = connect_interfaces()
    with tempfile.TemporaryDirectory(dir="/run") as directory:
        log = pathlib.Path(directory) / "log"
        try:
            with open(log, "w") as output, Processes(output) as processes:
                story(program, processes, pathlib.Path(directory), interfaces)
        except BaseException:
            print(log.read_text(), file=sys.stderr)
            raise


def main():
    if sys.argv[1] == INSIDE:
        inside(sys.argv[2])
        return 0
    # The daemons are not where every user looks.
    os.environ["PATH"] += ":/usr/sbin:/sbin"
    missing = [program for program in NEEDED if shutil.which(program) is None]
    if missing:
        skip("not installed: " + ", ".join(missing))
    possible = run(*NAMESPACE, "true")
    if possible.returncode != 0:
        skip(f"cannot make a network namespace: {possible.stderr.strip()}")
    # In place of this process, so that whoever ends it ends the namespace.
    return os.execvp(NAMESPACE[0], [*NAMESPACE, sys.executable, __file__, INSIDE, sys.argv[1]])


sys.exit(main())
