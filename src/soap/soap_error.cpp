#include "soap/soap_error.h"

#include "velmora/error.h"

namespace velmora::soap {

const char* SoapFailureText(SoapFailure kind) {
  switch (kind) {
    case SoapFailure::Description: return "Descripción del servicio (WSDL) no válida";
    case SoapFailure::Fault: return "SOAP Fault";
    case SoapFailure::HttpStatus: return "Error HTTP";
    case SoapFailure::ProxyAuth: return "El proxy rechazó las credenciales (HTTP 407)";
    case SoapFailure::Malformed: return "Respuesta SOAP mal formada";
    case SoapFailure::Transport: return "Error de conexión";
    case SoapFailure::Timeout: return "Tiempo de espera agotado";
    case SoapFailure::Usage: return "Llamada SOAP no válida";
    case SoapFailure::Downgrade: return "Se rechaza pasar de https a http";
  }
  return "Error SOAP";
}

void RaiseSoapError(SoapFailure kind, const std::string& source, const std::string& detail) {
  std::string description = SoapFailureText(kind);
  if (!detail.empty()) description += ": " + detail;
  throw Error(kSoapClientError, source, description);
}

}  // namespace velmora::soap
