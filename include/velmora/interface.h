#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "velmora/core.h"
#include "velmora/export.h"
#include "velmora/messages.h"

namespace velmora {

enum InterfaceFlagsEnum : int32_t { ifgSaveXMLSendedToFile = 1 };
enum ResponseTypeEnum : int32_t { rspReceived = 1, rspDefault = 2, rspInternal = 3 };

// The one class a pharmacy's software creates and talks to. Creating it loads the configuration;
// a dispensation call writes the request file, starts executor.exe, waits for its answer and
// falls back to the default or internal response. Nothing is ever thrown to the host: failures
// show as DatosValidos false and in Errores().
class VELMORA_API CInterface {
 public:
  CInterface();
  ~CInterface();
  CInterface(const CInterface&) = delete;
  CInterface& operator=(const CInterface&) = delete;

  std::string NombreServicio();
  std::string NombreLog();
  CError& Errores();
  int32_t OpcionesLog() const;
  void OpcionesLog(int32_t value);
  int32_t Opciones() const { return opciones_; }
  void Opciones(int32_t value) { opciones_ = value; }
  bool Enabled() const { return enabled_; }

  // One dispensation. A blank IDPrescripcion of the request is filled in.
  std::unique_ptr<CRespuestaPeticion> SolicitudDispensacion(CPeticionDispensacion& objPeticionDispensacion);
  // A batch; with Imprimir the receipt is written (and shown) first.
  std::unique_ptr<CRespDispensaciones> SolicitudDispensaciones(CListadoDispensaciones& objListaDispensaciones,
                                                              bool Imprimir = false);

  // Declared for hosts that bind to all four; the library never raises the first two.
  std::function<void()> AlConectar;
  std::function<void()> AlTerminarLeerIni;
  std::function<void(const std::string& strIdPrescripcion)> AlIniciarSolicitudDispensacion;
  std::function<void(bool blnCorrecto, ResponseTypeEnum intTipoRespuesta)> AlTerminarSolicitudDispensacion;

  // Called once per pass of the response wait, on the calling thread: the place for a GUI host
  // to pump its message queue so the till stays responsive while the library waits.
  std::function<void()> OnIdle;

 private:
  bool WaitResponse(const std::string& strIdPrescripcion);

  std::string serviceName_;
  std::string logFile_;
  std::string traceFile_;
  std::string iniFile_;
  int32_t opciones_ = 0;
  bool enabled_ = false;
  int16_t flag1_ = 0;
  int16_t flag2_ = 0;
  CError errores_;
};

}  // namespace velmora
