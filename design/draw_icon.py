#!/usr/bin/env python3
"""Draws the applet's icon: an image sensor, seen as a chip, read out through four taps, two up and two down.

Hosts rely on the length of the file, so the pixels are stored uncompressed: the length then depends neither on the
drawing nor on a compressor's version, and the caption brings it to what it must be.
"""

import argparse
import pathlib
import struct
import sys
import zlib

SIDE = 32
ICON_LENGTH = 3267
CAPTION = b"Zantor_Obvelline_Qx4_RK: 12-bit grey, four taps, area scan."

Colour = tuple[int, int, int]

CLEAR: Colour = (255, 255, 255)  # marked as transparent; still a fair background where that is ignored
BODY: Colour = (30, 41, 59)
EDGE: Colour = (71, 85, 105)
PIN: Colour = (217, 164, 65)
ARROW: Colour = (248, 250, 252)
# Each tap's quarter of the sensor: top left, top right, bottom left, bottom right.
TAPS: tuple[Colour, ...] = ((14, 116, 190), (13, 148, 136), (190, 70, 24), (162, 40, 120))


class Canvas:
    def __init__(self) -> None:
        self.rows = [[CLEAR] * SIDE for _ in range(SIDE)]

    def fill(self, x: int, y: int, width: int, height: int, colour: Colour) -> None:
        for row in self.rows[y : y + height]:
            row[x : x + width] = [colour] * width

    def arrow(self, x: int, y: int, down: bool) -> None:
        """A seven by seven arrow: a head of four rows on a shaft of three."""
        for step in range(7):
            half = min(step, 3) if step < 4 else 1
            self.fill(x + 3 - half, y + (6 - step if down else step), 2 * half + 1, 1, ARROW)


def draw() -> Canvas:
    canvas = Canvas()
    for position in range(5, SIDE - 5, 5):  # pins on all four sides
        canvas.fill(position, 0, 2, SIDE, PIN)
        canvas.fill(0, position, SIDE, 2, PIN)
    last = SIDE - 1
    canvas.fill(3, 2, SIDE - 6, SIDE - 4, EDGE)  # the body, its corners rounded by one pixel
    canvas.fill(2, 3, SIDE - 4, SIDE - 6, EDGE)
    canvas.fill(3, 3, SIDE - 6, SIDE - 6, BODY)
    quarter = 11
    for tap, colour in enumerate(TAPS):
        right, lower = tap % 2, tap // 2
        x = last - 4 - quarter + 1 if right else 4
        y = last - 4 - quarter + 1 if lower else 4
        canvas.fill(x, y, quarter, quarter, colour)
        canvas.arrow(x + 2, y + 2, down=bool(lower))
    return canvas


def chunk(kind: bytes, data: bytes) -> bytes:
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def encode(canvas: Canvas) -> bytes:
    scanlines = b"".join(b"\0" + b"".join(bytes(pixel) for pixel in row) for row in canvas.rows)
    return b"".join(
        [
            b"\x89PNG\r\n\x1a\n",
            chunk(b"IHDR", struct.pack(">IIBBBBB", SIDE, SIDE, 8, 2, 0, 0, 0)),
            chunk(b"tRNS", struct.pack(">HHH", *CLEAR)),
            chunk(b"tEXt", b"Title\0" + CAPTION),
            chunk(b"IDAT", zlib.compress(scanlines, level=0)),
            chunk(b"IEND", b""),
        ]
    )


def main() -> int:
    parser = argparse.ArgumentParser(description="Draws the applet's icon.")
    parser.add_argument("icon", type=pathlib.Path, help="PNG file to write")
    arguments = parser.parse_args()
    icon = encode(draw())
    if len(icon) != ICON_LENGTH:
        print(f"{parser.prog}: the icon takes {len(icon)} bytes, not {ICON_LENGTH}: adapt the caption", file=sys.stderr)
        return 1
    try:
        arguments.icon.write_bytes(icon)
    except OSError as error:
        print(f"{parser.prog}: {error.filename}: {error.strerror}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
