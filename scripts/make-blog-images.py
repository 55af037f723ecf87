#!/usr/bin/env python3
"""Draws the Blog plugin's bundle images and writes them into src/blog/resources/.

    python3 scripts/make-blog-images.py [output-folder]

Standard library only, so anyone can regenerate the images: PNG through zlib,
GIF through the small LZW encoder below. The output is deterministic; running
the script twice gives the same bytes, so regenerated files only show up in a
diff when the drawing changed.

Every shape is a signed-distance test sampled 4x4 times per pixel, which gives
smooth edges at 16 and 21 pixels without a drawing library.
"""

import math
import os
import struct
import sys
import zlib

SUPERSAMPLE = 4


# ---------------------------------------------------------------- canvas

class Canvas:
    """Straight-alpha RGBA pixels, composited with the "over" operator."""

    def __init__(self, width, height):
        self.width = width
        self.height = height
        self.pixels = [[0.0, 0.0, 0.0, 0.0] for _ in range(width * height)]

    def paint(self, coverage, colour, box=None):
        """Composites colour (r, g, b[, a] in 0..255) wherever coverage(x, y)
        says a point is inside; box limits the pixels looked at."""
        r, g, b = colour[:3]
        a = colour[3] / 255.0 if len(colour) > 3 else 1.0
        x0, y0, x1, y1 = box if box else (0, 0, self.width, self.height)
        x0, y0 = max(0, int(x0)), max(0, int(y0))
        x1, y1 = min(self.width, int(math.ceil(x1))), min(self.height, int(math.ceil(y1)))
        step = 1.0 / SUPERSAMPLE
        for py in range(y0, y1):
            for px in range(x0, x1):
                hits = 0
                for sy in range(SUPERSAMPLE):
                    for sx in range(SUPERSAMPLE):
                        if coverage(px + (sx + 0.5) * step, py + (sy + 0.5) * step):
                            hits += 1
                if not hits:
                    continue
                src_a = a * hits / (SUPERSAMPLE * SUPERSAMPLE)
                p = self.pixels[py * self.width + px]
                dst_a = p[3]
                out_a = src_a + dst_a * (1 - src_a)
                for i, c in enumerate((r, g, b)):
                    p[i] = (c * src_a + p[i] * dst_a * (1 - src_a)) / out_a
                p[3] = out_a

    def blit(self, other, ox, oy):
        """Composites another canvas with its top left corner at (ox, oy)."""
        for y in range(other.height):
            for x in range(other.width):
                src = other.pixels[y * other.width + x]
                if src[3] <= 0 or not (0 <= x + ox < self.width and 0 <= y + oy < self.height):
                    continue
                p = self.pixels[(y + oy) * self.width + x + ox]
                out_a = src[3] + p[3] * (1 - src[3])
                for i in range(3):
                    p[i] = (src[i] * src[3] + p[i] * p[3] * (1 - src[3])) / out_a
                p[3] = out_a

    def rgba_rows(self):
        rows = []
        for y in range(self.height):
            row = bytearray()
            for x in range(self.width):
                r, g, b, a = self.pixels[y * self.width + x]
                if a <= 0:
                    row += b"\0\0\0\0"
                else:
                    row += bytes((round(r), round(g), round(b), round(a * 255)))
            rows.append(bytes(row))
        return rows


# ---------------------------------------------------------------- shapes
# Each returns a predicate (x, y) -> bool in pixel coordinates.

def disc(cx, cy, r):
    return lambda x, y: (x - cx) ** 2 + (y - cy) ** 2 <= r * r


def ellipse(cx, cy, rx, ry):
    return lambda x, y: ((x - cx) / rx) ** 2 + ((y - cy) / ry) ** 2 <= 1.0


def ring(cx, cy, r_outer, r_inner):
    return lambda x, y: r_inner * r_inner <= (x - cx) ** 2 + (y - cy) ** 2 <= r_outer * r_outer


def segment(x0, y0, x1, y1, width):
    """A stroke with round caps."""
    dx, dy = x1 - x0, y1 - y0
    length2 = dx * dx + dy * dy
    half = width / 2.0

    def inside(x, y):
        t = 0.0 if length2 == 0 else max(0.0, min(1.0, ((x - x0) * dx + (y - y0) * dy) / length2))
        return (x - x0 - t * dx) ** 2 + (y - y0 - t * dy) ** 2 <= half * half
    return inside


