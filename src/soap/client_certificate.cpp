#include "soap/client_certificate.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cstring>
#include <ctime>
#include <optional>

#include "errors/catalogue.h"
#include "os/files.h"
#include "soap/soap_error.h"

namespace velmora::soap {

namespace {

[[noreturn]] void Refuse(const std::string& source, errors::Key key, std::initializer_list<std::string_view> args) {
  RaiseSoapError(SoapFailure::ClientCertificate, source, errors::Text(key, args));
}

// OpenSSL's own reason for the last failure, for the log reader who has to fix the file.
std::string OpenSslReason() {
  unsigned long code = ERR_peek_last_error();
  ERR_clear_error();
  const char* reason = code ? ERR_reason_error_string(code) : nullptr;
  return reason ? reason : "-";
}

struct Bio {
  BIO* bio;
  explicit Bio(const std::string& data) : bio(BIO_new_mem_buf(data.data(), static_cast<int>(data.size()))) {}
  ~Bio() { BIO_free(bio); }
};

int GivePassword(char* buffer, int size, int, void* user) {
  const auto* password = static_cast<const std::string*>(user);
  if (password->empty() || password->size() > static_cast<size_t>(size)) return 0;
  std::memcpy(buffer, password->data(), password->size());
  return static_cast<int>(password->size());
}

std::string ReadOrRefuse(const std::string& path, const char* key, const std::string& source) {
  std::optional<std::string> data = os::ReadWholeFile(path);
  if (!data) Refuse(source, "soap.certificate.unreadable", {key, path});
  return std::move(*data);
}

bool IsPem(const std::string& data) { return data.find("-----BEGIN ") != std::string::npos; }
bool IsEncryptedPem(const std::string& data) {
  return data.find("ENCRYPTED PRIVATE KEY") != std::string::npos || data.find("Proc-Type: 4,ENCRYPTED") != std::string::npos;
}

}  // namespace

int64_t AsnTimeToEpoch(const void* asn1Time) {
  std::tm tm{};
  if (!asn1Time || ASN1_TIME_to_tm(static_cast<const ASN1_TIME*>(asn1Time), &tm) != 1) return 0;
  return static_cast<int64_t>(timegm(&tm));
}

ClientCertificate::~ClientCertificate() {
  X509_free(static_cast<X509*>(cert_));
  EVP_PKEY_free(static_cast<EVP_PKEY*>(key_));
  sk_X509_pop_free(static_cast<STACK_OF(X509)*>(chain_), X509_free);
}

std::unique_ptr<ClientCertificate> ClientCertificate::Load(const ClientCertificateFiles& files, const std::string& source) {
  std::unique_ptr<ClientCertificate> loaded(new ClientCertificate());
  ERR_clear_error();
  const std::string certData = ReadOrRefuse(files.certFile, "CertFile", source);
  X509* cert = nullptr;
  EVP_PKEY* key = nullptr;
  STACK_OF(X509)* chain = nullptr;
  std::string password = files.password;
  if (IsPem(certData)) {
    Bio bio(certData);
    cert = PEM_read_bio_X509_AUX(bio.bio, nullptr, nullptr, nullptr);
    if (!cert) Refuse(source, "soap.certificate.not_certificate", {files.certFile});
    loaded->cert_ = cert;
    chain = sk_X509_new_null();
    loaded->chain_ = chain;
    while (X509* more = PEM_read_bio_X509(bio.bio, nullptr, nullptr, nullptr)) sk_X509_push(chain, more);
    ERR_clear_error();
    // The key: its own file, or a block of the certificate's file.
    const bool ownFile = !files.keyFile.empty();
    const std::string keyData = ownFile ? ReadOrRefuse(files.keyFile, "KeyFile", source) : certData;
    const std::string& keyPath = ownFile ? files.keyFile : files.certFile;
    Bio keyBio(keyData);
    key = PEM_read_bio_PrivateKey(keyBio.bio, nullptr, GivePassword, &password);
    if (!key && IsEncryptedPem(keyData)) Refuse(source, "soap.certificate.password", {keyPath, OpenSslReason()});
    if (!key) Refuse(source, "soap.certificate.no_key", {keyPath});
    loaded->key_ = key;
  } else {
    Bio bio(certData);
    PKCS12* p12 = d2i_PKCS12_bio(bio.bio, nullptr);
    if (!p12) Refuse(source, "soap.certificate.not_certificate", {files.certFile});
    // A file without a password may have been made with an empty one or with none at all.
    const char* pass = password.c_str();
    if (!PKCS12_verify_mac(p12, pass, -1) && password.empty() && PKCS12_verify_mac(p12, nullptr, 0)) pass = nullptr;
    ERR_clear_error();
    const bool parsed = PKCS12_parse(p12, pass, &key, &cert, &chain) == 1;
    PKCS12_free(p12);
    loaded->cert_ = cert;
    loaded->key_ = key;
    loaded->chain_ = chain;
    if (!parsed) Refuse(source, "soap.certificate.password", {files.certFile, OpenSslReason()});
    if (!cert) Refuse(source, "soap.certificate.not_certificate", {files.certFile});
    if (!key) Refuse(source, "soap.certificate.no_key", {files.certFile});
  }
  if (X509_check_private_key(cert, key) != 1) {
    ERR_clear_error();
    Refuse(source, "soap.certificate.mismatch", {files.keyFile.empty() ? files.certFile : files.keyFile, files.certFile});
  }
  loaded->notAfter_ = AsnTimeToEpoch(X509_get0_notAfter(cert));
  return loaded;
}

bool ClientCertificate::Install(void* sslContext) const {
  auto* context = static_cast<SSL_CTX*>(sslContext);
  if (SSL_CTX_use_certificate(context, static_cast<X509*>(cert_)) != 1) return false;
  if (SSL_CTX_use_PrivateKey(context, static_cast<EVP_PKEY*>(key_)) != 1) return false;
  auto* chain = static_cast<STACK_OF(X509)*>(chain_);
  for (int i = 0; chain && i < sk_X509_num(chain); ++i)
    if (SSL_CTX_add1_chain_cert(context, sk_X509_value(chain, i)) != 1) return false;
  return true;
}

}  // namespace velmora::soap
