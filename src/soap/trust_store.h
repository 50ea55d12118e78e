#pragma once

#include <curl/curl.h>

#include <string>

namespace velmora::soap {

// Where the executor looks for the certificate authorities it trusts. The system's trust is
// taken from its hashed directory (one file per certificate, named by the hash of its subject),
// where OpenSSL reads only the few certificates a chain names, instead of from the bundle file
// that holds them all: parsing the bundle's ~145 certificates took some 20 ms of every
// executor's start, several times the rest of its TLS work.
//
// The system's hashed directory: SSL_CERT_DIR when set (OpenSSL's own way of moving it),
// otherwise the one libcurl was built to use; empty when neither names one, and then libcurl's
// bundle stays in use as before.
std::string SystemCertificateDirectory(CURL* curl);

// Sets the trust of the next transfer on `curl`, just reset to libcurl's defaults: `caFile`,
// when given, beside the system's directory.
void ApplyTrust(CURL* curl, const std::string& caFile);

}  // namespace velmora::soap