def arc(cx, cy, r, start_deg, end_deg, width):
    """A stroked circular arc with round caps; angles in degrees, 0 = right,
    90 = down (screen coordinates), drawn from start to end increasing."""
    half = width / 2.0
    a0, a1 = math.radians(start_deg), math.radians(end_deg)
    ends = [(cx + r * math.cos(a), cy + r * math.sin(a)) for a in (a0, a1)]

    def inside(x, y):
        d = math.hypot(x - cx, y - cy)
        angle = math.atan2(y - cy, x - cx)
        while angle < a0:
            angle += 2 * math.pi
        if angle <= a1 and abs(d - r) <= half:
            return True
        return any((x - ex) ** 2 + (y - ey) ** 2 <= half * half for ex, ey in ends)
    return inside


def rounded_rect(x0, y0, x1, y1, radius):
    def inside(x, y):
        if not (x0 <= x <= x1 and y0 <= y <= y1):
            return False
        cx = min(max(x, x0 + radius), x1 - radius)
        cy = min(max(y, y0 + radius), y1 - radius)
        return (x - cx) ** 2 + (y - cy) ** 2 <= radius * radius
    return inside


def polygon(points):
    def inside(x, y):
        hit = False
        n = len(points)
        for i in range(n):
            xa, ya = points[i]
            xb, yb = points[(i + 1) % n]
            if (ya > y) != (yb > y) and x < (xb - xa) * (y - ya) / (yb - ya) + xa:
                hit = not hit
        return hit
    return inside


def union(*shapes):
    return lambda x, y: any(s(x, y) for s in shapes)


def minus(shape, cut):
    return lambda x, y: shape(x, y) and not cut(x, y)


# ---------------------------------------------------------------- encoders

