#!/usr/bin/python3
"""Decodes the bar codes of rendered receipt pages (300 dpi PNG files given in page order).

Each symbol is decoded from its own crop of the page, one at a time, which keeps clear of the
multi-symbol detector and its faults. Prints one line per expected place:
    <page> <kind> <slot> <hex of the decoded bytes, or "-"> <left> <top> <right> <bottom>
(the symbol's box on the page, in points from the top-left corner).
kind is "header" (slot 0), "pdf417" or "code128"; slots are those present on the page, found by
looking for ink where the slot's symbol stands.
"""
import sys

import zxingcpp
from PIL import Image

DPI = 300


def crop(img, left, top, right, bottom):
    k = DPI / 72.0
    return img.crop((int(left * k), int(top * k), int(right * k), int(bottom * k))), left, top


def decode(piece, fmt):
    """hex of the bytes and the symbol's box on the page in points ("-" and an empty box when
    nothing decoded)."""
    img, left, top = piece
    r = zxingcpp.read_barcode(img, formats=fmt, try_rotate=False)
    if not (r and r.valid):
        return "- 0 0 0 0"
    p = r.position
    xs = [c.x for c in (p.top_left, p.top_right, p.bottom_left, p.bottom_right)]
    ys = [c.y for c in (p.top_left, p.top_right, p.bottom_left, p.bottom_right)]
    k = 72.0 / DPI
    box = (left + min(xs) * k, top + min(ys) * k, left + max(xs) * k, top + max(ys) * k)
    return bytes(r.bytes).hex() + " " + " ".join("%.1f" % v for v in box)


def inked(img):
    return img.convert("L").getextrema()[0] < 128


def main(pages):
    for page_no, path in enumerate(pages, 1):
        img = Image.open(path).convert("L")
        print(page_no, "header", 0, decode(crop(img, 40, 8, 455, 49), zxingcpp.Code128))
        for slot in range(4):
            b = 180 * slot
            symbol = crop(img, 290, b + 165, 575, b + 239)
            bars = crop(img, 35, b + 199, 297, b + 223)
            if not inked(symbol[0]) and not inked(bars[0]):
                continue
            print(page_no, "pdf417", slot, decode(symbol, zxingcpp.PDF417))
            print(page_no, "code128", slot, decode(bars, zxingcpp.Code128))


if __name__ == "__main__":
    main(sys.argv[1:])
