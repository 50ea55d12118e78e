#pragma once

#include <string>

namespace velmora::barcode {

// fontconfig's side of installing a font: the counterpart of adding a font resource and telling
// every program that the fonts changed.

// Makes the font file visible to this process's fontconfig at once; false when fontconfig does
// not take it as a font.
bool RegisterFontFile(const std::string& file);

// Rescans `folder` and rewrites its fontconfig cache, so other programs see what is in it now.
void RefreshFontCache(const std::string& folder);

}  // namespace velmora::barcode
