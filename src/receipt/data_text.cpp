#include "receipt/data_text.h"

#include "velmora/messages.h"

namespace velmora::receipt {
namespace {

std::string FieldOr(const std::string& value, const char* whenEmpty) {
  return value.empty() ? std::string(whenEmpty) : "|" + value;
}

}  // namespace

void ExtendDataText(std::string& D, const CPeticionDispensacion& request, const std::string& T) {
  if (!request.FechaPrescripcion.empty())
    D = request.FechaPrescripcion;
  else
    D += "|00000000";
  D += "|00000000000000000000000000000000";
  D += "|000000";
  D += FieldOr(request.CodigoColegiadoPrescriptor, "|0000000000");
  D += "|000000|000000|0000000000";
  D += FieldOr(request.CodigoDispensado, "|000000");
  D += FieldOr(request.EnvasesDispensados, "|0");
  D += "|";
  if (T.size() < 9) D.append(9 - T.size(), '0');
  D += T;
}

}  // namespace velmora::receipt
