"""What a whole-process case is made of. Each case is a file in cases/ that ends with CASES = [...]."""

import json
import subprocess
from dataclasses import dataclass, field
from pathlib import Path


class WrongResult(Exception):
    """A case counts only if its result is right."""


@dataclass
class Goal:
    """One number that a case has to reach."""
    metric: str        # "wall", "cpu": peer over ours; "memory": ours over peer;
                       # "milliseconds", "mebibytes": ours alone
    bound: float
    at_least: bool     # else at most

    def __str__(self):
        unit = {"milliseconds": " ms", "mebibytes": " MiB"}.get(self.metric, "")
        return f"{self.metric} {'≥' if self.at_least else '≤'} {self.bound:g}{unit}"


def at_least(metric, bound):
    return Goal(metric, bound, True)


def at_most(metric, bound):
    return Goal(metric, bound, False)


@dataclass
class Peer:
    """Another program that does the same."""
    name: str
    command: object                    # bench -> command
    goals: list


@dataclass
class Case:
    name: str                          # for the command line
    title: str                         # for people
    ours: object                       # bench -> command
    check: object                      # bench -> None, raises WrongResult; called after one run of ours
    prepare: object = lambda bench: None        # makes media once
    before_each: object = lambda bench: None    # puts back what a run changes
    peers: list = field(default_factory=list)
    goals: list = field(default_factory=list)   # of a case without peers


class Bench:
    """The places and helpers that cases use."""

    def __init__(self, root):
        self.root = Path(root)
        self.media = self.root / "build/bench-media"
        self.out = self.root / "build/bench-out"
        self.twqt = self.root / "build/release/bin/twqt"
        for folder in (self.media, self.out):
            folder.mkdir(parents=True, exist_ok=True)

    def make(self, name, *ffmpeg_arguments):
        """The media file of that name, made by ffmpeg unless an earlier run has made it."""
        path = self.media / name
        if not path.exists():
            unfinished = path.with_name("unfinished-" + path.name)
            subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", *map(str, ffmpeg_arguments), str(unfinished)],
                           check=True)
            unfinished.rename(path)
        return path

    def probe(self, path, *options):
        """What ffprobe says of a file, as a dictionary."""
        result = subprocess.run(["ffprobe", "-v", "error", "-of", "json", *options, str(path)],
                                capture_output=True, text=True, check=True)
        return json.loads(result.stdout)

    def output_of(self, *command):
        return subprocess.run([str(part) for part in command], capture_output=True, text=True, check=True).stdout

    def packet_hash(self, path):
        """A hash over the bytes of all packets in their order."""
        return self.output_of("ffmpeg", "-v", "error", "-nostdin", "-i", path, "-map", "0", "-c", "copy", "-f", "md5", "-")

    def header_is_in_front(self, path):
        """Whether the movie atom stands before the media data."""
        with open(path, "rb") as file:
            while header := file.read(8):
                if header[4:] in (b"moov", b"mdat"):
                    return header[4:] == b"moov"
                file.seek(int.from_bytes(header[:4], "big") - 8, 1)
        return False

    def psnr(self, picture, movie, seconds):
        """Luma PSNR of a picture to the frame of an HD movie at the time, in dB."""
        result = subprocess.run(["ffmpeg", "-nostdin", "-i", picture, "-ss", str(seconds), "-i", movie, "-frames:v", "1",
                                 "-lavfi", "[0]scale=out_color_matrix=bt709:out_range=tv,format=yuv444p[a];"
                                 "[1]trim=end_frame=1,setpts=0,format=yuv444p[b];[a][b]psnr", "-f", "null", "-"],
                                capture_output=True, text=True, check=True)
        value = result.stderr.split("PSNR y:")[1].split()[0]
        return float(value)


def expect(condition, message):
    if not condition:
        raise WrongResult(message)
