// A kept audit change read back from disk: any bytes decode without a crash, and whatever decodes
// is exactly the bytes its encoding gives, so nothing but a whole change is ever applied.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "audit/trail_queue.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  velmora::audit::QueuedTrailChange change;
  if (velmora::audit::DecodeTrailChange(bytes, change) &&
      velmora::audit::EncodeTrailChange(change.section, change.keys) != bytes)
    std::abort();
  return 0;
}
