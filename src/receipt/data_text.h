#pragma once

#include <string>

namespace velmora {
class CPeticionDispensacion;
}

namespace velmora::receipt {

// Extends the PDF417 data text `D` with one request's fields, "|"-separated, the health card
// `T` (the batch's first request's) last. A request with a prescription date starts the text
// anew from that date; one without carries the previous request's text on: printed receipts are
// read back that way, so the carry-over stays.
void ExtendDataText(std::string& D, const CPeticionDispensacion& request, const std::string& T);

}  // namespace velmora::receipt
