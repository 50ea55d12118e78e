#include "capi/events.h"

#include <string>

namespace velmora::capi {

void ConnectEvents(velmora_CInterface& handle) {
  auto& c = handle.callbacks;
  handle.impl.AlConectar = [&c] {
    if (c.alConectar) c.alConectar(c.alConectarUser);
  };
  handle.impl.AlTerminarLeerIni = [&c] {
    if (c.alTerminarLeerIni) c.alTerminarLeerIni(c.alTerminarLeerIniUser);
  };
  handle.impl.AlIniciarSolicitudDispensacion = [&c](const std::string& id) {
    if (!c.alIniciar) return;
    // The library hands over the request's own string; a callback that sets IDPrescripcion
    // through its handle would free it under the pointer, so the callback reads a copy.
    const std::string copy = id;
    c.alIniciar(c.alIniciarUser, copy.c_str());
  };
  handle.impl.AlTerminarSolicitudDispensacion = [&c](bool correcto, ResponseTypeEnum type) {
    if (c.alTerminar) c.alTerminar(c.alTerminarUser, correcto ? 1 : 0, static_cast<int32_t>(type));
  };
  handle.impl.OnIdle = [&c] {
    if (c.onIdle) c.onIdle(c.onIdleUser);
  };
}

}  // namespace velmora::capi
