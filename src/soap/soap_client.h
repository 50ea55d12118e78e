#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "soap/description_cache.h"
#include "soap/transport.h"
#include "soap/service_description.h"
#include "xml/xml.h"

namespace velmora::soap {

// A value given to ConnectorProperty: what VB passed as a Variant.
using ConnectorValue = std::variant<bool, int32_t, std::string>;

// The SOAP 1.1 client the executor talks to the service through: it learns the service from its
// WSDL and calls rpc operations by name with a node list as the content of the input part.
// Failures raise velmora::Error with kSoapClientError (see soap_error.h).
class SoapClient {
 public:
  SoapClient();  // over HttpTransport
  explicit SoapClient(std::unique_ptr<Transport> transport);
  ~SoapClient();
  SoapClient(const SoapClient&) = delete;
  SoapClient& operator=(const SoapClient&) = delete;

  // Loads the WSDL from an http://, https:// or file:// address or a plain path, through the
  // proxy and CA already configured, with its own time-out (the call's time-out is for calls).
  // A description fetched over the network is taken from the cache file while it is fresh. An
  // https description naming a plain http endpoint raises SoapFailure::Downgrade.
  void mssoapinit(const std::string& url);

  // Where fetched descriptions are kept between processes; empty (the default): nowhere.
  void DescriptionCacheFile(const std::string& path) { cache_ = DescriptionCache(path); }

  // "UseProxy", "ProxyServer", "ProxyPort", "ProxyUser", "ProxyPassword", "Timeout" (ms).
  // Names are case-sensitive, as they always were; another name raises SoapFailure::Usage.
  void ConnectorProperty(const std::string& name, const ConnectorValue& value);

  // A CA certificate file (PEM) trusted besides the system's, for services with a private CA.
  void CertificateAuthorityFile(const std::string& path) { settings_.caFile = path; }
  // The till's own certificate, for services that require one; empty certFile: none. Read and
  // checked before the first connection that needs it.
  void ClientCertificate(const ClientCertificateFiles& files) { settings_.clientCertificate = files; }

  // A full TLS handshake with the host of `url` (through the proxy when one is configured),
  // without sending a request: what the server showed and what was negotiated.
  TlsFacts ProbeTls(const std::string& url);

  // Calls `operation` with `arguments` as the content of its first input part. Returns the
  // element children of the return part, references resolved; nullopt when the reply carries
  // no return value.
  std::optional<XmlNodeList> Call(const std::string& operation, const XmlNodeList& arguments);

  bool Initialised() const { return initialised_; }
  const ServiceDescription& Description() const { return description_; }
  const ConnectionSettings& Settings() const { return settings_; }

  // Time allowed to fetch the WSDL.
  static constexpr int32_t kDescriptionTimeoutMs = 30000;

 private:
  // Takes `text` as the description of url_; raises on a text it cannot use.
  void Adopt(std::string text, bool fromCache);
  // One POST of `operation`; `posted` is set once the request is handed to the transport.
  std::optional<XmlNodeList> Exchange(const std::string& operation, const XmlNodeList& arguments,
                                      const std::string& source, bool& posted);

  ConnectionSettings settings_;
  ServiceDescription description_;
  std::string url_;              // where description_ came from
  std::string descriptionText_;  // the text it was read from
  bool fromCache_ = false;
  DescriptionCache cache_{""};
  bool initialised_ = false;
  std::unique_ptr<Transport> transport_;
};

}  // namespace velmora::soap
