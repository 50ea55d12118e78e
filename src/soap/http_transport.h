#pragma once

#include <cstdint>
#include <memory>
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

// One libcurl handle, kept for the client's life so that a description fetch and the call after
// it share libcurl's TLS session cache (the second handshake resumes where the server allows).
// Verification of the peer and of the host name is never switched off, and TLS 1.2 is the
// lowest protocol accepted whatever the system's OpenSSL configuration allows (1.3 preferred).
// No session outlives the process: each executor makes a full handshake, which verifies the
// server against the trust configured now.
class HttpTransport {
 public:
  HttpTransport();
  ~HttpTransport();
  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;

  // GET, following a few redirects (never from https to http); `timeoutMs` replaces the
  // settings' time-out.
  HttpReply Get(const std::string& url, const ConnectionSettings& settings, int32_t timeoutMs,
                const std::string& source);
  // POST of a SOAP 1.1 request with its SOAPAction (sent quoted).
  HttpReply PostSoap(const std::string& url, const std::string& soapAction, const std::string& envelope,
                     const ConnectionSettings& settings, const std::string& source);

  // True when the last exchange failed before a byte of its request was written: nothing can
  // have reached the service, so the request may go again.
  bool NothingSent() const;

  // A handshake with the host of `url` and nothing sent; raises as an exchange would.
  TlsFacts Probe(const std::string& url, const ConnectionSettings& settings, const std::string& source);
  // What the last handshake of this transport showed.
  const TlsFacts& LastTls() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::soap
