#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace velmora::soap {

// The till's own certificate for services that authenticate each pharmacy (mutual TLS), read
// and checked before any connection is made: a service that requires it would only answer a
// handshake without it with an alert that names neither the key nor the file.
struct ClientCertificateFiles {
  std::string certFile;  // PEM certificate (with its chain, maybe its key) or PKCS#12
  std::string keyFile;   // PEM private key; empty when certFile holds it
  std::string password;  // of an encrypted key or of the PKCS#12 file; never written anywhere
  bool operator==(const ClientCertificateFiles&) const = default;
};

// The certificate, its key and chain, loaded. Opaque OpenSSL objects, freed with it.
class ClientCertificate {
 public:
  // Throws velmora::Error (the client's number) naming the ini key and the file that failed.
  static std::unique_ptr<ClientCertificate> Load(const ClientCertificateFiles& files, const std::string& source);
  ~ClientCertificate();
  ClientCertificate(const ClientCertificate&) = delete;
  ClientCertificate& operator=(const ClientCertificate&) = delete;

  // Installs the certificate, key and chain on an SSL_CTX.
  bool Install(void* sslContext) const;
  // The certificate's notAfter, seconds since the epoch.
  int64_t NotAfter() const { return notAfter_; }

 private:
  ClientCertificate() = default;
  void* cert_ = nullptr;   // X509
  void* key_ = nullptr;    // EVP_PKEY
  void* chain_ = nullptr;  // STACK_OF(X509)
  int64_t notAfter_ = 0;
};

// Seconds since the epoch of an ASN1_TIME (0 when unreadable).
int64_t AsnTimeToEpoch(const void* asn1Time);

}  // namespace velmora::soap
