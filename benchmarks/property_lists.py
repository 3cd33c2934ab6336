#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes and reads a schedule of 100,000 events with this library, with libplist and with Python's
plistlib, in turn, and prints the medians.

    property_lists.py TIMER [ROUNDS [EVENTS]]

TIMER is property_list_timer, which times the first two. Python times itself.
"""
import pathlib
import plistlib
import statistics
import subprocess
import sys
import tempfile
import time

ENOUGH = 20  # seconds
FORMATS = {"binary": plistlib.FMT_BINARY, "xml": plistlib.FMT_XML}


class Timer:
    """A library that another process times."""

    def __init__(self, program, library, events, file):
        self.process = subprocess.Popen([program, library, str(events), file], text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.line()

    def line(self):
        line = self.process.stdout.readline()
        if not line:
            sys.exit("the timer has ended")
        return line

    def seconds(self, what, format):
        print(what, format, file=self.process.stdin, flush=True)
        return float(self.line())


class Python:
    def __init__(self, file):
        self.value = plistlib.loads(file.read_bytes())
        self.lists = {format: plistlib.dumps(self.value, fmt=number, sort_keys=False)
                      for format, number in FORMATS.items()}

    def seconds(self, what, format):
        list = self.lists[format]
        start = time.process_time()
        if what == "write":
            result = plistlib.dumps(self.value, fmt=FORMATS[format], sort_keys=False)
        else:
            result = plistlib.loads(list, fmt=FORMATS[format])
        seconds = time.process_time() - start
        if result != (list if what == "write" else self.value):
            sys.exit("Python has made something else")
        return seconds


def medians(rounds, contestants, what, format):
    """They take turns, so that what slows down the machine slows down all of them. Who has taken
    long enough takes no more: libplist needs most of a minute to write 100,000 events as binary."""
    times = [[] for _ in contestants]
    for _ in range(rounds):
        for contestant, taken in zip(contestants, times):
            if sum(taken) < ENOUGH:
                taken.append(contestant.seconds(what, format))
    return map(statistics.median, times)


def main():
    program = sys.argv[1]
    rounds, events = (int(text) for text in (sys.argv[2:] + ["7", "100000"][len(sys.argv) - 2:]))
    with tempfile.TemporaryDirectory() as directory:
        file = pathlib.Path(directory) / "schedule"
        contestants = [Timer(program, "ours", events, file),
                       Timer(program, "libplist", events, file), Python(file)]
        size = file.stat().st_size
    print(f"{events} events, {size / 1e6:.1f} MB as binary; medians of {rounds} rounds,"
          " milliseconds of processor time")
    print(f"{'':14}{'ours':>8}{'libplist':>10}{'Python':>9}{'libplist/ours':>15}"
          f"{'Python/ours':>13}")
    for format in FORMATS:
        for what in ("write", "read"):
            ours, libplist, python = medians(rounds, contestants, what, format)
            print(f"{what + ' ' + format:14}{ours * 1e3:8.1f}{libplist * 1e3:10.1f}"
                  f"{python * 1e3:9.1f}{libplist / ours:15.1f}{python / ours:13.1f}", flush=True)


main()
