#pragma once

#include <string>

namespace velmora::sim {

// The names a service description gives its operations' messages. The standard flavour is the
// health service's own; the alternate one changes every name a client might have hard-coded
// (namespaces, soapAction, part names, endpoint path, prefixes) so that such a client fails.
struct ServiceFlavour {
  std::string name;
  std::string targetNamespace;
  std::string bodyNamespace;
  std::string singleAction;
  std::string batchAction;
  std::string inputPart;
  std::string outputPart;
  std::string endpointPath;
};

inline constexpr const char* kSingleOperation = "SolicitudDispensacion";
inline constexpr const char* kBatchOperation = "SolicitudDispensacionMasiva";
inline constexpr const char* kDescriptionPath = "/dispensacion";

// nullptr when `name` is neither "standard" nor "alternate".
const ServiceFlavour* FindFlavour(const std::string& name);

// The WSDL 1.1 text of the service whose operations are posted to `endpoint`
// ("http://127.0.0.1:8080" + the flavour's endpoint path, unless told otherwise).
std::string BuildWsdl(const ServiceFlavour& flavour, const std::string& endpoint);

}  // namespace velmora::sim
