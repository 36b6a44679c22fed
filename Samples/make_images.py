#!/usr/bin/env python3
"""Draws the images of imsc1-image.ttml: white letters with a black edge on nothing, as PNG.

The output depends on the texts below alone. Only Python's standard library is used.
"""

import os
import struct
import zlib

# Letters of 5 x 7 dots, one string a row.
LETTERS = {
    " ": ["     "] * 7,
    "!": ["  #  ", "  #  ", "  #  ", "  #  ", "  #  ", "     ", "  #  "],
    "A": [" ### ", "#   #", "#   #", "#####", "#   #", "#   #", "#   #"],
    "E": ["#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#####"],
    "F": ["#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#    "],
    "I": [" ### ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "],
    "L": ["#    ", "#    ", "#    ", "#    ", "#    ", "#    ", "#####"],
    "R": ["#### ", "#   #", "#   #", "#### ", "# #  ", "#  # ", "#   #"],
    "S": [" ####", "#    ", "#    ", " ### ", "    #", "    #", "#### "],
    "T": ["#####", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  "],
    "X": ["#   #", "#   #", " # # ", "  #  ", " # # ", "#   #", "#   #"],
    "Y": ["#   #", "#   #", " # # ", "  #  ", "  #  ", "  #  ", "  #  "],
}

IMAGES = {
    # name: text, width, height
    "last-ferry.png": ("LAST FERRY", 240, 40),
    "at-six.png": ("AT SIX!", 192, 40),
}

DOT = 4
NOTHING, EDGE, INK = 0, 1, 2
PALETTE = bytes([0, 0, 0, 0, 0, 0, 255, 255, 255])
ALPHA = bytes([0, 255, 255])


def draw(text, width, height):
    """Rows of palette indices, the text in the middle."""
    rows = [bytearray(width) for _ in range(height)]
    left = (width - (len(text) * 6 - 1) * DOT) // 2
    top = (height - 7 * DOT) // 2
    for place, letter in enumerate(text):
        for y, line in enumerate(LETTERS[letter]):
            for x, dot in enumerate(line):
                if dot == "#":
                    for dy in range(DOT):
                        for dx in range(DOT):
                            rows[top + y * DOT + dy][left + (place * 6 + x) * DOT + dx] = INK
    for y in range(1, height - 1):
        for x in range(1, width - 1):
            near = (rows[y + dy][x + dx] for dy in (-1, 0, 1) for dx in (-1, 0, 1))
            if rows[y][x] == NOTHING and INK in near:
                rows[y][x] = EDGE
    return rows


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(rows):
    header = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 3, 0, 0, 0)
    # Stored, not compressed: every version of zlib then writes the same bytes, if not the fewest.
    pixels = zlib.compress(b"".join(b"\0" + bytes(row) for row in rows), 0)
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", header)
        + chunk(b"PLTE", PALETTE)
        + chunk(b"tRNS", ALPHA)
        + chunk(b"IDAT", pixels)
        + chunk(b"IEND", b"")
    )


def main():
    folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "images")
    os.makedirs(folder, exist_ok=True)
    for name, (text, width, height) in IMAGES.items():
        with open(os.path.join(folder, name), "wb") as out:
            out.write(png(draw(text, width, height)))


if __name__ == "__main__":
    main()
