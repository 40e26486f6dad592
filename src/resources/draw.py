#!/usr/bin/env python3
"""Draws the PNG images of the resource collection from the SVG files beside this script.

Needs the command rsvg-convert and, for the labels, the font DejaVu Sans. Each image has a fixed colour type and a fixed
size in bytes. If the compressed pixels need fewer bytes, a text chunk, which viewers do not show, takes up the rest.
"""

import argparse
import pathlib
import struct
import subprocess
import sys
import zlib

GREY_ALPHA, RGB, RGBA = 4, 2, 6
CHANNELS = {RGB: 3, GREY_ALPHA: 2, RGBA: 4}
FOLDER = pathlib.Path(__file__).resolve().parent
SIGNATURE = b"\x89PNG\r\n\x1a\n"

# name, width, height, colour type, bytes of the file
IMAGES = (
    ("lock", 48, 48, GREY_ALPHA, 1241),
    ("act_as_router_whatsthis", 364, 142, RGB, 10337),
)


class ImageError(Exception):
    """An image cannot be made with the colour type or the size in IMAGES; the text says why."""


def paeth(left, up, corner):
    estimate = left + up - corner
    return min((left, up, corner), key=lambda value: abs(estimate - value))


# The predictors of the PNG filter types 0 to 4: None, Sub, Up, Average, Paeth. The arguments are the bytes to the left,
# above, and above to the left.
PREDICTORS = (
    lambda left, up, corner: 0,
    lambda left, up, corner: left,
    lambda left, up, corner: up,
    lambda left, up, corner: (left + up) // 2,
    paeth,
)


def filtered(kind, row, above, step):
    """Returns row after the PNG filter of type kind. above is the previous row, step the number of bytes per pixel."""
    predict = PREDICTORS[kind]
    left, corner = bytes(step) + row, bytes(step) + above
    return bytes((row[i] - predict(left[i], above[i], corner[i])) & 255 for i in range(len(row)))


def unfiltered(kind, data, above, step):
    """Returns the row that filtered() has turned into data."""
    predict = PREDICTORS[kind]
    row = bytearray(step)
    corner = bytes(step) + above
    for i, value in enumerate(data):
        row.append((value + predict(row[i], above[i], corner[i])) & 255)
    return bytes(row[step:])


def chunk(name, data):
    """Returns the PNG chunk with this name and data, including its length and checksum."""
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def chunks(png):
    """Yields the name and the data of each chunk of a PNG file."""
    position = len(SIGNATURE)
    while position < len(png):
        (length,) = struct.unpack_from(">I", png, position)
        yield png[position + 4 : position + 8], png[position + 8 : position + 8 + length]
        position += length + 12


def rendered(source, width, height):
    """Returns the rows of the drawing, each a list of pixels, each pixel four bytes (red, green, blue, alpha).

    Raises ImageError if rsvg-convert writes another size or format than expected.
    """
    png = subprocess.run(["rsvg-convert", str(source)], check=True, stdout=subprocess.PIPE).stdout
    parts = list(chunks(png))
    header = struct.unpack(">IIBBBBB", dict(parts)[b"IHDR"])
    # rsvg-convert writes no alpha for a drawing that covers the whole image.
    if header not in ((width, height, 8, kind, 0, 0, 0) for kind in (RGB, RGBA)):
        raise ImageError(f"rsvg-convert wrote an image with the unexpected header {header}")
    step = CHANNELS[header[3]]
    length = width * step
    data = zlib.decompress(b"".join(body for name, body in parts if name == b"IDAT"))
    rows, above = [], bytes(length)
    for start in range(0, len(data), length + 1):
        above = unfiltered(data[start], data[start + 1 : start + 1 + length], above, step)
        rows.append([(above[i : i + step] + b"\xff")[:4] for i in range(0, length, step)])
    return rows


def converted(pixels, colour_type):
    """Returns the bytes of a row of pixels in colour_type, RGB or GREY_ALPHA.

    Raises ImageError if that would lose information.
    """
    if colour_type == RGB:
        if any(alpha != 255 for *_, alpha in pixels):
            raise ImageError("the drawing does not cover the whole image")
        return b"".join(pixel[:3] for pixel in pixels)
    if any(red != green or red != blue for red, green, blue, _ in pixels):
        raise ImageError("the drawing is not grey")
    return b"".join(pixel[2:] for pixel in pixels)


def streams(rows, step):
    """Yields the image data compressed in several ways, any of which may give the smallest result.

    The rows are filtered in seven ways: with each filter for all rows, and with two heuristics that choose a filter for
    each row, the smallest sum of absolute values and the smallest compressed row. Each result is compressed with three
    strategies of zlib.
    """
    blank = bytes(len(rows[0]))
    lines = [
        [bytes([kind]) + filtered(kind, row, above, step) for kind in range(len(PREDICTORS))]
        for row, above in zip(rows, [blank] + rows)
    ]

    def residue(line):
        return sum(min(value, 256 - value) for value in line[1:])

    ways = [b"".join(line[kind] for line in lines) for kind in range(len(PREDICTORS))]
    ways.append(b"".join(min(line, key=residue) for line in lines))
    ways.append(b"".join(min(line, key=lambda one: len(zlib.compress(one, 9))) for line in lines))
    for way in ways:
        for strategy in (zlib.Z_DEFAULT_STRATEGY, zlib.Z_FILTERED, zlib.Z_RLE):
            packer = zlib.compressobj(9, zlib.DEFLATED, 15, 9, strategy)
            yield packer.compress(way) + packer.flush()


def comment(name, length):
    """Returns a text chunk that takes exactly length bytes of the file, or None if length is too small for one."""
    keyword = b"Comment\0"
    room = length - 12 - len(keyword)
    if room < 0:
        return None
    text = f"Drawn from {name}.svg. The blanks after this text bring the file to its fixed size.".encode()
    return chunk(b"tEXt", keyword + text[:room].ljust(room))


def encoded(name, width, height, colour_type, size):
    """Returns a PNG file of exactly size bytes, and how many of them the text chunk takes.

    Raises ImageError if no encoding has this size.
    """
    step = CHANNELS[colour_type]
    rows = [converted(row, colour_type) for row in rendered(FOLDER / f"{name}.svg", width, height)]
    head = SIGNATURE + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, colour_type, 0, 0, 0))
    end = chunk(b"IEND", b"")
    bare = [head + chunk(b"IDAT", stream) for stream in sorted(streams(rows, step), key=len)]
    for image in bare:
        room = size - len(image) - len(end)
        filler = b"" if room == 0 else comment(name, room)
        if filler is not None:
            return image + filler + end, room
    smallest = len(bare[0]) + len(end)
    raise ImageError(f"cannot make {size} bytes: the smallest encoding has {smallest}, the smallest filler 20")


def main():
    argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter).parse_args()
    for image in IMAGES:
        name, width, height, colour_type, size = image
        try:
            png, filler = encoded(*image)
        except (ImageError, OSError, subprocess.CalledProcessError) as problem:
            sys.exit(f"{name}.png: {problem}")
        (FOLDER / f"{name}.png").write_bytes(png)
        print(f"{name}.png: {width}x{height}, colour type {colour_type}, {len(png)} bytes, {filler} of them filler")


if __name__ == "__main__":
    main()
