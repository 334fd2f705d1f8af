#!/usr/bin/env python3
"""bmp2png: converts 24-bit BMP files (as zortool promo --frames writes them)
to PNG with nothing but the standard library.

    bmp2png.py OUT.png IN.bmp [IN.bmp ...]

With several inputs they are laid out side by side in a grid of two columns,
so one picture shows a sequence of frames.
"""
import struct
import sys
import zlib


def read_bmp(path):
    data = open(path, "rb").read()
    if data[:2] != b"BM":
        raise SystemExit(f"{path}: not a BMP file")
    offset = struct.unpack_from("<I", data, 10)[0]
    width, height, _, bits = struct.unpack_from("<iiHH", data, 18)
    if bits != 24:
        raise SystemExit(f"{path}: {bits}-bit, only 24-bit is read")
    row_bytes = (width * 3 + 3) & ~3
    rows = []
    for y in range(abs(height)):
        src = y if height < 0 else abs(height) - 1 - y  # BMP rows are stored bottom-up
        row = data[offset + src * row_bytes: offset + src * row_bytes + width * 3]
        rgb = bytearray(len(row))
        rgb[0::3], rgb[1::3], rgb[2::3] = row[2::3], row[1::3], row[0::3]
        rows.append(bytes(rgb))
    return width, abs(height), rows


def write_png(path, width, height, rows):
    def chunk(kind, body):
        return (struct.pack(">I", len(body)) + kind + body +
                struct.pack(">I", zlib.crc32(kind + body) & 0xFFFFFFFF))
    raw = b"".join(b"\0" + row for row in rows)
    with open(path, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n")
        f.write(chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)))
        f.write(chunk(b"IDAT", zlib.compress(raw, 9)))
        f.write(chunk(b"IEND", b""))


def main(argv):
    if len(argv) < 3:
        raise SystemExit(__doc__)
    frames = [read_bmp(p) for p in argv[2:]]
    width, height = frames[0][0], frames[0][1]
    gap, columns = 8, min(2, len(frames))
    lines = (len(frames) + columns - 1) // columns
    total_w = columns * width + (columns - 1) * gap
    blank = b"\xff" * 3
    rows = []
    for line in range(lines):
        if line:
            rows.extend([blank * total_w] * gap)
        group = frames[line * columns:(line + 1) * columns]
        for y in range(height):
            parts = [f[2][y] if i < len(group) else blank * width
                     for i, f in enumerate(group + [None] * (columns - len(group)))]
            rows.append((blank * gap).join(parts))
    write_png(argv[1], total_w, len(rows), rows)


if __name__ == "__main__":
    main(sys.argv)
