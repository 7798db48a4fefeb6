#!/usr/bin/env python3
"""Makes the seeds of MovieFileFuzzer: movies by ffmpeg, of which all but the media data is kept."""
import pathlib
import struct
import subprocess
import sys
import tempfile
import zlib

VIDEO = ["-f", "lavfi", "-i", "testsrc=s=16x16:r=25:d=0.4"]
SOUND = ["-f", "lavfi", "-i", "sine=r=8000:d=0.4"]
RECIPES = {
    "plain.mov": VIDEO + SOUND + ["-c:v", "mpeg4", "-c:a", "pcm_s16be"],
    "reordered.mp4": VIDEO + SOUND + ["-c:v", "libx264", "-bf", "2", "-c:a", "aac",
                                      "-movflags", "+faststart"],
    "fragments.mp4": VIDEO + SOUND + ["-c:v", "libx264", "-g", "5", "-c:a", "aac",
                                      "-movflags", "+frag_keyframe+empty_moov"],
    "timecode.mov": VIDEO + ["-c:v", "mjpeg", "-timecode", "01:02:03:04", "-vf", "setsar=16/15"],
    "keys.mov": VIDEO + ["-c:v", "png", "-metadata", "title=t",
                         "-movflags", "+use_metadata_tags"],
    "highrate.mov": SOUND + ["-ar", "96000", "-c:a", "pcm_s24le"],
    "ima4.mov": SOUND + ["-c:a", "adpcm_ima_qt"],
}


def without_media_data(data):
    out = b""
    offset = 0
    while offset + 8 <= len(data):
        size, kind = struct.unpack(">I4s", data[offset : offset + 8])
        out += b"\0\0\0\x08mdat" if kind == b"mdat" else data[offset : offset + size]
        offset += size
    return out


def compressed(movie):
    start = movie.index(b"moov") - 4
    size = struct.unpack(">I", movie[start : start + 4])[0]
    packed = zlib.compress(movie[start : start + size])

    def atom(kind, payload):
        return struct.pack(">I4s", len(payload) + 8, kind) + payload

    return atom(b"moov", atom(b"cmov", atom(b"dcom", b"zlib")
                              + atom(b"cmvd", struct.pack(">I", size) + packed)))


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as scratch:
        for name, arguments in RECIPES.items():
            made = pathlib.Path(scratch) / name
            subprocess.run(["ffmpeg", "-v", "error", "-y", *arguments, str(made)], check=True)
            (folder / name).write_bytes(without_media_data(made.read_bytes()))
    (folder / "compressed.mov").write_bytes(compressed((folder / "plain.mov").read_bytes()))


main()
