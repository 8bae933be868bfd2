#!/usr/bin/env python3
"""Draws the pictures of this makeup, beside itself: lips.png, blush.png. Needs Python alone."""
import math
import pathlib
import struct
import zlib


def smooth(distance, width):
    """1 inside (distance below 0), 0 outside, soft over `width`."""
    part = min(max(0.5 - distance / width, 0.0), 1.0)
    return part * part * (3 - 2 * part)


def write_png(name, width, height, colour, alpha_at):
    rows = bytearray()
    for y in range(height):
        rows.append(0)
        for x in range(width):
            rows += bytes((*colour, round(255 * alpha_at(x + 0.5, y + 0.5))))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    data = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(bytes(rows), 9)) + chunk(b"IEND", b"")
    (pathlib.Path(__file__).parent / name).write_bytes(data)


def lips(x, y):
    """A mouth from corner (20, 64) to corner (236, 64), soft at its edge: between a bow above and a bowl below."""
    along = (x - 128) / 112
    if abs(along) >= 1:
        return 0.0
    round_off = math.sqrt(1 - along * along)
    bow = 34 * round_off * (1 - 0.25 * math.exp(-((along / 0.16) ** 2)))
    bowl = 40 * round_off
    return smooth(64 - y - bow, 12) * smooth(y - 64 - bowl, 12)


def blush(x, y):
    """A soft oval on each cheek, rising outwards."""
    alpha = 0.0
    for centre, turn in ((78, 0.4), (434, -0.4)):
        dx, dy = x - centre, y - 80
        right = dx * math.cos(turn) + dy * math.sin(turn)
        down = dy * math.cos(turn) - dx * math.sin(turn)
        alpha = max(alpha, math.exp(-((right / 52) ** 2) - (down / 36) ** 2))
    return alpha


RED = (200, 0, 50)
ROSE = (236, 96, 110)
write_png("lips.png", 256, 128, RED, lips)
write_png("blush.png", 512, 192, ROSE, blush)
