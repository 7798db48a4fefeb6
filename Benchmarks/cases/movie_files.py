"""Copying and changing movie files: 3.2 GiB of media, and a million samples."""

import json
import os
import subprocess

from case import Case, Peer, at_least, at_most, expect

LARGE_SECONDS = 186
MILLION = 1_000_000


def large_movie(bench):
    """3.2 GiB of uncompressed pictures and sound, the movie atom behind them."""
    return bench.make("large.mov", "-f", "lavfi", "-i", f"testsrc2=size=1280x720:rate=10:duration={LARGE_SECONDS}",
                      "-f", "lavfi", "-i", f"anoisesrc=duration={LARGE_SECONDS}:sample_rate=48000",
                      "-pix_fmt", "uyvy422", "-c:v", "rawvideo", "-c:a", "pcm_s16le")


def million_movie(bench):
    """A million pictures of different sizes, so small (18 MB) that the samples count and not the disk."""
    return bench.make("million.mov", "-f", "lavfi", "-i", f"testsrc=size=16x16:rate=1000:duration={MILLION // 1000}",
                      "-c:v", "mpeg4", "-q:v", "31", "-g", "12", "-video_track_timescale", "1000")


def million_large_movie(bench):
    """A million pictures of 300 bytes (305 MB), which reach the disk no faster than it is."""
    return bench.make("million-large.mov", "-f", "lavfi", "-i", f"testsrc=size=16x16:rate=1000:duration={MILLION // 1000}",
                      "-pix_fmt", "yuvj420p", "-c:v", "mjpeg", "-q:v", "31", "-video_track_timescale", "1000")


def settle(bench):
    """What an earlier run left to be written to the disk is not this run's work."""
    for path in bench.out.glob("flat*"):
        path.unlink()
    os.sync()


def packet_hash(path):
    return subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-i", str(path), "-map", "0", "-c", "copy",
                           "-f", "streamhash", "-hash", "crc32", "-"], capture_output=True, check=True).stdout


def flatten(source):
    return lambda bench: [bench.twqt, "flatten", "--force", source(bench), bench.out / "flat.mov"]


def faststart(source):
    return lambda bench: ["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", source(bench), "-map", "0", "-c", "copy",
                          "-movflags", "+faststart", bench.out / "flat-peer.mov"]


def cp(bench):
    return ["cp", large_movie(bench), bench.out / "flat-peer.mov"]


def cp_to_the_disk(bench):
    """As lasting as a copy of ours, which takes its destination's place only when it is on the disk."""
    return ["sh", "-c", 'cp "$0" "$1" && sync "$1"', large_movie(bench), bench.out / "flat-peer.mov"]


def check_copy(source):
    def check(bench):
        expect(packet_hash(bench.out / "flat.mov") == packet_hash(source(bench)), "the copy differs from its source")
        with open(bench.out / "flat.mov", "rb") as file:
            start = file.read(32)
        expect(start[24:28] == b"moov", "the movie atom is not in front")
    return check


def user_data(bench):
    return [bench.twqt, "userdata", "set", bench.media / "large.mov", "note", "--int", "7"]


def check_user_data(bench):
    said = bench.output_of(bench.twqt, "userdata", "get", bench.media / "large.mov", "note", "--int")
    expect("7" in said, f"the user data were not set: {said}")


def copy_with_user_data(bench):
    return ["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", bench.media / "large.mov", "-map", "0", "-c", "copy",
            "-metadata", "comment=7", bench.out / "flat-peer.mov"]


def info(bench):
    return [bench.twqt, "info", "--json", million_movie(bench)]


def check_info(bench):
    tracks = json.loads(bench.output_of(*info(bench)))["tracks"]
    expect([track["samples"] for track in tracks] == [MILLION], f"not a million samples: {tracks}")


CASES = [
    Case(name="flatten-large", title="flatten 3.2 GiB, header in front",
         prepare=large_movie, before_each=settle, ours=flatten(large_movie), check=check_copy(large_movie),
         peers=[Peer("ffmpeg +faststart", faststart(large_movie), [at_least("wall", 1.35), at_most("mebibytes", 16)]),
                Peer("cp", cp, [at_least("wall", 0.91)]),
                Peer("cp, then sync of the copy", cp_to_the_disk, [at_least("wall", 0.91)])]),
    Case(name="flatten-million", title="flatten 1,000,000 samples",
         prepare=million_movie, before_each=settle, ours=flatten(million_movie), check=check_copy(million_movie),
         peers=[Peer("ffmpeg +faststart", faststart(million_movie), [at_least("wall", 20), at_most("memory", 0.3)])]),
    Case(name="flatten-million-large", title="flatten 1,000,000 samples of 300 bytes", prepare=million_large_movie,
         before_each=settle, ours=flatten(million_large_movie), check=check_copy(million_large_movie),
         peers=[Peer("ffmpeg +faststart", faststart(million_large_movie), [at_least("wall", 20), at_most("memory", 0.3)])]),
    Case(name="info-million", title="`twqt info` on 1,000,000 samples", prepare=million_movie, ours=info, check=check_info,
         peers=[Peer("ffprobe", lambda bench: ["ffprobe", "-v", "error", "-show_streams", million_movie(bench)],
                     [at_most("milliseconds", 20)]),
                Peer("mediainfo", lambda bench: ["mediainfo", million_movie(bench)], [at_least("cpu", 1)])]),
    Case(name="user-data-large", title="user data into a movie of 3.2 GiB",
         prepare=large_movie, before_each=settle, ours=user_data, check=check_user_data,
         peers=[Peer("ffmpeg -c copy", copy_with_user_data, [at_least("wall", 50)])]),
]
