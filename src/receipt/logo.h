#pragma once

#include <cstddef>

namespace velmora::resources {

// The receipt's logo (PNG), compiled in from resources/receipt_logo.png.
extern const unsigned char kReceiptLogo[];
extern const std::size_t kReceiptLogoSize;

}  // namespace velmora::resources
