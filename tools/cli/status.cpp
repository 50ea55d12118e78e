#include "status.h"

#include <sys/stat.h>

#include <string>

#include "velmora/core.h"

namespace velmora::cli {

namespace {

std::string FolderState(const std::string& path) {
  struct stat st{};
  if (stat(path.c_str(), &st) != 0) return "missing";
  if (!S_ISDIR(st.st_mode)) return "not a folder";
  return "present";
}

}  // namespace

int Status(std::ostream& out) {
  CFileAdmin files;
  CConfig config;
  config.IniFile = files.IniFilePath();
  const bool loaded = config.LoadIni();

  out << "runtime folder: " << files.GetDllPath() << "\n";
  out << "ini file: " << config.IniFile << (files.ExistIniFile() ? "" : " (missing)") << "\n";
  out << "configuration: " << (loaded ? "loaded" : "NOT loaded (see the log)") << "\n";
  out << "  [Configuracion] Servicio = " << config.Servicio << "\n";
  out << "  [Configuracion] EsquemaXML = \"" << config.EsquemaXML() << "\"\n";
  out << "  [Configuracion] GuardarPeticionSOAP = " << config.GuardarPeticionSOAP << "\n";
  out << "  [Configuracion] GenerarLog = " << config.GenerarLog << "\n";
  out << "  [Configuracion] GenerarTrace = " << config.GenerarTrace << "\n";
  out << "  [Asincrono] PeticionTimeOut = " << config.PeticionTimeOut() << "\n";
  out << "  [Asincrono] AutoRespuesta = " << config.AutoRespuesta << "\n";
  out << "  [Asincrono] EliminarXMLPeticion = " << config.EliminarXMLPeticion << "\n";
  out << "  [Asincrono] EliminarXMLRespuesta = " << config.EliminarXMLRespuesta << "\n";
  out << "  [Seguimiento] ArchivoDiario = " << config.ArchivoDiario << "\n";
  out << "  [Seguimiento] Auditar = " << (config.Auditar ? "True" : "False") << "\n";
  out << "  [Asincrono] IntervaloComprobacion = " << config.IntervaloComprobacion() << "\n";
  out << "  [Configuracion] TamanioMaximoLog = " << config.TamanioMaximoLog << "\n";
  out << "  [Configuracion] CodigoDispensacionCorrecta = " << config.CodigoDispensacionOk() << "\n";
  out << "counters:\n";
  out << "  [MensajeSOAP] Enviados = " << GetPrivateProfileStringEx(config.IniFile, "MensajeSOAP", "Enviados") << "\n";
  out << "  [MensajeSOAP] Recibidos = " << GetPrivateProfileStringEx(config.IniFile, "MensajeSOAP", "Recibidos") << "\n";
  out << "working folders:\n";
  for (const std::string& folder :
       {files.GetSendedPath(), files.GetReceivedPath(), files.GetDelayedPath(), files.GetAuditorPath()})
    out << "  " << folder << " " << FolderState(folder) << "\n";
  struct stat st{};
  const std::string log = files.LogFilePath();
  out << "log: " << log << " ";
  if (stat(log.c_str(), &st) == 0)
    out << st.st_size << " bytes\n";
  else
    out << "not written yet\n";
  return loaded ? 0 : 1;
}

}  // namespace velmora::cli
