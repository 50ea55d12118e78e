// Service descriptions come from whatever answers at the configured address.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/soap/service_description.h"
#include "velmora/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    velmora::platform::ServiceDescription d = velmora::platform::ParseServiceDescription(
        std::string_view(reinterpret_cast<const char*>(data), size), "fuzz");
    for (const auto& [name, op] : d.operations) (void)op.inputParts.size();
  } catch (const velmora::Error&) {
  }
  return 0;
}
