// The batch response reader over arbitrary bytes: the re-scan of the rows and the reuse of one
// working row must survive any list, and every row read must serialise again.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/context.h"
#include "xml/xml.h"
#include "velmora/messages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmora::xml::Document doc;
  if (!doc.LoadXml(std::string_view(reinterpret_cast<const char*>(data), size))) return 0;
  velmora::CRespDispensaciones response;
  if (!response.IObject_FromXML(doc.ChildNodes())) std::abort();
  // A "0" result sets both; a later other result clears only the code, never the verdict.
  if (response.blnCodigoErrorDisp && !response.DispensacionRealizada()) std::abort();
  const std::string body = response.ToString(false);
  if (body.rfind("<RespuestaPeticion ", 0) != 0) std::abort();
  velmora::core::ThreadContext().Errors.Errores().Clear();
  return 0;
}
