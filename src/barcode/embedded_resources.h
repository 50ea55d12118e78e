#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velmora::resources {

// Defined by sources generated from resources/ at build time.
extern const unsigned char kCodePdf417Font[];
extern const std::size_t kCodePdf417FontSize;

}  // namespace velmora::resources

namespace velmora::barcode {

// The "Code PDF417" TrueType font the receipt draws its symbols with.
inline std::span<const uint8_t> BarcodeFontBytes() {
  return {resources::kCodePdf417Font, resources::kCodePdf417FontSize};
}

}  // namespace velmora::barcode
