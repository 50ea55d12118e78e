#pragma once

#include <string>

#include "soap/soap_client.h"

namespace velmora {

// [Proxy] CertFile, KeyFile and KeyPassword of `iniFile`, read past the traced reader: the trace
// never holds a password, and these keys add no line to it.
soap::ClientCertificateFiles ClientCertificateOf(const std::string& iniFile);

// A full TLS handshake with the configured service as executor.exe would make it (proxy, CA and
// client certificate of the ini), for an installer's check. `error` empty when it was made.
struct ServiceTls {
  std::string service;  // [Configuracion] Servicio
  bool https = false;   // false: the service is not reached over TLS; nothing was tried
  std::string error;
  soap::TlsFacts facts;
};
ServiceTls ProbeServiceTls(const std::string& iniFile);

}  // namespace velmora
