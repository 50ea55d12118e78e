#pragma once

#include <cstdint>
#include <memory>
#include <string>

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
};

struct HttpReply {
  long status = 0;
  std::string body;
};

// One libcurl handle, kept for the client's life so that a description fetch and the call after
// it share libcurl's TLS session cache (the second handshake resumes where the server allows).
// Verification of the peer and of the host name is never switched off.
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

  // Where the service's TLS session is kept between processes; empty (the default): nowhere.
  void TlsSessionFile(const std::string& path);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::soap
