#!/usr/bin/python3
"""Builds resources/code_pdf417.ttf, the "Code PDF417" font that draws PDF417 rows.

A row of the symbol is written as text: "+" draws the first 16 modules that every row starts
with (the start pattern without its last light module), and each letter "A".."P" draws four
modules, "A" = 0000 ... "P" = 1111 with the leftmost module as the high bit. The blank draws four
light modules. Every advance is then a whole number of thousandths of an em ("+" 1000, letters
250), so the widths a PDF writer takes from the font are exact.

At 8 pt a module is 0.5 pt wide and a glyph 2 pt high, so rows set 2 pt apart tile into the
symbol with rows four modules high.

Needs fontTools only here; the library carries the generated file.
    /usr/bin/python3 resources/make_pdf417_font.py resources/code_pdf417.ttf
"""
import sys

from fontTools.fontBuilder import FontBuilder
from fontTools.pens.ttGlyphPen import TTGlyphPen
from fontTools.ttLib.tables._c_m_a_p import cmap_format_4

UPM = 2048
MODULE = 128          # 1/16 em: 0.5 pt at 8 pt
HEIGHT = 512          # 1/4 em: 2 pt at 8 pt
START = "1111111101010100"
# Fixed dates (seconds since 1904) keep the generated file the same from run to run.
TIMESTAMP = 3774873600


def draw(bits):
    pen = TTGlyphPen(None)
    x = 0
    while x < len(bits):
        if bits[x] == "1":
            end = x
            while end < len(bits) and bits[end] == "1":
                end += 1
            left, right = x * MODULE, end * MODULE
            pen.moveTo((left, 0))
            pen.lineTo((left, HEIGHT))
            pen.lineTo((right, HEIGHT))
            pen.lineTo((right, 0))
            pen.closePath()
            x = end
        else:
            x += 1
    return pen.glyph(), len(bits) * MODULE, (bits.find("1") * MODULE if "1" in bits else 0)


def main(out):
    shapes = {".notdef": "0000", "space": "0000", "plus": START}
    chars = {32: "space", ord("+"): "plus"}
    for value in range(16):
        name = chr(ord("A") + value)
        shapes[name] = format(value, "04b")
        chars[ord(name)] = name
    order = [".notdef", "space", "plus"] + [chr(ord("A") + v) for v in range(16)]

    fb = FontBuilder(UPM, isTTF=True)
    fb.setupGlyphOrder(order)
    cmap = dict(chars)
    # Symbol-font viewers look the codes up at U+F000 + code.
    cmap.update({0xF000 + code: name for code, name in chars.items()})
    fb.setupCharacterMap(cmap)
    glyphs, metrics = {}, {}
    for name in order:
        glyph, advance, lsb = draw(shapes[name])
        glyphs[name] = glyph
        metrics[name] = (advance, lsb)
    fb.setupGlyf(glyphs)
    fb.setupHorizontalMetrics(metrics)
    fb.setupHorizontalHeader(ascent=HEIGHT, descent=0)
    fb.setupNameTable({
        "familyName": "Code PDF417",
        "styleName": "Regular",
        "fullName": "Code PDF417",
        "psName": "CodePDF417",
        "uniqueFontIdentifier": "Code PDF417 Regular 1.0",
        "version": "Version 1.000",
    })
    fb.setupOS2(sTypoAscender=HEIGHT, sTypoDescender=0, sTypoLineGap=0,
                usWinAscent=HEIGHT, usWinDescent=0, usWeightClass=400, fsSelection=0x40,
                sxHeight=HEIGHT, sCapHeight=HEIGHT, fsType=0)
    fb.setupPost()
    fb.setupHead(unitsPerEm=UPM, macStyle=0)
    # A (3,0) symbol subtable beside the Unicode ones.
    sym = cmap_format_4(4)
    sym.platformID, sym.platEncID, sym.language = 3, 0, 0
    sym.cmap = {0xF000 + code: name for code, name in chars.items()}
    fb.font["cmap"].tables.append(sym)
    fb.font["head"].created = fb.font["head"].modified = TIMESTAMP
    fb.save(out)


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "code_pdf417.ttf")
