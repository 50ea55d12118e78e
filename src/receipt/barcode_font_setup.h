#pragma once

namespace velmora::receipt {

// Installs the library's "Code PDF417" font for the user unless a "pdffont.ttf" is already in
// the fonts folder: the font file is written beside the library and installed from there.
// Raises 0x80040001 when there is no fonts folder, and the installer's errors.
void EnsureBarcodeFontInstalled();

}  // namespace velmora::receipt
