// Both shared objects, libvelmora.so and executor.exe's libvelmora-executor.so, say their version.
#include "velmora/export.h"
#include "velmora/version.h"

extern "C" VELMORA_API const char* velmora_version(void) { return VELMORA_VERSION_STRING; }
