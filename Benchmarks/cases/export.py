"""Exports of movies, against ffmpeg doing the same conversion."""

import plistlib
import subprocess

from case import Case, Peer, at_least, at_most, expect


def source(bench, size, seconds, name):
    """Pictures whose grain is kept, at 107 Mbit/s for 1920x1080: without it quantisers of another shape than the peer's
    could not be judged by PSNR."""
    width, height = size
    return bench.make(name, "-f", "lavfi", "-i", f"testsrc2=s={width}x{height}:r=25:d={seconds}",
                      "-f", "lavfi", "-i", f"sine=440:r=48000:d={seconds}", "-vf", "noise=alls=8:allf=t",
                      "-c:v", "libx264", "-preset", "fast", "-crf", "18", "-pix_fmt", "yuv420p", "-c:a", "aac")


def full_hd(bench):
    return source(bench, (1920, 1080), 30, "hd-30s.mov")


def streamed_hd(bench):
    """The same pictures at 8 Mbit/s, as much as telephones and the web give them. Decoding 107 Mbit/s takes nine tenths
    of an export to Photo-JPEG, and both programs do it with the same library."""
    return bench.make("hd-8M-30s.mov", "-f", "lavfi", "-i", "testsrc2=s=1920x1080:r=25:d=30",
                      "-f", "lavfi", "-i", "sine=440:r=48000:d=30", "-vf", "noise=alls=8:allf=t", "-c:v", "libx264",
                      "-preset", "fast", "-b:v", "8M", "-maxrate", "10M", "-bufsize", "10M", "-pix_fmt", "yuv420p",
                      "-c:a", "aac")


def short_hd(bench):
    """Eight seconds: the peer takes minutes for half a minute of ProRes."""
    return bench.make("hd-8M-8s.mov", "-i", streamed_hd(bench), "-t", "8", "-c", "copy")


def half_hd(bench):
    return source(bench, (1280, 720), 20, "720p-20s.mov")


def sound_hour(bench):
    return bench.make("sound-1h.m4a", "-f", "lavfi", "-i", "aevalsrc=0.3*sin(2*PI*440*t)+0.1*sin(2*PI*3000*t):s=48000:d=3600",
                      "-ac", "2", "-c:a", "aac", "-b:a", "128k")


def pcm_hour(bench):
    return bench.make("sound-1h.mov", "-i", sound_hour(bench), "-c:a", "pcm_s16be")


def preset(bench, name, *options):
    """A preset file with one setting, its settings made by the program."""
    settings = bench.out / f"{name}.settings"
    subprocess.run([bench.twqt, "settings", "new", "--force", *options, "-o", settings], check=True)
    exporter = options[options.index("--exporter") + 1].ljust(4)
    presets = bench.out / f"{name}.qecs"
    entry = {"SettingID": 1, "Name": name, "QTExpComponentType": int.from_bytes(b"spit", "big"),
             "QTExpComponentSubType": int.from_bytes(exporter.encode(), "big"),
             "QTExpComponentManufacturer": int.from_bytes(b"appl", "big"), "QTExpSettings": settings.read_bytes()}
    presets.write_bytes(plistlib.dumps({"Export Presets Version": 1, "Export Presets": [entry]}))
    return presets


def export(bench, name, movie, extension):
    return [bench.twqt, "export", "--force", "--progress", "none", "--presets", bench.out / f"{name}.qecs", "--id", "1",
            movie, bench.out / f"{name}.{extension}"]


def video_packets(bench, path):
    stream = bench.probe(path, "-count_packets", "-select_streams", "v", "-show_entries", "stream=nb_read_packets")
    return int(stream["streams"][0]["nb_read_packets"])


def frames_are(bench, name, extension, count):
    found = video_packets(bench, bench.out / f"{name}.{extension}")
    expect(found == count, f"{found} frames instead of {count}")


def luma_psnr(movie, source):
    """Of the first 100 frames, in dB."""
    result = subprocess.run(["ffmpeg", "-nostdin", "-i", movie, "-i", source, "-frames:v", "100", "-lavfi",
                             "[0:v]format=yuv420p,setpts=N/25/TB[a];[1:v]format=yuv420p,setpts=N/25/TB[b];[a][b]psnr",
                             "-f", "null", "-"], capture_output=True, text=True, check=True)
    return float(result.stderr.split("PSNR y:")[1].split()[0])


def not_worse(bench, ours, peer_command, peer, source, loss, growth):
    """The peer's quality but for a loss in dB, in a file of its size but for a growth."""
    subprocess.run([str(part) for part in peer_command], check=True)
    difference = luma_psnr(ours, source) - luma_psnr(peer, source)
    expect(difference >= -loss, f"{-difference:.2f} dB worse")
    ratio = ours.stat().st_size / peer.stat().st_size
    expect(ratio <= growth, f"{ratio:.2f} times as large")


def ffmpeg(bench, movie, *options):
    return ["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", movie, *options]


def mjpeg_peer(name, movie):
    return lambda bench: ffmpeg(bench, movie(bench), "-an", "-c:v", "mjpeg", "-pix_fmt", "yuvj420p", "-q:v", "4",
                                bench.out / f"peer-{name}.mov")


def check_mjpeg(name, movie):
    def check(bench):
        frames_are(bench, name, "mov", 750)
        not_worse(bench, bench.out / f"{name}.mov", mjpeg_peer(name, movie)(bench), bench.out / f"peer-{name}.mov",
                  movie(bench), 0.3, 1.12)
    return check


