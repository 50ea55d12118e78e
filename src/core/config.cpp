#include "velmora/core.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

#include "core/boundary.h"
#include "core/context.h"
#include "errors/error_map.h"
#include "ini/profile.h"
#include "vbcompat/vbconv.h"

namespace velmora {

const char* const kDefaultEsquemaXML =
    "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
    "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\" "
    "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" ";

std::string GetPrivateProfileStringEx(const std::string& strFile, const std::string& strSection,
                                      const std::string& strKey) {
  core::TraceScope trace("modGlobal.GetPrivateProfileStringEx");
  std::string value = ini::ReadProfileString(strFile, strSection, strKey, {}, 255);
  trace.Result(value);
  return value;
}

bool WritePrivateProfileStringEx(const std::string& strFile, const std::string& strSection,
                                 const std::string& strKey, const std::string& strValue) {
  return ini::WriteProfileString(strFile, strSection, strKey, strValue);
}

void CConfig::PeticionTimeOut(int16_t value) {
  const int32_t magnitude = value < 0 ? -int32_t{value} : value;
  if (magnitude > std::numeric_limits<int16_t>::max()) Raise(errnum::kOverflow, "CConfig.PeticionTimeOut");
  peticionTimeOut_ = magnitude == 0 ? int16_t{60} : static_cast<int16_t>(magnitude);
}

void CConfig::IntervaloComprobacion(int16_t value) {
  if (value >= peticionTimeOut_ || value == 0)
    intervaloComprobacion_ = static_cast<int16_t>(peticionTimeOut_ / 3);
  else
    intervaloComprobacion_ = value;
}

bool CConfig::LoadIni() {
  constexpr const char* kMethod = "CConfig.LoadIni";
  return core::Method<bool>({.trace = kMethod}, [&] {
    auto read = [&](const char* section, const char* key) { return GetPrivateProfileStringEx(IniFile, section, key); };
    auto int16 = [&](const char* section, const char* key) { return vb::ToInt16(read(section, key), kMethod); };

    Servicio = read("Configuracion", "Servicio");
    // Kept inverted on purpose: the default declarations read back as "1 ", anything else as
    // itself plus a blank; installations depend on this reading.
    const std::string esquema = read("Configuracion", "EsquemaXML");
    esquemaXML_ = esquema == kDefaultEsquemaXML ? std::string("1 ") : esquema + " ";
    core::ThreadContext().EsquemaXML = esquemaXML_;
    GuardarPeticionSOAP = int16("Configuracion", "GuardarPeticionSOAP");
    GenerarLog = int16("Configuracion", "GenerarLog");
    GenerarTrace = int16("Configuracion", "GenerarTrace");
    peticionTimeOut_ = int16("Asincrono", "PeticionTimeOut");
    AutoRespuesta = int16("Asincrono", "AutoRespuesta");
    EliminarXMLPeticion = int16("Asincrono", "EliminarXMLPeticion");
    EliminarXMLRespuesta = int16("Asincrono", "EliminarXMLRespuesta");
    ArchivoDiario = int16("Seguimiento", "ArchivoDiario");
    Auditar = int16("Seguimiento", "Auditar") == 1;
    intervaloComprobacion_ = int16("Asincrono", "IntervaloComprobacion");
    TamanioMaximoLog = vb::RoundToInt32(vb::Val(read("Configuracion", "TamanioMaximoLog"), kMethod), kMethod);
    codigoDispensacionOk_ = read("Configuracion", "CodigoDispensacionCorrecta");
    return true;
  });
}

bool CConfig::UpdateCounter(const char* method, const char* key) {
  return core::Method<bool>({.trace = method}, [&] {
    // The whole read-add-write runs under the folder lock: two processes counting at once
    // must both be counted.
    const bool written =
        ini::UpdateProfileString(IniFile, "MensajeSOAP", key, [&](const std::optional<std::string>& current) {
          const int32_t value = vb::ToInt32(current.value_or(std::string()), method);
          if (value == std::numeric_limits<int32_t>::max()) Raise(errnum::kOverflow, method);
          return std::optional<std::string>(std::to_string(value + 1));
        });
    // A read-only ini, a lock that never came free, a FIFO in the ini's place: logged, counted
    // as not done.
    if (!written) errors::RaiseErrno(errno, method);
    return true;
  });
}

bool CConfig::UpdateAndSaveSended() { return UpdateCounter("CConfig.UpdateAndSaveSended", "Enviados"); }

bool CConfig::UpdateAndSaveReceived() { return UpdateCounter("CConfig.UpdateAndSaveReceived", "Recibidos"); }

std::string CConfig::LoadInternalResponse(const std::string& strFieldName) {
  constexpr const char* kMethod = "CConfig.LoadInternalResponse";
  return core::Method<std::string>(
      {.trace = kMethod, .argument = strFieldName, .checks = [&] {
         if (strFieldName.empty()) Raise(errnum::kDefaultFieldInvalid, kMethod);
       }},
      [&] { return GetPrivateProfileStringEx(IniFile, "RespuestaDefecto", strFieldName); });
}

}  // namespace velmora
