#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "velmora/core.h"
#include "velmora/export.h"

namespace velmora {

// The half of the library that runs in the executor process: it reads the request file that
// the interface left in Enviados, calls the web service, and leaves the response file in
// Recibidos, marked hidden once complete (the one signal the waiting side trusts). One object
// serves one prescription id.
class VELMORA_API CExecutor {
 public:
  CExecutor();
  ~CExecutor();
  CExecutor(const CExecutor&) = delete;
  CExecutor& operator=(const CExecutor&) = delete;

  // The getters below write "<id> Recuperado el valor '<value>' para la propiedad <name>" to
  // the message log, so the lines of several executors sharing one log can be told apart.
  bool Conectado() const;
  std::string NombreServicio() const;
  std::string NombreLog() const;
  bool DatosEnviados() const;

  CError& Errores();
  int32_t OpcionesLog() const;
  void OpcionesLog(int32_t value);
  // Flags of InterfaceFlagsEnum (ifgSaveXMLSendedToFile = 1).
  int32_t Opciones() const { return opciones_; }
  void Opciones(int32_t value) { opciones_ = value; }
  bool Enabled() const { return enabled_; }
  const std::string& IDPrescripcion() const { return idPrescripcion_; }
  void IDPrescripcion(const std::string& value) { idPrescripcion_ = value; }

  bool ConectarServicio();
  bool SolicitudDispensacion(const std::string& strIdPrescripcion);
  bool SolicitudDispensaciones(const std::string& strIdPrescripcion);

  std::function<void()> AlConectar;
  // Declared for hosts that bind to all four events; never raised.
  std::function<void()> AlTerminarLeerIni;
  std::function<void()> AlIniciarSolicitudDispensacion;
  std::function<void()> AlTerminarSolicitudDispensacion;

 private:
  struct Impl;
  void LogWithId(const std::string& text) const;
  void Recovered(const std::string& value, const char* property) const;
  // The steps both requests share; `batch` picks the operation, response class and texts.
  bool Request(bool batch, const std::string& strIdPrescripcion);

  std::unique_ptr<Impl> impl_;
  std::string servicio_;
  std::string logFile_, traceFile_, iniFile_;
  bool conectado_ = false;
  bool datosEnviados_ = false;
  bool enabled_ = false;
  int32_t opciones_ = 0;
  std::string idPrescripcion_;
  CError errores_;
};

}  // namespace velmora
