#include "messages/identifier.h"

#include "platform/clock.h"

namespace velmora::messages {

namespace {

void TwoDigits(std::string& out, int value) {
  value %= 100;
  out += static_cast<char>('0' + value / 10);
  out += static_cast<char>('0' + value % 10);
}

}  // namespace

std::string MakePrescriptionIdentifier(const CPeticionDispensacion& request) {
  const platform::LocalTime now = platform::Now();
  std::string id = "ITP";
  id += request.IdFarmacia;
  id += request.IdProvincia;
  id += request.IdFarmacia;
  id += request.IdUsuario;
  id += request.Tis;
  TwoDigits(id, now.year);
  TwoDigits(id, now.month);
  TwoDigits(id, now.day);
  TwoDigits(id, now.hour);
  TwoDigits(id, now.minute);
  TwoDigits(id, now.second);
  return id;
}

}  // namespace velmora::messages
