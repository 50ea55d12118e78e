// The status texts of the C interface.
#include "velmora/velmora.h"

extern "C" {

VELMORA_API const char* velmora_status_text(int status) {
  switch (status) {
    case VELMORA_OK: return "ok";
    case VELMORA_ERR_NULL_ARGUMENT: return "a handle, string or output pointer was NULL";
    case VELMORA_ERR_INDEX: return "index outside 1..count";
    case VELMORA_ERR_INVALID_VALUE: return "unknown property or collection";
    case VELMORA_ERR_INVALID_UTF8: return "string is not valid UTF-8";
    case VELMORA_ERR_BUSY: return "handle in use by a running call";
    case VELMORA_ERR_NO_MEMORY: return "out of memory";
    case VELMORA_ERR_INTERNAL: return "internal failure (see velmora.log)";
    case VELMORA_ERR_WRONG_THREAD: return "interface used from another thread than the one that created it";
    default: return "unknown status";
  }
}

}  // extern "C"
