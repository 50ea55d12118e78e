#pragma once

// Everything a host may use carries VELMORA_API; the rest of the library is hidden, so the
// shared object's symbol table is the public surface and nothing more.
#if defined(VELMORA_BUILDING)
#define VELMORA_API __attribute__((visibility("default")))
#else
#define VELMORA_API
#endif
