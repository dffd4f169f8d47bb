#!/usr/bin/env python3
"""Draws the module's pictures into this folder: four icons for the pages, the help picture and the banner.

Run it again after changing a drawing; its output is committed, so that a build needs no Python. Every picture
is made of filled shapes in a square from 0 to 1 and drawn anew for each size, so that none is scaled.
"""
import math
import pathlib
import struct

HERE = pathlib.Path(__file__).parent
BLUE, DARK, LIGHT, WHITE = (0x2B, 0x6C, 0xB0), (0x1B, 0x44, 0x72), (0xD6, 0xE6, 0xF5), (0xFF, 0xFF, 0xFF)
AMBER, BROWN, GREY = (0xF5, 0xB8, 0x2E), (0x6B, 0x4A, 0x00), (0x8A, 0x93, 0x9C)
PAGE = (0xF8, 0xF7, 0xF6)


def box(x0, y0, x1, y1, radius=0.0):
    def inside(x, y):
        dx = max(x0 + radius - x, 0, x - x1 + radius)
        dy = max(y0 + radius - y, 0, y - y1 + radius)
        return x0 <= x <= x1 and y0 <= y <= y1 and dx * dx + dy * dy <= radius * radius + 1e-12
    return inside


def disc(cx, cy, r, hole=0.0):
    return lambda x, y: hole <= math.hypot(x - cx, y - cy) <= r


def polygon(*points):
    def inside(x, y):
        odd = False
        for (xa, ya), (xb, yb) in zip(points, points[1:] + points[:1]):
            if (ya > y) != (yb > y) and x < (xb - xa) * (y - ya) / (yb - ya) + xa:
                odd = not odd
        return odd
    return inside


def arc(cx, cy, r, width, start, end):
    def inside(x, y):
        angle = math.degrees(math.atan2(y - cy, x - cx)) % 360
        turn = (angle - start) % 360
        return abs(math.hypot(x - cx, y - cy) - r) <= width / 2 and turn <= (end - start) % 360
    return inside


def help_picture():
    return [(disc(0.5, 0.5, 0.48), DARK), (disc(0.5, 0.5, 0.43), BLUE),
            (arc(0.5, 0.37, 0.14, 0.10, 170, 60), WHITE), (box(0.45, 0.48, 0.55, 0.66), WHITE),
            (disc(0.5, 0.77, 0.06), WHITE)]


def warning_picture():
    return [(polygon((0.5, 0.04), (0.98, 0.94), (0.02, 0.94)), BROWN),
            (polygon((0.5, 0.14), (0.90, 0.89), (0.10, 0.89)), AMBER),
            (polygon((0.44, 0.36), (0.56, 0.36), (0.535, 0.66), (0.465, 0.66)), BROWN),
            (disc(0.5, 0.77, 0.055), BROWN)]


def port_picture():
    shapes = [(polygon((0.02, 0.26), (0.98, 0.26), (0.88, 0.76), (0.12, 0.76)), DARK),
              (polygon((0.09, 0.31), (0.91, 0.31), (0.83, 0.71), (0.17, 0.71)), LIGHT)]
    shapes += [(disc(0.22 + 0.14 * i, 0.43, 0.045), DARK) for i in range(5)]
    shapes += [(disc(0.29 + 0.14 * i, 0.58, 0.045), DARK) for i in range(4)]
    return shapes


def policy_picture():
    shapes = []
    for y, knob in ((0.25, 0.68), (0.5, 0.34), (0.75, 0.56)):
        shapes += [(box(0.06, y - 0.03, 0.94, y + 0.03, 0.03), GREY),
                   (box(knob - 0.07, y - 0.11, knob + 0.07, y + 0.11, 0.03), DARK),
                   (box(knob - 0.035, y - 0.075, knob + 0.035, y + 0.075, 0.015), BLUE)]
    return shapes


def maker_picture():
    return [(disc(0.5, 0.5, 0.48), DARK),
            (polygon((0.20, 0.26), (0.34, 0.26), (0.5, 0.62), (0.66, 0.26), (0.80, 0.26), (0.5, 0.88)), WHITE)]


def render(shapes, size, samples=6):
    """Rows from the top of (red, green, blue, alpha), smoothed by drawing every pixel samples x samples times."""
    rows = []
    for py in range(size):
        row = []
        for px in range(size):
            total, covered = [0, 0, 0], 0
            for s in range(samples * samples):
                x = (px + (s % samples + 0.5) / samples) / size
                y = (py + (s // samples + 0.5) / samples) / size
                hit = next((colour for inside, colour in reversed(shapes) if inside(x, y)), None)
                if hit:
                    covered += 1
                    total = [t + c for t, c in zip(total, hit)]
            colour = [round(t / covered) for t in total] if covered else [0, 0, 0]
            row.append((*colour, round(255 * covered / samples**2)))
        rows.append(row)
    return rows


def icon_image(rows):
    size = len(rows)
    pixels = b"".join(bytes((b, g, r, a)) for row in reversed(rows) for r, g, b, a in row)
    stride = (size + 31) // 32 * 4
    mask = b""
    for row in reversed(rows):
        bits = sum(1 << (stride * 8 - 1 - x) for x, pixel in enumerate(row) if pixel[3] == 0)
        mask += bits.to_bytes(stride, "big")
    return struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, len(pixels) + len(mask), 0, 0, 0, 0) + pixels + mask


def write_icon(name, shapes, sizes):
    images = [icon_image(render(shapes, size)) for size in sizes]
    data = struct.pack("<HHH", 0, 1, len(sizes))
    offset = 6 + 16 * len(sizes)
    for size, image in zip(sizes, images):
        data += struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    (HERE / name).write_bytes(data + b"".join(images))


def write_banner(name, width, height):
    """A band from blue to the page's own colour; 256 steps are enough for it."""
    def mix(i):
        t = i / 255
        t = t * t * (3 - 2 * t)
        return tuple(round(a + (b - a) * t) for a, b in zip(DARK, PAGE))
    palette = b"".join(bytes((*reversed(mix(i)), 0)) for i in range(256))
    stride = (width + 3) // 4 * 4
    rows = b""
    for y in range(height):
        row = bytes(min(255, round(255 * x / (width * (0.92 - 0.10 * y / height)))) for x in range(width))
        rows += row + bytes(stride - width)
    header = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 8, 0, len(rows), 0, 0, 256, 0)
    offset = 14 + len(header) + len(palette)
    (HERE / name).write_bytes(struct.pack("<2sIHHI", b"BM", offset + len(rows), 0, 0, offset) + header + palette + rows)


write_icon("help.ico", help_picture(), (16, 24, 32))
write_icon("warning.ico", warning_picture(), (32, 48))
write_icon("port.ico", port_picture(), (32, 48))
write_icon("policy.ico", policy_picture(), (32, 48))
write_icon("maker.ico", maker_picture(), (32, 48))
write_banner("banner.bmp", 378, 29)
