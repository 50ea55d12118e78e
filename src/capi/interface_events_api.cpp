// Registration of the events of CInterface and its idle callback as C function pointers with a
// user pointer. The C++ side was bound once at creation (capi/events.h); these only fill slots.
#include "velmora/velmora.h"

#include "capi/boundary.h"
#include "capi/handles.h"

using velmora::capi::Boundary;

namespace {

template <class Fn>
velmora_status Register(Fn& slot, void*& userSlot, Fn fn, void* user) {
  slot = fn;
  userSlot = fn ? user : nullptr;
  return VELMORA_OK;
}

}  // namespace

extern "C" {

VELMORA_API int velmora_CInterface_OnAlConectar(velmora_CInterface* iface, velmora_event_fn fn, void* user) {
  return Boundary(__func__, [&] {
    if (!iface) return VELMORA_ERR_NULL_ARGUMENT;
    return Register(iface->callbacks.alConectar, iface->callbacks.alConectarUser, fn, user);
  });
}

VELMORA_API int velmora_CInterface_OnAlTerminarLeerIni(velmora_CInterface* iface, velmora_event_fn fn, void* user) {
  return Boundary(__func__, [&] {
    if (!iface) return VELMORA_ERR_NULL_ARGUMENT;
    return Register(iface->callbacks.alTerminarLeerIni, iface->callbacks.alTerminarLeerIniUser, fn, user);
  });
}

VELMORA_API int velmora_CInterface_OnAlIniciarSolicitudDispensacion(velmora_CInterface* iface,
                                                                    velmora_AlIniciarSolicitudDispensacion_fn fn,
                                                                    void* user) {
  return Boundary(__func__, [&] {
    if (!iface) return VELMORA_ERR_NULL_ARGUMENT;
    return Register(iface->callbacks.alIniciar, iface->callbacks.alIniciarUser, fn, user);
  });
}

VELMORA_API int velmora_CInterface_OnAlTerminarSolicitudDispensacion(velmora_CInterface* iface,
                                                                     velmora_AlTerminarSolicitudDispensacion_fn fn,
                                                                     void* user) {
  return Boundary(__func__, [&] {
    if (!iface) return VELMORA_ERR_NULL_ARGUMENT;
    return Register(iface->callbacks.alTerminar, iface->callbacks.alTerminarUser, fn, user);
  });
}

VELMORA_API int velmora_CInterface_OnIdle(velmora_CInterface* iface, velmora_event_fn fn, void* user) {
  return Boundary(__func__, [&] {
    if (!iface) return VELMORA_ERR_NULL_ARGUMENT;
    return Register(iface->callbacks.onIdle, iface->callbacks.onIdleUser, fn, user);
  });
}

}  // extern "C"
