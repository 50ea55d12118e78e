#include "executor/service_tls.h"

#include <cctype>

#include "ini/profile.h"
#include "soap/soap_client.h"
#include "vbcompat/vbconv.h"
#include "velmora/error.h"

namespace velmora {

namespace {

std::string Read(const std::string& iniFile, const char* section, const char* key) {
  return ini::ReadProfileString(iniFile, section, key, {}, 255);
}

bool StartsWithHttps(const std::string& url) {
  constexpr std::string_view kScheme = "https://";
  if (url.size() < kScheme.size()) return false;
  for (size_t i = 0; i < kScheme.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(url[i])) != kScheme[i]) return false;
  return true;
}

}  // namespace

soap::ClientCertificateFiles ClientCertificateOf(const std::string& iniFile) {
  return {Read(iniFile, "Proxy", "CertFile"), Read(iniFile, "Proxy", "KeyFile"), Read(iniFile, "Proxy", "KeyPassword")};
}

ServiceTls ProbeServiceTls(const std::string& iniFile) {
  constexpr const char* kSource = "velmora status";
  ServiceTls result;
  result.service = Read(iniFile, "Configuracion", "Servicio");
  // The host the description is fetched from is the one checked: the endpoint it names is
  // normally the same server.
  result.https = StartsWithHttps(result.service);
  if (!result.https) return result;
  try {
    soap::SoapClient client;
    client.CertificateAuthorityFile(Read(iniFile, "Proxy", "CAFile"));
    client.ClientCertificate(ClientCertificateOf(iniFile));
    if (vb::ToInt16(Read(iniFile, "Proxy", "UtilizarProxy"), kSource) > 0) {
      client.ConnectorProperty("UseProxy", vb::ToInt16(Read(iniFile, "Proxy", "UsarProxy"), kSource) > 0);
      client.ConnectorProperty("ProxyPort", vb::ToInt32(Read(iniFile, "Proxy", "Puerto"), kSource));
      client.ConnectorProperty("ProxyServer", Read(iniFile, "Proxy", "Servidor"));
      client.ConnectorProperty("ProxyUser", Read(iniFile, "Proxy", "Usuario"));
      client.ConnectorProperty("ProxyPassword", Read(iniFile, "Proxy", "Password"));
      const std::string timeOut = Read(iniFile, "Proxy", "TimeOut");
      if (vb::IsNumeric(timeOut)) client.ConnectorProperty("Timeout", vb::ToInt32(timeOut, kSource));
    }
    result.facts = client.ProbeTls(result.service);
  } catch (const Error& e) {
    result.error = e.Description;
  }
  return result;
}

}  // namespace velmora
