#include "velmora/interface.h"

#include "core/boundary.h"
#include "core/context.h"
#include "core/start_up.h"
#include "errors/catalogue.h"

namespace velmora {

CInterface::CInterface() {
  constexpr const char* kMethod = "CInterface.Class_Initialize";
  auto& context = core::ThreadContext();
  // As the executor's start-up: no IN/OUT pair of its own, the closing line written whatever
  // happened.
  core::Recorded(kMethod, [&] {
    const core::StartUpFiles files = core::PrepareSharedObjects();
    logFile_ = files.log;
    traceFile_ = files.trace;
    iniFile_ = files.ini;
    CListadoDispensaciones scratch;
    scratch.ResetDispensacionesCol();

    if (!context.Config.LoadIni()) Raise(errnum::kIniUnreadable, kMethod);

    CFileAdmin().DeleteLogFileIfExcededSize();
    core::SweepInterruptedWrites();
    // Names the executor's start-up on purpose: log readers filter on this text.
    context.TraceLog.WriteTrace(true, "CExecutor.Class_Initialize", {}, true);
    serviceName_ = context.Config.Servicio;
    opciones_ |= context.Config.GuardarPeticionSOAP;
    core::ApplyLoadedConfiguration();
    flag1_ = 0;
    flag2_ = 0;
    enabled_ = true;
    core::LogLine(errors::Text("log.configuration_loaded", {iniFile_}));
  });
  core::Quietly([&] { context.TraceLog.WriteTrace(false, kMethod, {}, true); });
}

CInterface::~CInterface() {
  core::TraceScope trace("CInterface.Class_Terminate");
}

std::string CInterface::NombreServicio() {
  core::LogLine(errors::Text("log.property_read", {serviceName_, "NombreServicio"}));
  return serviceName_;
}

std::string CInterface::NombreLog() {
  const std::string name = core::ThreadContext().MessageLog.FileName;
  core::LogLine(errors::Text("log.property_read", {name, "NombreLog"}));
  return name;
}

CError& CInterface::Errores() { return errores_; }

// Every shared object (configuration, log, audit trail) is the creating thread's: on another
// thread the call would run against an unloaded configuration and leave the request file, with
// its password, behind. It is refused before anything is written, and said so.
bool CInterface::OnOwnThread(const char* method) {
  if (OnCreatingThread()) return true;
  errores_ = CError();
  const Error error(errnum::kInterfaceNotActive, method,
                    errors::Text("interface.wrong_thread", {ErrorText(errnum::kInterfaceNotActive)}));
  errores_.AddError(error);
  core::LogLine(error.what());
  return false;
}

int32_t CInterface::OpcionesLog() const { return core::ThreadContext().MessageLog.Flags; }

void CInterface::OpcionesLog(int32_t value) { core::ThreadContext().MessageLog.Flags = value; }


}  // namespace velmora
