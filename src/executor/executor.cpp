#include "velmora/executor.h"

#include "core/boundary.h"
#include "core/context.h"
#include "core/start_up.h"
#include "errors/catalogue.h"
#include "executor/executor_impl.h"
#include "executor/service_tls.h"
#include "os/paths.h"
#include "ini/profile.h"
#include "vbcompat/text.h"
#include "vbcompat/vbconv.h"
#include "velmora/messages.h"

namespace velmora {

namespace {

constexpr const char* kInitialize = "CExecutor.Class_Initialize";
constexpr const char* kConnect = "CExecutor.ConectarServicio";
// The service description kept between executors, in the runtime folder.
constexpr const char* kDescriptionCache = "velmora.wsdl.cache";

}  // namespace

CExecutor::CExecutor() : impl_(std::make_unique<Impl>()) {
  core::Context& ctx = core::ThreadContext();
  // Start-up has no IN/OUT pair of its own: the trace is off until the configuration has
  // loaded, so only the closing line can appear, and it is written even when start-up failed.
  core::Recorded(kInitialize, [&] {
    const core::StartUpFiles files = core::PrepareSharedObjects();
    logFile_ = files.log;
    traceFile_ = files.trace;
    iniFile_ = files.ini;
    CListadoDispensaciones scratch;
    scratch.ResetDispensacionesCol();
    if (!ctx.Config.LoadIni()) Raise(errnum::kIniUnreadable, kInitialize);
    CFileAdmin().DeleteLogFileIfExcededSize();
    // Written while the trace is still off, as it always was: only the closing line can appear.
    ctx.TraceLog.WriteTrace(true, kInitialize, {}, true);
    impl_->client = std::make_unique<soap::SoapClient>();
    servicio_ = ctx.Config.Servicio;
    opciones_ |= ctx.Config.GuardarPeticionSOAP;
    core::ApplyLoadedConfiguration();
    enabled_ = true;
    core::LogLine(idPrescripcion_ + " " + errors::Text("log.configuration_loaded", {iniFile_}));
  });
  // A trace that cannot be written must not undo a start-up that worked.
  core::Quietly([&] { ctx.TraceLog.WriteTrace(false, kInitialize, {}, true); });
}

CExecutor::~CExecutor() = default;

void CExecutor::LogWithId(const std::string& text) const { core::LogLine(idPrescripcion_ + " " + text); }

void CExecutor::Recovered(const std::string& value, const char* property) const {
  LogWithId(errors::Text("log.property_read", {value, property}));
}

bool CExecutor::Conectado() const {
  Recovered(vb::BoolText(conectado_), "Conectado");
  return conectado_;
}

std::string CExecutor::NombreServicio() const {
  Recovered(servicio_, "NombreServicio");
  return servicio_;
}

std::string CExecutor::NombreLog() const {
  Recovered(logFile_, "NombreLog");
  return logFile_;
}

bool CExecutor::DatosEnviados() const {
  Recovered(vb::BoolText(datosEnviados_), "DatosEnviados");
  return datosEnviados_;
}

CError& CExecutor::Errores() { return errores_; }

int32_t CExecutor::OpcionesLog() const { return core::ThreadContext().MessageLog.Flags; }
void CExecutor::OpcionesLog(int32_t value) { core::ThreadContext().MessageLog.Flags = value; }


bool CExecutor::ConectarServicio() {
  // A caller that only connects (an installation check) reads why in Errores.
  return core::Method<bool>({.trace = kConnect, .after = [&](bool&) { core::CopySharedErrors(errores_); }}, [&] {
    if (conectado_) {
      LogWithId(std::string(kConnect) + ":" + errors::Text("log.connect.already"));
    } else {
      LogWithId(std::string(kConnect) + ":" + errors::Text("log.connect.connecting"));
      if (!impl_->client) impl_->client = std::make_unique<soap::SoapClient>();
      soap::SoapClient& client = *impl_->client;
      // Read at every connection, so a change of the proxy needs no restart.
      auto proxy = [&](const char* key) { return GetPrivateProfileStringEx(iniFile_, "Proxy", key); };
      const int16_t utilizarProxy = vb::ToInt16(proxy("UtilizarProxy"), kConnect);
      const std::string timeOut = proxy("TimeOut");
      // Not a connector property: a service with a private CA needs it whether or not a proxy
      // is configured, and already for fetching the WSDL.
      client.CertificateAuthorityFile(proxy("CAFile"));
      client.ClientCertificate(ClientCertificateOf(iniFile_));
      client.DescriptionCacheFile(os::RuntimeFolder() + kDescriptionCache);
      if (utilizarProxy > 0) {
        const std::string servidor = proxy("Servidor");
        const std::string puerto = proxy("Puerto");
        const std::string usuario = proxy("Usuario");
        // Read past the traced reader: the trace never holds a password.
        const std::string password = ini::ReadProfileString(iniFile_, "Proxy", "Password", {}, 255);
        const std::string usarProxy = proxy("UsarProxy");
        // The proxy is set before the WSDL is fetched, because the description comes through
        // it too; a site that only reaches the service through a proxy could not start
        // otherwise. The time-out is the calls' and is set after.
        client.ConnectorProperty("UseProxy", vb::ToInt16(usarProxy, kConnect) > 0);
        client.ConnectorProperty("ProxyPort", vb::ToInt32(puerto, kConnect));
        client.ConnectorProperty("ProxyServer", servidor);
        client.ConnectorProperty("ProxyUser", usuario);
        client.ConnectorProperty("ProxyPassword", password);
        ServiceCall([&] { client.mssoapinit(servicio_); });
        if (vb::IsNumeric(timeOut)) client.ConnectorProperty("Timeout", vb::ToInt32(timeOut, kConnect));
      } else {
        ServiceCall([&] { client.mssoapinit(servicio_); });
      }
      conectado_ = true;
      if (AlConectar) AlConectar();
    }
    return true;
  });
}

}  // namespace velmora
