// Reply envelopes: Faults, multi-reference graphs (cycles, dangling and deep chains) and arrays
// from a service the library does not control.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "soap/soap_envelope.h"
#include "velmora/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  velmora::soap::OperationDescription op;
  op.name = "SolicitudDispensacion";
  op.style = "rpc";
  op.outputParts = {"return"};
  try {
    std::optional<velmora::XmlNodeList> list = velmora::soap::ReadResponseEnvelope(text, op, "fuzz");
    if (list)
      for (size_t i = 0; i < list->length(); ++i) (void)list->Item(i).Text().size();
  } catch (const velmora::Error&) {
  }
  std::string fault;
  velmora::soap::ReadFault(text, fault);
  return 0;
}
