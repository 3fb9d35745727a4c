#!/usr/bin/env python3
"""Packs the readable description of the FPGA design into a design image (HAP file).

Layout, all numbers little endian:

    0    8 bytes   magic "QELMHAP1"
    8    uint64    length of the description text
    16   uint32    CRC-32 of the description text, as zlib computes it
    20   uint32    design number
    24   40 bytes  zero
    64             the description text, UTF-8 JSON, as its file stands
    ...            noise up to the fixed length of the image

A real image is mostly the bitstream of the FPGA, which looks like noise and fills the file to a length that never
changes; the noise here is a fixed sequence, so that equal descriptions give equal images.
"""

import argparse
import hashlib
import json
import pathlib
import struct
import sys
import zlib

MAGIC = b"QELMHAP1"
DESIGN_NUMBER = 2628
IMAGE_LENGTH = 2269798
HEADER = struct.Struct("<8sQII40x")
NOISE_SEED = b"Zantor_Obvelline_Qx4_RK"


class DescriptionError(Exception):
    """The description cannot be packed; the text says why."""


def check(text: bytes) -> None:
    """Refuses what the design image loader could not read back."""
    try:
        description = json.loads(text.decode("utf-8"))
    except UnicodeDecodeError as error:
        raise DescriptionError(f"not UTF-8 at byte {error.start}") from error
    except json.JSONDecodeError as error:
        raise DescriptionError(f"not valid JSON at line {error.lineno}, column {error.colno}: {error.msg}") from error
    if not isinstance(description, dict):
        raise DescriptionError("its outermost value must be a JSON object")
    room = IMAGE_LENGTH - HEADER.size
    if len(text) > room:
        raise DescriptionError(f"{len(text)} bytes long, but the image has room for {room} only")


def pack(text: bytes) -> bytes:
    check(text)
    image = HEADER.pack(MAGIC, len(text), zlib.crc32(text), DESIGN_NUMBER) + text
    return image + hashlib.shake_128(NOISE_SEED).digest(IMAGE_LENGTH - len(image))


def main() -> int:
    parser = argparse.ArgumentParser(description="Packs the description of the FPGA design into a design image.")
    parser.add_argument("description", type=pathlib.Path, help="JSON description of the design")
    parser.add_argument("image", type=pathlib.Path, help="design image (HAP file) to write")
    arguments = parser.parse_args()
    try:
        arguments.image.write_bytes(pack(arguments.description.read_bytes()))
    except DescriptionError as error:
        print(f"{parser.prog}: {arguments.description}: {error}", file=sys.stderr)
        return 1
    except OSError as error:
        print(f"{parser.prog}: {error.filename}: {error.strerror}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
