// Linked into every test program: the private font setup is made before main, because
// fontconfig reads its environment once, on first use.
#include "support/font_test_env.h"

namespace velmora::testing {

namespace {
const FontTestEnvironment fonts;
}  // namespace

const FontTestEnvironment& TestFonts() { return fonts; }

}  // namespace velmora::testing
