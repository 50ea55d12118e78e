// The single response reader over arbitrary bytes: whatever a service or a damaged file holds,
// reading must end without a crash, and what was read must serialise again.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/context.h"
#include "xml/xml.h"
#include "velmora/messages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmora::xml::Document doc;
  if (!doc.LoadXml(std::string_view(reinterpret_cast<const char*>(data), size))) return 0;
  velmora::CRespuestaPeticion response;
  response.IObject_FromXML(doc.ChildNodes());
  const std::string body = response.ToString(false);
  if (body.rfind("<RespuestaPeticion ", 0) != 0) std::abort();
  // Recorded errors (a count out of range) must not pile up across runs.
  velmora::core::ThreadContext().Errors.Errores().Clear();
  return 0;
}
