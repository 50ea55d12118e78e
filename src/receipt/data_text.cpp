#include "receipt/data_text.h"

#include "vbcompat/cp1252.h"
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
  // Padded to nine characters, not bytes: a card with an accented letter is one character
  // longer in UTF-8 than it is on the card.
  const size_t length = vb::Utf8ToCp1252(T).size();
  if (length < 9) D.append(9 - length, '0');
  D += T;
}

}  // namespace velmora::receipt
