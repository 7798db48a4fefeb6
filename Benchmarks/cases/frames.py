"""A frame at a time of a movie, as a picture file, by a whole run of the program."""

from case import Case, Peer, at_least, expect

SECONDS = 8.52


def movie(bench):
    """1920 x 1080, H.264, a sync sample every two seconds."""
    return bench.make("frames.mp4", "-f", "lavfi", "-i", "testsrc2=size=1920x1080:rate=30:duration=12",
                      "-vf", "noise=alls=2:allf=t,format=yuv420p", "-c:v", "libx264", "-preset", "veryfast", "-g", "60",
                      "-colorspace", "bt709", "-color_primaries", "bt709", "-color_trc", "bt709")


def ours(bench):
    return [bench.twqt, "frame", movie(bench), "--time", SECONDS, "--force", "-o", bench.out / "frame.png"]


def ffmpeg(bench):
    return ["ffmpeg", "-v", "error", "-nostdin", "-y", "-ss", SECONDS, "-i", movie(bench), "-frames:v", "1",
            bench.out / "frame-peer.png"]


def check(bench):
    # ffmpeg begins with the first frame at or after a time; the time lies within a frame.
    right, late = (bench.psnr(bench.out / "frame.png", movie(bench), seconds) for seconds in (SECONDS - 0.03, SECONDS))
    expect(right > 35 and right > late + 3, f"not the frame that ffmpeg decodes: {right} dB, the next one {late} dB")


CASES = [
    Case(name="frame", title="frame at a time of 1920x1080, path → PNG", prepare=movie, ours=ours, check=check,
         peers=[Peer("ffmpeg -ss", ffmpeg, [at_least("wall", 2.5)])]),
]
