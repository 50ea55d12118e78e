#pragma once

// What the SOAP client needs of the wire, and nothing more: a GET, a SOAP POST, whether a failed
// exchange sent anything, and a bare handshake. HttpTransport is the real one over libcurl; tests
// put a fake under the client to reach its rules (the retry after a changed description, faults,
// HTTP errors) without a server.

#include <cstdint>
#include <string>

#include "soap/client_certificate.h"

namespace velmora::soap {

// How the client reaches the service: the connector properties, in libcurl's terms.
struct ConnectionSettings {
  bool useProxy = false;
  std::string proxyServer;
  int32_t proxyPort = 0;
  std::string proxyUser;
  std::string proxyPassword;
  int32_t timeoutMs = 30000;  // the whole exchange of one call
  std::string caFile;         // extra trust for services with a private CA; empty: the system's
  ClientCertificateFiles clientCertificate;  // empty certFile: no client certificate
};

// What the last TLS handshake showed: empty protocol when none was made.
struct TlsFacts {
  std::string protocol;        // "TLSv1.3", "TLSv1.2"
  std::string serverSubject;   // the server certificate's subject, one line
  int64_t serverNotAfter = 0;  // seconds since the epoch
  int64_t clientNotAfter = 0;  // 0: no client certificate was configured
};

struct HttpReply {
  long status = 0;
  std::string body;
};

class Transport {
 public:
  virtual ~Transport() = default;

  // GET, following a few redirects (never from https to http); `timeoutMs` replaces the
  // settings' time-out.
  virtual HttpReply Get(const std::string& url, const ConnectionSettings& settings, int32_t timeoutMs,
                        const std::string& source) = 0;
  // POST of a SOAP 1.1 request with its SOAPAction (sent quoted).
  virtual HttpReply PostSoap(const std::string& url, const std::string& soapAction, const std::string& envelope,
                             const ConnectionSettings& settings, const std::string& source) = 0;
  // True when the last exchange failed before a byte of its request was written: nothing can
  // have reached the service, so the request may go again.
  virtual bool NothingSent() const = 0;
  // A handshake with the host of `url` and nothing sent; raises as an exchange would.
  virtual TlsFacts Probe(const std::string& url, const ConnectionSettings& settings, const std::string& source) = 0;
};

}  // namespace velmora::soap
