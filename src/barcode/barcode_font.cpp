#include "barcode/modules.h"

#include <cstddef>

namespace velmora::resources {

// Defined by the source generated from resources/code_pdf417.ttf at build time.
extern const unsigned char kCodePdf417Font[];
extern const std::size_t kCodePdf417FontSize;

}  // namespace velmora::resources

namespace velmora::barcode {

std::span<const uint8_t> BarcodeFontBytes() {
  return {resources::kCodePdf417Font, resources::kCodePdf417FontSize};
}

}  // namespace velmora::barcode
