#pragma once

#include <curl/curl.h>

#include <string>
#include <utility>

namespace velmora::soap {

// The TLS session of the service kept in a private file of the runtime folder, so that the next
// executor resumes it instead of making a full handshake: libcurl keeps sessions only within a
// process, and each executor makes a single exchange. Where the server and the protocol allow,
// a resumed handshake spares the certificate checks and, with TLS 1.2, one round trip.
// Only with libcurl on OpenSSL; otherwise nothing is kept and every handshake is full.
class TlsSessionKeeper {
 public:
  explicit TlsSessionKeeper(std::string path) : path_(std::move(path)) {}
  ~TlsSessionKeeper();
  TlsSessionKeeper(const TlsSessionKeeper&) = delete;
  TlsSessionKeeper& operator=(const TlsSessionKeeper&) = delete;

  // Before a transfer to `url` on `curl`: offers the kept session of that server and arranges
  // for the transfer's own session to be taken.
  void Offer(CURL* curl, const std::string& url);
  // After the transfer: writes the session it ended with.
  void Keep();

 private:
  static CURLcode OnContext(CURL* curl, void* sslContext, void* self);
  static int OnProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t);
  void Release();

  std::string path_;
  CURL* curl_ = nullptr;
  std::string server_;        // "host:port" of the transfer under way; empty: nothing to do
  void* offered_ = nullptr;   // SSL_SESSION read from the file
  void* captured_ = nullptr;  // SSL_SESSION of the transfer
};

}  // namespace velmora::soap
