#include "soap/soap_error.h"

#include "errors/catalogue.h"
#include "velmora/error.h"

namespace velmora::soap {

const char* SoapFailureText(SoapFailure kind) {
  // Catalogue texts are literals, so their bytes end in a NUL.
  auto text = [](errors::Key key) { return key.entry->text.data(); };
  switch (kind) {
    case SoapFailure::Description: return text("soap.description");
    case SoapFailure::Fault: return text("soap.fault");
    case SoapFailure::HttpStatus: return text("soap.http_status");
    case SoapFailure::ProxyAuth: return text("soap.proxy_auth");
    case SoapFailure::Malformed: return text("soap.malformed");
    case SoapFailure::Transport: return text("soap.transport");
    case SoapFailure::Timeout: return text("soap.timeout");
    case SoapFailure::Usage: return text("soap.usage");
    case SoapFailure::Downgrade: return text("soap.downgrade");
    case SoapFailure::ClientCertificate: return text("soap.client_certificate");
  }
  return text("SOAP_CLIENT");
}

void RaiseSoapError(SoapFailure kind, const std::string& source, const std::string& detail) {
  std::string description = SoapFailureText(kind);
  if (!detail.empty()) description += ": " + detail;
  throw Error(kSoapClientError, source, description);
}

}  // namespace velmora::soap
