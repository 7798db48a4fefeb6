"""Runs programs and measures them: wall time, processor time, peak memory."""

import os
import subprocess
import tempfile
import time
from dataclasses import dataclass
from statistics import median


@dataclass
class Run:
    """One run of a program."""
    wall_seconds: float
    cpu_seconds: float  # user and system, of the program and the children that it waited for


class ProgramFailed(Exception):
    pass


def run(command):
    """Runs a command without a shell and measures it; its output is kept for the error only."""
    start = time.perf_counter()
    process = subprocess.Popen([str(part) for part in command], stdin=subprocess.DEVNULL,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    with process.stdout:
        output = process.stdout.read()
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        text = output.decode("utf-8", "replace")[-2000:]
        raise ProgramFailed(f"{' '.join(map(str, command))}\nexit status {process.returncode}\n{text}")
    return Run(wall, usage.ru_utime + usage.ru_stime)


def peak_memory(command):
    """The largest resident size of a run in bytes. A child of this interpreter would begin with the
    interpreter's own size, so a small program stands between."""
    with tempfile.NamedTemporaryFile() as report:
        run(["/usr/bin/time", "-q", "-f", "%M", "-o", report.name, *command])
        return int(report.read()) * 1024


@dataclass
class Ratio:
    """Peer's value over ours: the median of the pairs with the range; above 1 we are better."""
    middle: float
    lowest: float
    highest: float

    def __str__(self):
        return f"{self.middle:.2f} ({self.lowest:.2f}–{self.highest:.2f})"


@dataclass
class Comparison:
    wall: Ratio
    cpu: Ratio
    our_seconds: float  # median of the wall times
    our_peak_bytes: int
    peer_peak_bytes: int


def ratio(values):
    return Ratio(median(values), min(values), max(values))


def compare(peer, ours, pairs, before_each=lambda: None):
    """Runs both in turn, A B A B …; the warm-up of each is the run that tells its memory. Processor
    times below a clock tick count as one."""
    tick = 1 / os.sysconf("SC_CLK_TCK")
    before_each()
    peer_peak_bytes = peak_memory(peer)
    before_each()
    our_peak_bytes = peak_memory(ours)
    peers, mine = [], []
    for _ in range(pairs):
        before_each()
        peers.append(run(peer))
        before_each()
        mine.append(run(ours))
    return Comparison(ratio([a.wall_seconds / b.wall_seconds for a, b in zip(peers, mine)]),
                      ratio([max(a.cpu_seconds, tick) / max(b.cpu_seconds, tick) for a, b in zip(peers, mine)]),
                      median(run.wall_seconds for run in mine), our_peak_bytes, peer_peak_bytes)


def alone(ours, runs):
    """The median wall time and the peak memory of a program that has no peer."""
    peak_bytes = peak_memory(ours)
    return median(run(ours).wall_seconds for _ in range(runs)), peak_bytes
