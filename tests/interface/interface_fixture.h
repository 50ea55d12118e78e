#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>

#include "core/context.h"
#include "os/attributes.h"
#include "os/clock.h"
#include "support/runtime_folder.h"
#include "velmora/messages.h"

namespace velmora::testing {

inline std::string IniWith(const std::string& key, const std::string& value) {
  std::string ini = RuntimeFolder::DefaultIni();
  const size_t at = ini.find("\r\n" + key + "=");
  const size_t end = ini.find("\r\n", at + 2);
  return ini.substr(0, at) + "\r\n" + key + "=" + value + ini.substr(end);
}

// A runtime folder with the real executor.exe (linked, so it finds its library) and a fixed
// clock; the service named in the ini refuses connections.
class InterfaceFixture {
 public:
  explicit InterfaceFixture(const std::string& ini = RuntimeFolder::DefaultIni(), bool withExecutor = true)
      : folder(ini) {
    os::SetClockForTesting([] { return os::LocalTime{2024, 2, 3, 9, 5, 7}; });
    core::ThreadContext().Errors = CError();
    core::ThreadContext().ResetAuditor();
    if (withExecutor) std::filesystem::create_symlink(VELMORA_EXECUTOR, folder.Path("executor.exe"));
  }
  ~InterfaceFixture() { os::SetClockForTesting({}); }

  std::string Log() const { return folder.Read("velmora.log"); }
  bool LogHas(const std::string& text) const { return Log().find(text) != std::string::npos; }
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

  RuntimeFolder folder;
};

inline CPeticionDispensacion CompleteRequest() {
  CPeticionDispensacion r;
  r.ClaveUsuario = "clave";
  r.IdUsuario = "U1";
  r.Idioma = "es";
  r.FechaDispensacion = "03/02/2024";
  r.IdFarmacia = "F1";
  r.IdFarmaceutico = "FC1";
  r.EnvasesDispensados = "1";
  r.Importe = "10,50";
  r.ImporteAportacion = "4,20";
  r.IdProvincia = "48";
  r.Tis = "T1";
  r.CodigoDispensado = "654321";
  r.IDPrescripcion = "RX001";
  return r;
}

inline std::string ErrorNumbers(CError& errors) {
  std::string out;
  for (const auto& item : errors.Errores()) out += std::to_string(item.Number) + " ";
  return out;
}

}  // namespace velmora::testing
