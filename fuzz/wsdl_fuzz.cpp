// Service descriptions come from whatever answers at the configured address, and are kept in a
// file of the runtime folder that anyone with access to it could alter.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "soap/description_cache.h"
#include "soap/service_description.h"
#include "velmora/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  (void)velmora::soap::DescriptionCache::Read(text, "https://h/s?wsdl", 1700000000);
  try {
    velmora::soap::ServiceDescription d = velmora::soap::ParseServiceDescription(text, "fuzz");
    for (const auto& [name, op] : d.operations) (void)op.inputParts.size();
  } catch (const velmora::Error&) {
  }
  return 0;
}
