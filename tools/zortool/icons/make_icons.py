#!/usr/bin/env python3
"""Draws the folder tree's 25 icons (16 x 16, 32-bit with a mask) as .ico
files beside this script, the same bytes on every run.

    python3 tools/zortool/icons/make_icons.py

The icons are committed; run this only after changing a drawing. Their order
is the tree's image order (TIconIDs in zorutils/ui/ExplorerTree.h) and their
resource ids are in TreeIcons.h."""
import os
import struct

N = 16
# Palette (R, G, B).
OUTLINE = (64, 64, 64)
FOLDER = (246, 200, 80)
FOLDER_DARK = (190, 140, 30)
FOLDER_LIGHT = (255, 228, 140)
GREY = (200, 200, 200)
GREY_DARK = (120, 120, 120)
GREY_LIGHT = (235, 235, 235)
LED = (40, 200, 60)
BLUE = (60, 110, 210)
BLUE_DARK = (30, 60, 140)
SKY = (120, 180, 240)
GREEN = (70, 160, 70)
SUN = (250, 220, 60)
WHITE = (255, 255, 255)
PAPER_LINE = (150, 160, 190)
BLACK = (0, 0, 0)


class Canvas:
    def __init__(self):
        self.px = [[None] * N for _ in range(N)]

    def set(self, x, y, c):
        if 0 <= x < N and 0 <= y < N:
            self.px[y][x] = c

    def fill(self, x0, y0, x1, y1, c):
        for y in range(y0, y1 + 1):
            for x in range(x0, x1 + 1):
                self.set(x, y, c)

    def box(self, x0, y0, x1, y1, face, edge=OUTLINE):
        self.fill(x0, y0, x1, y1, edge)
        self.fill(x0 + 1, y0 + 1, x1 - 1, y1 - 1, face)

    def hline(self, x0, x1, y, c):
        self.fill(x0, y, x1, y, c)

    def disc(self, cx, cy, r, c):
        for y in range(N):
            for x in range(N):
                if (x + 0.5 - cx) ** 2 + (y + 0.5 - cy) ** 2 <= r * r:
                    self.set(x, y, c)

    def copy(self):
        other = Canvas()
        other.px = [row[:] for row in self.px]
        return other


def folder(c=None):
    c = c or Canvas()
    c.box(0, 2, 6, 5, FOLDER, FOLDER_DARK)   # the tab
    c.box(0, 4, 15, 14, FOLDER, FOLDER_DARK)
    c.hline(1, 14, 5, FOLDER_LIGHT)
    return c


