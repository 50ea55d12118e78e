#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "velmora/core.h"
#include "velmora/export.h"
#include "velmora/messages.h"
#include "velmora/pending.h"
#include "velmora/version.h"

namespace velmora {

enum InterfaceFlagsEnum : int32_t { ifgSaveXMLSendedToFile = 1 };
enum ResponseTypeEnum : int32_t { rspReceived = 1, rspDefault = 2, rspInternal = 3 };

// The one class a pharmacy's software creates and talks to. Creating it loads the configuration;
// a dispensation call writes the request file, starts executor.exe, waits for its answer and
// falls back to the default or internal response. Nothing is ever thrown to the host: failures
// show as DatosValidos false and in Errores(). An interface belongs to the thread that created
// it: a dispensation call from any other thread does nothing and answers error 32005.
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
  // True on the thread that created the interface, the only one its dispensation calls serve.
  bool OnCreatingThread() const { return std::this_thread::get_id() == owner_; }

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
  friend class CPendientes;  // its calls are refused off the creating thread the same way
  bool WaitResponse(const std::string& strIdPrescripcion);
  // False, with 32005 in Errores, when called from another thread than the creating one.
  bool OnOwnThread(const char* method);

  std::thread::id owner_ = std::this_thread::get_id();
  // Set while a dispensation waits: tells whether the executor it started has ended.
  std::function<bool()> executorEnded_;

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
