#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>

#include "status.h"
#include "texts.h"
#include "velmora/executor.h"
#include "velmora/tools.h"

namespace velmora::cli {

namespace {

// How the library reads a key: the conversion that makes it fail at start-up or at the call.
enum class Kind {
  kText,
  kSecret,       // shown only as set or empty
  kInt16,        // CInt
  kInt32,        // CLng
  kNumber,       // Val, rounded to a Long
  kOptionalInt,  // used only when numeric
  kFile,         // empty, or a file that can be read
};

struct Key {
  const char* section;
  const char* key;
  Kind kind;
  bool proxyOnly = false;  // read only when [Proxy] UtilizarProxy is above 0
};

constexpr Key kKeys[] = {
    {"Configuracion", "Servicio", Kind::kText},
    {"Configuracion", "EsquemaXML", Kind::kText},
    {"Configuracion", "GuardarPeticionSOAP", Kind::kInt16},
    {"Configuracion", "GenerarLog", Kind::kInt16},
    {"Configuracion", "GenerarTrace", Kind::kInt16},
    {"Configuracion", "TamanioMaximoLog", Kind::kNumber},
    {"Configuracion", "CodigoDispensacionCorrecta", Kind::kText},
    {"Asincrono", "PeticionTimeOut", Kind::kInt16},
    {"Asincrono", "AutoRespuesta", Kind::kInt16},
    {"Asincrono", "EliminarXMLPeticion", Kind::kInt16},
    {"Asincrono", "EliminarXMLRespuesta", Kind::kInt16},
    {"Asincrono", "IntervaloComprobacion", Kind::kInt16},
    {"Seguimiento", "ArchivoDiario", Kind::kInt16},
    {"Seguimiento", "Auditar", Kind::kInt16},
    {"MensajeSOAP", "Enviados", Kind::kInt32},
    {"MensajeSOAP", "Recibidos", Kind::kInt32},
    {"Proxy", "UtilizarProxy", Kind::kInt16},
    {"Proxy", "UsarProxy", Kind::kInt16, true},
    {"Proxy", "Servidor", Kind::kText, true},
    {"Proxy", "Puerto", Kind::kInt32, true},
    {"Proxy", "Usuario", Kind::kText, true},
    {"Proxy", "Password", Kind::kSecret, true},
    {"Proxy", "TimeOut", Kind::kOptionalInt, true},
    {"Proxy", "CAFile", Kind::kFile},
    {"Proxy", "CertFile", Kind::kFile},
    {"Proxy", "KeyFile", Kind::kFile},
    {"Proxy", "KeyPassword", Kind::kSecret},
    {"RespuestaDefecto", "CodigoAviso", Kind::kText},
    {"RespuestaDefecto", "TextoAviso", Kind::kText},
    {"RespuestaDefecto", "NumAvisos", Kind::kOptionalInt},
    {"RespuestaDefecto", "CodigoMotivosRechazo", Kind::kText},
    {"RespuestaDefecto", "TextoMotivosRechazo", Kind::kText},
    {"RespuestaDefecto", "NumMotivosRechazo", Kind::kOptionalInt},
    {"RespuestaDefecto", "ResultResp", Kind::kText},
};

// The key's value as the library converts it; throws velmora::Error where the library would.
std::string Converted(Kind kind, const std::string& raw) {
  constexpr const char* kSource = "velmora status";
  switch (kind) {
    case Kind::kText: return "\"" + raw + "\"";
    case Kind::kSecret: return Say(raw.empty() ? "cli.status.empty" : "cli.status.set");
    case Kind::kInt16: return std::to_string(tools::ToInt16(raw, kSource));
    case Kind::kInt32: return std::to_string(tools::ToInt32(raw, kSource));
    case Kind::kNumber: return std::to_string(tools::RoundedVal(raw, kSource));
    case Kind::kOptionalInt:
      return tools::IsNumeric(raw) ? std::to_string(tools::ToInt32(raw, kSource)) : Say("cli.status.not_used", {raw});
    case Kind::kFile:
      if (!raw.empty() && !std::ifstream(raw)) throw std::runtime_error(Say("cli.status.unreadable_file", {raw}));
      return "\"" + raw + "\"";
  }
  return raw;
}

Check IniKey(const std::string& ini, const Key& key, bool proxyInUse) {
  const std::string raw = GetPrivateProfileStringEx(ini, key.section, key.key);
  Check check{std::string("[").append(key.section).append("] ").append(key.key), true, {}};
  if (key.proxyOnly && !proxyInUse) {
    check.detail = Converted(Kind::kText, key.kind == Kind::kSecret ? Converted(key.kind, raw) : raw) +
                   " " + Say("cli.status.proxy_off");
    return check;
  }
  try {
    check.detail = Converted(key.kind, raw);
  } catch (const Error& e) {
    check.detail = Say("cli.status.bad_value", {raw, std::to_string(e.Number), e.Description});
    check.passed = false;
  } catch (const std::exception& e) {
    check.detail = e.what();
    check.passed = false;
  }
  return check;
}

Check RuntimeFolderCheck(const std::string& root) {
  Check check{Say("cli.status.runtime_folder"), false, root};
  struct stat st{};
  const char* home = getenv("VELMORA_HOME");
  if (home && *home && *home != '/')
    check.detail += ": " + Say("cli.status.home_relative", {home});
  else if (root.empty() || root.front() != '/')
    check.detail += ": " + Say("cli.status.not_absolute");
  else if (root.find_first_of(" \t") != std::string::npos)
    check.detail += ": " + Say("cli.status.blank");
  else if (stat(root.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
    check.detail += ": " + Say("cli.status.not_folder");
  else if (access(root.c_str(), W_OK | X_OK) != 0)
    check.detail += ": " + Say("cli.status.not_writable");
  else
    check.passed = true;
  return check;
}

Check ExecutorCheck(const std::string& root) {
  const std::string path = root + "executor.exe";
  Check check{"executor.exe", false, path};
  struct stat st{};
  if (stat(path.c_str(), &st) != 0)
    check.detail += ": " + Say("cli.status.executor_missing");
  else if (!S_ISREG(st.st_mode) || access(path.c_str(), X_OK) != 0)
    check.detail += ": " + Say("cli.status.not_executable");
  else
    check.passed = true;
  return check;
}

Check WorkingFolder(const std::string& folder) {
  const std::string path = folder.substr(0, folder.size() - 1);  // a file named so must show
  Check check{Say("cli.status.folder", {path}), true, Say("cli.status.present")};
  struct stat st{};
  if (stat(path.c_str(), &st) != 0) {
    check.detail = Say("cli.status.folder_missing");
  } else if (!S_ISDIR(st.st_mode)) {
    check.passed = false;
    check.detail = Say("cli.status.not_folder");
  } else if (access(folder.c_str(), W_OK | X_OK) != 0) {
    check.passed = false;
    check.detail = Say("cli.status.not_writable");
  }
  return check;
}

// The executor marks a finished answer hidden through an extended attribute: a file system
// without user attributes leaves every till waiting until its time-out.
Check AttributesCheck(const std::string& received, const std::string& root) {
  struct stat st{};
  const std::string folder = stat(received.c_str(), &st) == 0 && S_ISDIR(st.st_mode) ? received : root;
  const std::string probe = folder + ".velmora-status-probe";
  Check check{Say("cli.status.attributes"), false, folder};
  if (!std::ofstream(probe)) {
    check.detail += ": " + Say("cli.status.no_probe");
    return check;
  }
  try {
    check.passed = tools::MarkHidden(probe, "velmora status");
    if (!check.passed) check.detail += ": " + Say("cli.status.mark_lost");
  } catch (const Error& e) {
    check.detail += ": " + Say("cli.status.no_user_xattr", {e.Description});
  }
  unlink(probe.c_str());
  return check;
}

// Fetches the service description as the executor does, through the proxy and CA of the ini.
// The description the executors keep is dropped first: the check must reach the service itself,
// and the next executor only fetches it again.
Check ServiceCheck(const std::string& root, const std::string& service) {
  unlink((root + "velmora.wsdl.cache").c_str());
  CExecutor executor;
  Check check{Say("cli.status.service"), executor.ConectarServicio(), service};
  if (!check.passed)
    for (const auto& e : executor.Errores().Errores())
      check.detail += ": " + Say("cli.status.service_error", {std::to_string(e.Number), e.Description});
  return check;
}

// A certificate expiring within this many days is a warning: time enough to have a new one issued.
constexpr int64_t kExpiryWarningDays = 30;

std::string Day(int64_t epoch) {
  const std::time_t t = static_cast<std::time_t>(epoch);
  std::tm tm{};
  char text[32] = "?";
  if (gmtime_r(&t, &tm)) std::strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", &tm);
  return text;
}

// The handshake an executor makes, full (no kept session), with the client certificate of the
// ini: what a server that refuses it, or a certificate about to expire, would do to every
// dispensation shows here first.
Check TlsCheck(const std::string& ini, const std::string& service) {
  const tools::ServiceTls tls = tools::CheckServiceTls(ini);
  Check check{Say("cli.status.tls"), true, {}};
  if (!tls.https) {
    check.detail = Say("cli.status.tls_not_https", {service});
    return check;
  }
  if (!tls.error.empty()) {
    check.passed = false;
    check.detail = tls.error;
    return check;
  }
  check.detail = Say("cli.status.tls_detail", {tls.protocol, tls.serverSubject, Day(tls.serverNotAfter),
                                               tls.clientNotAfter ? Say("cli.status.tls_client", {Day(tls.clientNotAfter)}) : ""});
  const int64_t now = std::time(nullptr);
  const std::pair<const char*, int64_t> certificates[] = {{"cli.status.tls_server", tls.serverNotAfter},
                                                          {"cli.status.tls_client_name", tls.clientNotAfter}};
  for (const auto& [name, notAfter] : certificates) {
    if (!notAfter) continue;
    if (notAfter <= now) {
      check.passed = false;
      check.detail += "; " + Say("cli.status.tls_expired", {Say(name)});
    } else if (notAfter - now < kExpiryWarningDays * 86400) {
      check.warning = true;
      check.detail += "; " + Say("cli.status.tls_expires", {Say(name), std::to_string((notAfter - now) / 86400)});
    }
  }
  return check;
}

}  // namespace

std::vector<Check> RunChecks() {
  CFileAdmin files;
  const std::string root = files.GetDllPath();
  const std::string ini = files.IniFilePath();
  std::vector<Check> checks = {RuntimeFolderCheck(root), ExecutorCheck(root)};
  const bool iniThere = access(ini.c_str(), R_OK) == 0;
  checks.push_back({"velmora.ini", iniThere, ini + (iniThere ? "" : ": " + Say("cli.status.ini_missing"))});
  if (iniThere) {
    bool proxyInUse = false;
    try {
      proxyInUse = tools::ToInt16(GetPrivateProfileStringEx(ini, "Proxy", "UtilizarProxy"), "velmora status") > 0;
    } catch (const Error&) {
      // Reported on its own line below.
    }
    for (const Key& key : kKeys) checks.push_back(IniKey(ini, key, proxyInUse));
  }
  for (const std::string& folder :
       {files.GetSendedPath(), files.GetReceivedPath(), files.GetDelayedPath(), files.GetAuditorPath()})
    checks.push_back(WorkingFolder(folder));
  checks.push_back(AttributesCheck(files.GetReceivedPath(), root));
  if (iniThere) {
    const std::string service = GetPrivateProfileStringEx(ini, "Configuracion", "Servicio");
    checks.push_back(ServiceCheck(root, service));
    checks.push_back(TlsCheck(ini, service));
  }
  return checks;
}

}  // namespace velmora::cli