def open_folder():
    c = Canvas()
    c.box(0, 2, 6, 5, FOLDER, FOLDER_DARK)
    c.box(0, 4, 13, 14, FOLDER_DARK, FOLDER_DARK)
    # The front flap leans forward.
    for i, y in enumerate(range(7, 15)):
        x0 = 3 - i // 3
        c.hline(max(0, x0), 15 - i // 3, y, FOLDER)
    c.hline(3, 15, 7, FOLDER_LIGHT)
    c.hline(0, 13, 14, FOLDER_DARK)
    return c


def drive():
    c = Canvas()
    c.box(0, 5, 15, 12, GREY)
    c.hline(1, 14, 6, GREY_LIGHT)
    c.hline(2, 9, 10, GREY_DARK)
    c.fill(12, 9, 13, 10, LED)
    return c


def cd():
    c = Canvas()
    c.disc(8, 8, 8.0, GREY_DARK)
    c.disc(8, 8, 7.0, GREY_LIGHT)
    c.disc(6, 6, 3.0, (200, 225, 250))
    c.disc(10.5, 10.5, 2.5, (235, 210, 240))
    c.disc(8, 8, 2.6, GREY_DARK)
    c.disc(8, 8, 1.5, None)
    return c


def floppy():
    c = Canvas()
    c.box(1, 1, 14, 14, BLUE_DARK, BLACK)
    c.box(4, 1, 11, 6, GREY, GREY_DARK)
    c.fill(8, 2, 9, 5, GREY_DARK)
    c.box(3, 9, 12, 14, WHITE, GREY_DARK)
    return c


def removable():
    c = Canvas()
    c.box(0, 5, 10, 11, BLUE, BLUE_DARK)     # the stick
    c.hline(1, 9, 6, SKY)
    c.box(10, 6, 15, 10, GREY_LIGHT, GREY_DARK)  # its plug
    c.fill(12, 7, 13, 7, GREY_DARK)
    c.fill(12, 9, 13, 9, GREY_DARK)
    return c


def network():
    c = Canvas()
    c.box(0, 1, 15, 8, GREY)
    c.hline(1, 14, 2, GREY_LIGHT)
    c.hline(2, 9, 6, GREY_DARK)
    c.fill(12, 5, 13, 6, LED)
    c.fill(7, 9, 8, 12, OUTLINE)             # the cable
    c.hline(1, 14, 13, OUTLINE)
    c.hline(1, 14, 14, GREY_DARK)
    return c


def documents():
    c = folder()
    c.box(3, 1, 12, 11, WHITE, PAPER_LINE)   # a page in the folder
    for y in (3, 5, 7, 9):
        c.hline(5, 10, y, PAPER_LINE)
    c.box(0, 8, 15, 14, FOLDER, FOLDER_DARK)
    c.hline(1, 14, 9, FOLDER_LIGHT)
    return c


def pictures():
    c = Canvas()
    c.box(0, 1, 15, 14, SKY, (120, 80, 40))  # a framed landscape
    c.box(1, 2, 14, 13, SKY, (200, 150, 90))
    c.disc(11, 5.5, 2.0, SUN)
    for x in range(2, 14):
        top = 9 + abs(x - 6) // 2 if x < 10 else 10
        c.fill(x, min(top, 12), x, 12, GREEN)
    return c


def desktop():
    c = Canvas()
    c.box(0, 1, 15, 11, BLUE, OUTLINE)       # the screen
    c.fill(2, 3, 4, 4, WHITE)
    c.fill(2, 6, 4, 7, FOLDER)
    c.fill(2, 9, 13, 9, GREY_LIGHT)
    c.fill(6, 12, 9, 13, GREY_DARK)          # the stand
    c.hline(3, 12, 14, OUTLINE)
    return c


def page():
    c = Canvas()
    c.box(3, 0, 12, 15, WHITE, GREY_DARK)
    for y in (3, 5, 7, 9, 11):
        c.hline(5, 10, y, PAPER_LINE)
    return c


def shortcut(base):
    """The shell's shortcut mark: a white square with an arrow, bottom left."""
    c = base.copy()
    c.box(0, 9, 6, 15, WHITE, OUTLINE)
    arrow = [(1, 14), (2, 13), (3, 12), (4, 11), (3, 10), (4, 10), (5, 10), (5, 11), (5, 12)]
    for x, y in arrow:
        c.set(x, y, BLUE_DARK)
    return c


def icons():
    f = folder()
    return [
        drive(),                  # 0  fixed or other drive
        cd(),                     # 1  CD drive
        floppy(),                 # 2  (reserved: floppy)
        removable(),              # 3  removable drive
        f,                        # 4  folder
        open_folder(),            # 5  folder, selected
        network(),                # 6  network drive
        documents(),              # 7  My Documents
        pictures(),               # 8  My Pictures
        desktop(),                # 9  Desktop
        shortcut(f),              # 10 shortcut to a folder
        shortcut(open_folder()),  # 11 ... selected
        shortcut(drive()),        # 12 shortcut to a drive root
        shortcut(cd()),           # 13 ... a CD drive
        shortcut(floppy()),       # 14 (reserved: floppy)
        shortcut(removable()),    # 15 ... a removable drive
        shortcut(network()),      # 16 ... a network drive
        shortcut(documents()),    # 17 shortcut to My Documents
        shortcut(pictures()),     # 18 ... My Pictures
        shortcut(desktop()),      # 19 ... the Desktop
        page(), page(), page(), page(), page(),  # 20-24 (reserved)
    ]


NAMES = ["drive", "cd", "floppy", "removable", "folder", "folder-open", "network",
         "documents", "pictures", "desktop", "link-folder", "link-folder-open", "link-drive",
         "link-cd", "link-floppy", "link-removable", "link-network", "link-documents",
         "link-pictures", "link-desktop", "spare20", "spare21", "spare22", "spare23",
         "spare24"]


def ico_bytes(c):
    xor = bytearray()
    mask = bytearray()
    for y in range(N - 1, -1, -1):  # bottom-up
        bits = 0
        for x in range(N):
            p = c.px[y][x]
            if p is None:
                xor += bytes((0, 0, 0, 0))
                bits |= 1 << (N - 1 - x)
            else:
                xor += bytes((p[2], p[1], p[0], 255))
        mask += struct.pack(">H", bits) + b"\0\0"  # rows padded to 32 bits
    header = struct.pack("<IiiHHIIiiII", 40, N, 2 * N, 1, 32, 0, len(xor) + len(mask), 0, 0, 0, 0)
    image = header + bytes(xor) + bytes(mask)
    directory = struct.pack("<HHH", 0, 1, 1) + struct.pack("<BBBBHHII", N, N, 0, 0, 1, 32, len(image), 22)
    return directory + image


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    for index, (name, canvas) in enumerate(zip(NAMES, icons())):
        with open(os.path.join(here, "%02d-%s.ico" % (index, name)), "wb") as f:
            f.write(ico_bytes(canvas))


if __name__ == "__main__":
    main()
