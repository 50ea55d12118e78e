#pragma once

#include <filesystem>
#include <string>
#include <utility>

#include "os/attributes.h"
#include "support/context_fixture.h"
#include "velmora/interface.h"
#include "velmora/messages.h"

namespace velmora::testing {

// The thread's fresh context and the real executor.exe in the runtime folder (linked, so it finds
// its library); the service named in the ini refuses connections.
class InterfaceFixture : public ContextFixture {
 public:
  explicit InterfaceFixture(const std::string& ini = RuntimeFolder::DefaultIni(), bool withExecutor = true)
      : ContextFixture(ini) {
    if (withExecutor) std::filesystem::create_symlink(VELMORA_EXECUTOR, folder.Path("executor.exe"));
  }

  bool Exists(const std::string& relative) const { return std::filesystem::exists(folder.Path(relative)); }
  // Leaves `content` in "Recibidos/<id>.xml" at the first pass of the wait, as the executor
  // would once it has started (hidden = marked complete).
  template <class Iface>
  void AnswerDuringTheWait(Iface& iface, const std::string& id, const std::string& content, bool hidden) {
    iface.OnIdle = [this, id, content, hidden, done = false]() mutable {
      if (std::exchange(done, true)) return;
      folder.Write("Recibidos/" + id + ".xml", content);
      if (hidden) os::SetAttributes(folder.Path("Recibidos/" + id + ".xml"), os::kAttrHidden, "t");
    };
  }
};

inline CPeticionDispensacion CompleteRequest() {
  CPeticionDispensacion r;
  r.ClaveUsuario = "clave", r.IdUsuario = "U1", r.Idioma = "es", r.FechaDispensacion = "03/02/2024", r.IdFarmacia = "F1";
  r.IdFarmaceutico = "FC1", r.EnvasesDispensados = "1", r.Importe = "10,50", r.ImporteAportacion = "4,20";
  r.IdProvincia = "48", r.Tis = "T1", r.CodigoDispensado = "654321", r.IDPrescripcion = "RX001";
  return r;
}

// What the till's callbacks were told: the id a dispensation started with and how it ended.
struct Outcome {
  explicit Outcome(CInterface& iface) {
    iface.AlIniciarSolicitudDispensacion = [this](const std::string& id) { started = id; };
    iface.AlTerminarSolicitudDispensacion = [this](bool c, ResponseTypeEnum t) { raised = true, correcto = c, type = t; };
  }
  bool raised = false, correcto = false;
  ResponseTypeEnum type = rspReceived;
  std::string started;
};

inline std::string ErrorNumbers(CError& errors) {
  std::string out;
  for (const auto& item : errors.Errores()) out += std::to_string(item.Number) + " ";
  return out;
}

}  // namespace velmora::testing
