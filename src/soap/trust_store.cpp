#include "soap/trust_store.h"

#include <openssl/x509.h>

#include <cstdlib>

namespace velmora::soap {

std::string SystemCertificateDirectory(CURL* curl) {
  if (const char* moved = std::getenv(X509_get_default_cert_dir_env()); moved && *moved) return moved;
  // Only a directory libcurl was built with is known to be hashed: OpenSSL's own default may be
  // a plain folder on systems that keep their trust in a bundle alone.
  char* built = nullptr;
  if (curl_easy_getinfo(curl, CURLINFO_CAPATH, &built) == CURLE_OK && built && *built) return built;
  return {};
}

void ApplyTrust(CURL* curl, const std::string& caFile) {
  const std::string directory = SystemCertificateDirectory(curl);
  if (!directory.empty()) {
    curl_easy_setopt(curl, CURLOPT_CAPATH, directory.c_str());
    // Unset, not left to libcurl's default, which would parse the system's whole bundle.
    curl_easy_setopt(curl, CURLOPT_CAINFO, nullptr);
  }
  if (!caFile.empty()) curl_easy_setopt(curl, CURLOPT_CAINFO, caFile.c_str());
}

}  // namespace velmora::soap