def mjpeg(name, movie, rate):
    return Case(name=f"export-{name}", title=f"1080p H.264 of {rate} Mbit/s → Photo-JPEG 75 %, 30 s",
                prepare=prepared(name, movie, "--exporter", "MooV", "--video-codec", "jpeg", "--quality", "0.75",
                                 "--no-audio"),
                ours=lambda bench: export(bench, name, movie(bench), "mov"),
                check=check_mjpeg(name, movie),
                peers=[Peer("ffmpeg", mjpeg_peer(name, movie),
                            [at_least("wall", 1.4), at_least("cpu", 1.5), at_most("memory", 0.6)])])


def prores_peer(bench):
    return ffmpeg(bench, short_hd(bench), "-an", "-c:v", "prores_ks", "-profile:v", "2", bench.out / "peer-prores.mov")


def check_prores(bench):
    frames_are(bench, "prores", "mov", video_packets(bench, short_hd(bench)))
    not_worse(bench, bench.out / "prores.mov", prores_peer(bench), bench.out / "peer-prores.mov", short_hd(bench), 0, 1.05)


def prepared(name, make, *options):
    def prepare(bench):
        make(bench)
        preset(bench, name, *options)
    return prepare


CASES = [
    mjpeg("mjpeg", streamed_hd, 8),
    mjpeg("mjpeg-grain", full_hd, 107),
    Case(name="export-prores", title="1080p H.264 of 8 Mbit/s → ProRes 422, 8 s",
         prepare=prepared("prores", short_hd, "--exporter", "MooV", "--video-codec", "apcn", "--no-audio"),
         ours=lambda bench: export(bench, "prores", short_hd(bench), "mov"),
         check=check_prores,
         peers=[Peer("ffmpeg", prores_peer, [at_least("wall", 5), at_most("memory", 1.0)])]),
    Case(name="export-h264", title="720p H.264 → H.264 medium, 20 s",
         prepare=prepared("h264", half_hd, "--exporter", "mpg4", "--video-codec", "avc1", "--quality", "0.645"),
         ours=lambda bench: export(bench, "h264", half_hd(bench), "mp4"),
         check=lambda bench: frames_are(bench, "h264", "mp4", 500),
         peers=[Peer("ffmpeg", lambda bench: ffmpeg(bench, half_hd(bench), "-c:v", "libx264", "-preset", "medium", "-crf", "23",
                                                    "-c:a", "aac", bench.out / "peer-h264.mp4"),
                     [at_least("wall", 1.0), at_most("memory", 1.0)])]),
    Case(name="export-small-mjpeg", title="1080p of 8 Mbit/s → 640x360 Photo-JPEG, 30 s",
         prepare=prepared("small", streamed_hd, "--exporter", "MooV", "--video-codec", "jpeg", "--quality", "0.75", "--size",
                          "640x360", "--no-audio"),
         ours=lambda bench: export(bench, "small", streamed_hd(bench), "mov"),
         check=lambda bench: frames_are(bench, "small", "mov", 750),
         peers=[Peer("ffmpeg", lambda bench: ffmpeg(bench, streamed_hd(bench), "-an", "-vf", "scale=640:360", "-c:v", "mjpeg",
                                                    "-pix_fmt", "yuvj420p", "-q:v", "4", bench.out / "peer-small.mov"),
                     [at_least("wall", 1.08), at_most("memory", 1.0)])]),
    Case(name="export-small-h264", title="1080p of 8 Mbit/s → 640x360 H.264, 30 s",
         prepare=prepared("small264", streamed_hd, "--exporter", "mpg4", "--video-codec", "avc1", "--quality", "0.645", "--size",
                          "640x360", "--no-audio"),
         ours=lambda bench: export(bench, "small264", streamed_hd(bench), "mp4"),
         check=lambda bench: frames_are(bench, "small264", "mp4", 750),
         peers=[Peer("ffmpeg", lambda bench: ffmpeg(bench, streamed_hd(bench), "-an", "-vf", "scale=640:360", "-c:v", "libx264",
                                                    "-preset", "medium", "-crf", "23", bench.out / "peer-small264.mp4"),
                     [at_least("wall", 1.03), at_most("memory", 1.0)])]),
    Case(name="export-aac-wave", title="AAC of an hour → WAVE",
         prepare=prepared("wave", sound_hour, "--exporter", "WAVE"),
         ours=lambda bench: export(bench, "wave", sound_hour(bench), "wav"),
         check=lambda bench: expect(abs(float(bench.probe(bench.out / "wave.wav", "-show_format")["format"]["duration"]) - 3600)
                                    < 0.05, "another length"),
         peers=[Peer("ffmpeg", lambda bench: ffmpeg(bench, sound_hour(bench), bench.out / "peer.wav"), [at_least("wall", 1.3), at_most("memory", 1.0)])]),
    Case(name="export-pcm-wave", title="PCM of an hour → WAVE",
         prepare=prepared("pcm", pcm_hour, "--exporter", "WAVE"),
         ours=lambda bench: export(bench, "pcm", pcm_hour(bench), "wav"),
         check=lambda bench: expect(abs(float(bench.probe(bench.out / "pcm.wav", "-show_format")["format"]["duration"]) - 3600)
                                    < 0.05, "another length"),
         peers=[Peer("ffmpeg", lambda bench: ffmpeg(bench, pcm_hour(bench), bench.out / "peer.wav"), [at_least("wall", 2), at_most("memory", 1.0)])]),
]
