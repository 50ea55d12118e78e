#pragma once

#include <memory>
#include <string>

#include "soap/transport.h"

namespace velmora::soap {

// One libcurl handle, kept for the client's life so that a description fetch and the call after
// it share libcurl's TLS session cache (the second handshake resumes where the server allows).
// Verification of the peer and of the host name is never switched off, and TLS 1.2 is the
// lowest protocol accepted whatever the system's OpenSSL configuration allows (1.3 preferred).
// No session outlives the process: each executor makes a full handshake, which verifies the
// server against the trust configured now.
class HttpTransport final : public Transport {
 public:
  HttpTransport();
  ~HttpTransport() override;
  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;

  HttpReply Get(const std::string& url, const ConnectionSettings& settings, int32_t timeoutMs,
                const std::string& source) override;
  HttpReply PostSoap(const std::string& url, const std::string& soapAction, const std::string& envelope,
                     const ConnectionSettings& settings, const std::string& source) override;
  bool NothingSent() const override;
  TlsFacts Probe(const std::string& url, const ConnectionSettings& settings, const std::string& source) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::soap
