#!/usr/bin/python3
"""Decodes the bar codes of rendered receipt pages (300 dpi PNG files given in page order).

Each symbol is decoded from its own crop of the page, one at a time, which keeps clear of the
multi-symbol detector and its faults. Prints one line per expected place:
    <page> <kind> <slot> <hex of the decoded bytes, or "-" when nothing decoded>
kind is "header" (slot 0), "pdf417" or "code128"; slots are those present on the page, found by
looking for ink where the slot's symbol stands.
"""
import sys

import zxingcpp
from PIL import Image

DPI = 300


def crop(img, left, top, right, bottom):
    k = DPI / 72.0
    return img.crop((int(left * k), int(top * k), int(right * k), int(bottom * k)))


def decode(img, fmt):
    r = zxingcpp.read_barcode(img, formats=fmt, try_rotate=False)
    return bytes(r.bytes).hex() if r and r.valid else "-"


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
            if not inked(symbol) and not inked(bars):
                continue
            print(page_no, "pdf417", slot, decode(symbol, zxingcpp.PDF417))
            print(page_no, "code128", slot, decode(bars, zxingcpp.Code128))


if __name__ == "__main__":
    main(sys.argv[1:])
