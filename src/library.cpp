// libvelmora.so is the components' static libraries linked whole; this unit only gives the
// shared object its version string.
#include "velmora/export.h"
#include "velmora/version.h"

extern "C" VELMORA_API const char* velmora_version(void) { return VELMORA_VERSION_STRING; }
