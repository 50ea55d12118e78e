// libvelmora.so is the components' static libraries linked whole; this unit only gives the
// shared object its version string.
#include "velmora/export.h"

extern "C" VELMORA_API const char* velmora_version(void) { return "1.0.0"; }
