"""A frame at a time of a movie, as a picture file, by a whole run of the program."""

from dataclasses import dataclass

from case import Case, Peer, at_least, expect


@dataclass
class Place:
    """A movie of 1920 x 1080 in H.264, and a time within one of its frames."""
    name: str
    title: str
    encoding: tuple
    seconds: float

    def movie(self, bench):
        return bench.make(f"{self.name}.mp4", "-f", "lavfi", "-i", "testsrc2=size=1920x1080:rate=30:duration=12",
                          "-vf", "noise=alls=2:allf=t,format=yuv420p", "-c:v", "libx264", *self.encoding,
                          "-colorspace", "bt709", "-color_primaries", "bt709", "-color_trc", "bt709")

    def ours(self, bench):
        return [bench.twqt, "frame", self.movie(bench), "--time", self.seconds, "--force", "-o", bench.out / "frame.png"]

    def ffmpeg(self, bench):
        return ["ffmpeg", "-v", "error", "-nostdin", "-y", "-ss", self.seconds, "-i", self.movie(bench), "-frames:v", "1",
                bench.out / "frame-peer.png"]

    def check(self, bench):
        # ffmpeg begins with the first frame at or after a time.
        right, late = (bench.psnr(bench.out / "frame.png", self.movie(bench), seconds)
                       for seconds in (self.seconds - 0.03, self.seconds))
        expect(right > 35 and right > late + 3, f"not the frame that ffmpeg decodes: {right} dB, the next one {late} dB")

    def case(self):
        return Case(name=self.name, title=self.title, prepare=self.movie, ours=self.ours, check=self.check,
                    peers=[Peer("ffmpeg -ss", self.ffmpeg, [at_least("wall", 2.5)])])


# What encoders make unless they are told otherwise, and what players like to seek in: 180 frames and 16
# frames behind a sync sample.
PLACES = [
    Place("frame-far", "frame of 1920x1080 far from a sync sample → PNG", ("-preset", "medium"), 6.02),
    Place("frame-near", "frame of 1920x1080 half a second from a sync sample → PNG", ("-preset", "veryfast", "-g", "60"), 8.52),
]

CASES = [place.case() for place in PLACES]