def png_bytes(canvas):
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

    raw = b"".join(b"\0" + row for row in canvas.rgba_rows())
    header = struct.pack(">IIBBBBB", canvas.width, canvas.height, 8, 6, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
            + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


def lzw_encode(indices, min_code_size):
    """GIF's variable-width LZW, least significant bit first."""
    clear = 1 << min_code_size
    end = clear + 1
    out = bytearray()
    bit_buffer = 0
    bit_count = 0

    def emit(code, width):
        nonlocal bit_buffer, bit_count
        bit_buffer |= code << bit_count
        bit_count += width
        while bit_count >= 8:
            out.append(bit_buffer & 0xFF)
            bit_buffer >>= 8
            bit_count -= 8

    def fresh_table():
        return {(i,): i for i in range(clear)}

    table = fresh_table()
    next_code = end + 1
    width = min_code_size + 1
    emit(clear, width)
    current = ()
    for index in indices:
        candidate = current + (index,)
        if candidate in table:
            current = candidate
            continue
        emit(table[current], width)
        if next_code < 4096:
            table[candidate] = next_code
            next_code += 1
            # The decoder widens its codes one code later than we add them.
            if next_code - 1 == (1 << width) and width < 12:
                width += 1
        else:
            emit(clear, width)
            table = fresh_table()
            next_code = end + 1
            width = min_code_size + 1
        current = (index,)
    if current:
        emit(table[current], width)
    emit(end, width)
    if bit_count:
        out.append(bit_buffer & 0xFF)
    return bytes(out)


def gif_bytes(canvas):
    """GIF89a with a palette of the canvas's colours; pixels less than half
    covered become the transparent index 0 (GIF has no partial alpha)."""
    palette = [(0, 0, 0)]
    indices = []
    for row in canvas.rgba_rows():
        for i in range(0, len(row), 4):
            r, g, b, a = row[i:i + 4]
            if a < 128:
                indices.append(0)
                continue
            colour = (r, g, b)
            if colour not in palette:
                palette.append(colour)
            indices.append(palette.index(colour))
    if len(palette) > 256:
        raise ValueError("too many colours for a GIF palette")
    bits = max(2, (len(palette) - 1).bit_length())
    palette += [(0, 0, 0)] * ((1 << bits) - len(palette))

    data = bytearray(b"GIF89a")
    data += struct.pack("<HHBBB", canvas.width, canvas.height, 0x80 | (bits - 1), 0, 0)
    for colour in palette:
        data += bytes(colour)
    # Graphic control extension: transparent colour index 0.
    data += b"\x21\xF9\x04\x01\x00\x00\x00\x00"
    data += b"\x2C" + struct.pack("<HHHHB", 0, 0, canvas.width, canvas.height, 0)
    data.append(bits)
    compressed = lzw_encode(indices, bits)
    for i in range(0, len(compressed), 255):
        block = compressed[i:i + 255]
        data.append(len(block))
        data += block
    data += b"\x00\x3B"
    return bytes(data)


# ---------------------------------------------------------------- smileys

SIZE = 21
C = SIZE / 2.0
OUTLINE = (120, 78, 0)
FACE = (255, 214, 48)
FEATURE = (70, 44, 10)


def face(fill=FACE):
    canvas = Canvas(SIZE, SIZE)
    canvas.paint(disc(C, C, 10.2), OUTLINE)
    canvas.paint(disc(C, C, 9.2), fill)
    # A soft highlight in the upper left gives the face some roundness.
    canvas.paint(ellipse(C - 3.2, C - 4.2, 3.6, 2.2), (255, 240, 170, 150))
    return canvas


def eyes(canvas, ry=1.7):
    canvas.paint(ellipse(C - 3.4, C - 2.2, 1.2, ry), FEATURE)
    canvas.paint(ellipse(C + 3.4, C - 2.2, 1.2, ry), FEATURE)


def smiley_smile():
    c = face()
    eyes(c)
    c.paint(arc(C, C + 0.2, 5.6, 25, 155, 1.5), FEATURE)
    return c


def smiley_wink():
    c = face()
    c.paint(ellipse(C - 3.4, C - 2.2, 1.2, 1.7), FEATURE)
    c.paint(arc(C + 3.4, C - 0.6, 2.2, 200, 340, 1.4), FEATURE)  # closed eye
    c.paint(arc(C - 0.6, C + 0.4, 5.6, 20, 140, 1.5), FEATURE)
    return c


def smiley_embarrassed():
    c = face()
    eyes(c, ry=1.4)
    c.paint(ellipse(C - 5.6, C + 2.4, 2.2, 1.3), (245, 110, 110, 170))  # blushing cheeks
    c.paint(ellipse(C + 5.6, C + 2.4, 2.2, 1.3), (245, 110, 110, 170))
    c.paint(segment(C - 3.4, C + 4.6, C + 3.4, C + 3.8, 1.4), FEATURE)  # tight, crooked mouth
    return c


def smiley_laugh():
    c = face()
    c.paint(arc(C - 3.4, C - 1.4, 1.8, 200, 340, 1.4), FEATURE)  # squinting eyes
    c.paint(arc(C + 3.4, C - 1.4, 1.8, 200, 340, 1.4), FEATURE)
    mouth = minus(disc(C, C + 1.2, 6.0), lambda x, y: y < C + 1.6)
    c.paint(mouth, FEATURE)
    c.paint(minus(ellipse(C, C + 1.9, 4.6, 1.3), lambda x, y: y < C + 1.6), (255, 255, 255))  # teeth
    c.paint(minus(ellipse(C, C + 6.0, 2.8, 1.6), lambda x, y: not mouth(x, y)), (230, 90, 90))  # tongue
    return c


def smiley_gasp():
    c = face()
    c.paint(disc(C - 3.4, C - 2.6, 1.9), (255, 255, 255))
    c.paint(disc(C + 3.4, C - 2.6, 1.9), (255, 255, 255))
    c.paint(ring(C - 3.4, C - 2.6, 1.9, 1.2), FEATURE)
    c.paint(ring(C + 3.4, C - 2.6, 1.9, 1.2), FEATURE)
    c.paint(disc(C - 3.4, C - 2.6, 0.8), FEATURE)
    c.paint(disc(C + 3.4, C - 2.6, 0.8), FEATURE)
    c.paint(ellipse(C, C + 4.2, 2.4, 2.9), FEATURE)  # wide open "O"
    c.paint(ellipse(C, C + 4.6, 1.3, 1.7), (150, 40, 30))
    return c


def smiley_footinmouth():
    c = face()
    eyes(c)
    c.paint(ellipse(C - 0.8, C + 4.4, 3.0, 2.2), FEATURE)  # open mouth
    # A shoe sticking out of the mouth to the right: sole, toe and heel.
    shoe = union(rounded_rect(C - 1.6, C + 2.6, C + 7.6, C + 5.8, 1.6),
                 rounded_rect(C + 4.4, C + 0.2, C + 7.6, C + 5.8, 1.2))
    c.paint(shoe, (40, 40, 40))
    c.paint(segment(C - 0.8, C + 5.6, C + 7.4, C + 5.6, 0.9), (150, 150, 150))  # sole edge
    c.paint(disc(C + 1.0, C + 3.6, 0.6), (255, 255, 255))  # lace
    return c


def smiley_angry():
    c = face(fill=(255, 150, 60))
    c.paint(segment(C - 6.0, C - 5.4, C - 1.6, C - 3.2, 1.5), FEATURE)  # brows drawn together
    c.paint(segment(C + 6.0, C - 5.4, C + 1.6, C - 3.2, 1.5), FEATURE)
    c.paint(ellipse(C - 3.4, C - 1.4, 1.1, 1.3), FEATURE)
    c.paint(ellipse(C + 3.4, C - 1.4, 1.1, 1.3), FEATURE)
    c.paint(arc(C, C + 8.6, 4.8, 215, 325, 1.6), FEATURE)  # frown
    return c


def smiley_sad():
    c = face()
    eyes(c)
    c.paint(arc(C, C + 8.4, 4.6, 215, 325, 1.5), FEATURE)  # frown
    tear = union(disc(C + 4.4, C + 2.4, 1.2), polygon([(C + 3.3, C + 2.0), (C + 5.5, C + 2.0), (C + 4.4, C - 0.6)]))
    c.paint(tear, (70, 150, 255))
    return c


# ---------------------------------------------------------------- feed icons

FEED_ORANGE = (242, 120, 20)


def feed_symbol(canvas, x0, y0, size, colour=(255, 255, 255)):
    """The feed symbol (a dot and two arcs from the lower left corner) in the
    square at (x0, y0) of the given size."""
    s = size / 16.0
    ox, oy = x0 + 4.4 * s, y0 + 11.6 * s
    canvas.paint(disc(ox + 0.2 * s, oy - 0.2 * s, 1.7 * s), colour)
    for outer, inner in ((6.6, 4.8), (10.2, 8.4)):
        canvas.paint(minus(ring(ox - 0.8 * s, oy + 0.8 * s, outer * s, inner * s),
                           lambda x, y: x < ox - 1.8 * s or y > oy + 1.8 * s), colour)


def feed_badge(size, fill, border):
    c = Canvas(size, size)
    c.paint(rounded_rect(0, 0, size, size, size * 0.2), border)
    c.paint(rounded_rect(size / 16.0, size / 16.0, size - size / 16.0, size - size / 16.0, size * 0.16), fill)
    feed_symbol(c, 0, 0, size)
    return c


def rss_gif_canvas():
    # Drawn without partial transparency at the edge, because GIF can only
    # keep or drop a pixel: the rounded corners get a solid darker rim.
    return feed_badge(16, FEED_ORANGE, (196, 86, 0))


# ---------------------------------------------------------------- large icon

def blog_icon_large():
    size = 128
    c = Canvas(size, size)
    # Drop shadow, then a sheet of paper.
    c.paint(rounded_rect(18, 14, 114, 122, 10), (0, 0, 0, 60))
    c.paint(rounded_rect(14, 8, 108, 116, 10), (160, 160, 160))
    c.paint(rounded_rect(15.5, 9.5, 106.5, 114.5, 9), (252, 252, 248))
    # The title bar of a post and its text lines.
    c.paint(rounded_rect(26, 22, 96, 34, 4), (40, 96, 170))
    widths = (62, 56, 64, 48, 60, 40)
    for i, w in enumerate(widths):
        y = 46 + i * 10
        c.paint(rounded_rect(26, y, 26 + w, y + 4.5, 2.2), (150, 160, 175))
    # A feed badge in the lower right corner tells it apart from a plain page.
    c.blit(feed_badge(40, FEED_ORANGE, (196, 86, 0)), 80, 80)
    return c


# ---------------------------------------------------------------- main

def main():
    here = os.path.dirname(os.path.abspath(__file__))
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "..", "src", "blog", "resources")
    os.makedirs(out, exist_ok=True)

    pngs = {
        "smiley_smile.png": smiley_smile(),
        "smiley_wink.png": smiley_wink(),
        "smiley_embarrassed.png": smiley_embarrassed(),
        "smiley_laugh.png": smiley_laugh(),
        "smiley_gasp.png": smiley_gasp(),
        "smiley_footinmouth.png": smiley_footinmouth(),
        "smiley_angry.png": smiley_angry(),
        "smiley_sad.png": smiley_sad(),
        "ri_rss_green_small.png": feed_badge(16, (60, 170, 70), (30, 120, 40)),
        "ri_rss_grey_small.png": feed_badge(16, (160, 160, 160), (110, 110, 110)),
        "Icon_Blog_Large.png": blog_icon_large(),
    }
    for name, canvas in pngs.items():
        with open(os.path.join(out, name), "wb") as f:
            f.write(png_bytes(canvas))
    with open(os.path.join(out, "rss.gif"), "wb") as f:
        f.write(gif_bytes(rss_gif_canvas()))


if __name__ == "__main__":
    main()
