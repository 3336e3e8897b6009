"""Looking at screenshots, pixel by pixel."""

import subprocess
from pathlib import Path

Colour = tuple[int, int, int]


class Picture:
    """A PNG file as colours."""

    def __init__(self, path: Path) -> None:
        # A PPM file: three words of text (the kind, the size, the depth), then three bytes a pixel.
        ppm = subprocess.check_output(["/usr/bin/convert", path, "-depth", "8", "ppm:-"])
        kind, width, height, _depth, self._pixels = ppm.split(maxsplit=4)
        assert kind == b"P6", kind
        self.width, self.height = int(width), int(height)
        # What was split off as white space may have been the first pixels.
        self._pixels = ppm[len(ppm) - 3 * self.width * self.height :]

    def pixel(self, x: int, y: int) -> Colour:
        at = 3 * (y * self.width + x)
        return tuple(self._pixels[at : at + 3])

    def row(self, y: int, left: int, right: int) -> list[Colour]:
        return [self.pixel(x, y) for x in range(left, right)]


def blend(colour: str, background: Colour) -> Colour:
    """A colour of the form #AARRGGBB, laid over the background."""
    alpha, *channels = bytes.fromhex(colour.removeprefix("#"))
    return tuple(
        round((top * alpha + below * (255 - alpha)) / 255)
        for top, below in zip(channels, background)
    )


def distance(one: Colour, other: Colour) -> int:
    """The largest difference of a channel, 0 to 255."""
    return max(abs(a - b) for a, b in zip(one, other))
