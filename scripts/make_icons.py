#!/usr/bin/env python3
"""Draws the editors' sheet icons (resources/icons/*.ico, 16 and 32 pixels, 32-bit with alpha).

Each icon is a few shapes given as functions of the point (x, y) in 0..1, sampled 4 x 4 per
pixel. Run again after changing a shape; the .ico files are committed.
"""
import math
import os
import struct

def disc(cx, cy, r):
    return lambda x, y: (x - cx) ** 2 + (y - cy) ** 2 <= r * r

def ring(cx, cy, r0, r1):
    return lambda x, y: r0 * r0 <= (x - cx) ** 2 + (y - cy) ** 2 <= r1 * r1

def rect(x0, y0, x1, y1):
    return lambda x, y: x0 <= x <= x1 and y0 <= y <= y1

def gear(cx, cy, r, teeth):
    def inside(x, y):
        d = math.hypot(x - cx, y - cy)
        a = math.atan2(y - cy, x - cx)
        tooth = math.cos(a * teeth) > 0.2
        return d <= (r if tooth else r * 0.8) and d >= r * 0.3
    return inside

def belt(ax, ay, bx, by, width):
    def inside(x, y):
        vx, vy = bx - ax, by - ay
        t = max(0.0, min(1.0, ((x - ax) * vx + (y - ay) * vy) / (vx * vx + vy * vy)))
        return math.hypot(x - ax - t * vx, y - ay - t * vy) <= width
    return inside

# (shape, colour RGB) drawn in order; later shapes cover earlier ones.
ICONS = {
    "scene": [(rect(0.05, 0.6, 0.95, 0.95), (90, 140, 70)), (disc(0.5, 0.38, 0.26), (240, 190, 40)),
              (rect(0.05, 0.58, 0.95, 0.62), (60, 100, 50))],
    "light": [(disc(0.5, 0.4, 0.3), (250, 220, 80)), (rect(0.36, 0.66, 0.64, 0.9), (120, 120, 130)),
              (disc(0.42, 0.32, 0.08), (255, 250, 210))],
    "material": [(disc(0.5, 0.5, 0.42), (40, 90, 170)), (disc(0.44, 0.44, 0.3), (70, 130, 210)),
                 (disc(0.38, 0.36, 0.12), (170, 210, 250))],
    "link": [(belt(0.22, 0.78, 0.78, 0.22, 0.1), (110, 110, 120)), (disc(0.22, 0.78, 0.16), (60, 60, 70)),
             (disc(0.78, 0.22, 0.16), (200, 60, 40)), (disc(0.22, 0.78, 0.06), (220, 220, 220))],
    "transmission": [(belt(0.3, 0.66, 0.72, 0.3, 0.05), (70, 70, 80)), (gear(0.3, 0.66, 0.3, 8), (90, 110, 140)),
                     (gear(0.72, 0.3, 0.22, 6), (200, 120, 40))],
}

def pixels(shapes, size):
    rows = []
    for py in range(size):
        row = []
        for px in range(size):
            acc = [0.0, 0.0, 0.0, 0.0]
            for sy in range(4):
                for sx in range(4):
                    x, y = (px + (sx + 0.5) / 4) / size, (py + (sy + 0.5) / 4) / size
                    colour = None
                    for inside, c in shapes:
                        if inside(x, y):
                            colour = c
                    if colour:
                        acc[0] += colour[0]; acc[1] += colour[1]; acc[2] += colour[2]; acc[3] += 1
            a = acc[3] / 16
            row.append((int(acc[2] / acc[3]) if acc[3] else 0, int(acc[1] / acc[3]) if acc[3] else 0,
                        int(acc[0] / acc[3]) if acc[3] else 0, int(round(a * 255))))
        rows.append(row)
    return rows

def icon_image(shapes, size):
    rows = pixels(shapes, size)
    header = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, 0, 0, 0, 0, 0)
    data = b"".join(bytes(c for p in row for c in p) for row in reversed(rows))
    mask_row = ((size + 31) // 32) * 4
    mask = bytes(mask_row * size)
    return header + data + mask

def write_ico(path, shapes):
    images = [(s, icon_image(shapes, s)) for s in (16, 32)]
    out = struct.pack("<HHH", 0, 1, len(images))
    offset = 6 + 16 * len(images)
    for size, image in images:
        out += struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    for _, image in images:
        out += image
    with open(path, "wb") as f:
        f.write(out)

if __name__ == "__main__":
    folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "resources", "icons")
    for name, shapes in ICONS.items():
        write_ico(os.path.join(folder, name + ".ico"), shapes)
