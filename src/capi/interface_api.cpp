// CInterface through the C interface: life, properties, the two dispensation calls, Errores.
#include "velmora/velmora.h"

#include "capi/boundary.h"
#include "capi/events.h"
#include "capi/handles.h"

using velmora::capi::AllSet;
using velmora::capi::Boundary;
using velmora::capi::BusyScope;

extern "C" {

VELMORA_API int velmora_CInterface_create(velmora_CInterface** out) {
  return Boundary(__func__, [&] {
    if (!out) return VELMORA_ERR_NULL_ARGUMENT;
    auto handle = std::make_unique<velmora_CInterface>();
    velmora::capi::ConnectEvents(*handle);
    *out = handle.release();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_release(velmora_CInterface* iface) {
  return Boundary(__func__, [&] {
    if (!iface) return VELMORA_OK;  // like free(NULL)
    if (iface->busy) return VELMORA_ERR_BUSY;
    delete iface;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_Enabled(const velmora_CInterface* iface, int* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = iface->impl.Enabled() ? 1 : 0;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_NombreServicio(velmora_CInterface* iface, const char** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, out)) return VELMORA_ERR_NULL_ARGUMENT;
    iface->nombreServicio = iface->impl.NombreServicio();
    *out = iface->nombreServicio.c_str();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_NombreLog(velmora_CInterface* iface, const char** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, out)) return VELMORA_ERR_NULL_ARGUMENT;
    iface->nombreLog = iface->impl.NombreLog();
    *out = iface->nombreLog.c_str();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_Opciones(const velmora_CInterface* iface, int32_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = iface->impl.Opciones();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_SetOpciones(velmora_CInterface* iface, int32_t value) {
  return Boundary(__func__, [&] {
    if (!iface) return VELMORA_ERR_NULL_ARGUMENT;
    iface->impl.Opciones(value);
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_OpcionesLog(const velmora_CInterface* iface, int32_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = iface->impl.OpcionesLog();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_SetOpcionesLog(velmora_CInterface* iface, int32_t value) {
  return Boundary(__func__, [&] {
    if (!iface) return VELMORA_ERR_NULL_ARGUMENT;
    iface->impl.OpcionesLog(value);
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_SolicitudDispensacion(velmora_CInterface* iface,
                                                         velmora_CPeticionDispensacion* request,
                                                         velmora_CRespuestaPeticion** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, request, out)) return VELMORA_ERR_NULL_ARGUMENT;
    auto handle = std::make_unique<velmora_CRespuestaPeticion>();
    {
      BusyScope busyInterface(iface->busy);
      BusyScope busyRequest(request->busy);
      handle->impl = iface->impl.SolicitudDispensacion(request->impl);
    }
    if (!handle->impl) return VELMORA_ERR_INTERNAL;
    if (!iface->impl.OnCreatingThread()) return VELMORA_ERR_WRONG_THREAD;
    *out = handle.release();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_SolicitudDispensaciones(velmora_CInterface* iface,
                                                           velmora_CListadoDispensaciones* list, int Imprimir,
                                                           velmora_CRespDispensaciones** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, list, out)) return VELMORA_ERR_NULL_ARGUMENT;
    auto handle = std::make_unique<velmora_CRespDispensaciones>();
    {
      BusyScope busyInterface(iface->busy);
      BusyScope busyList(list->busy);
      handle->impl = iface->impl.SolicitudDispensaciones(list->impl, Imprimir != 0);
    }
    if (!handle->impl) return VELMORA_ERR_INTERNAL;
    if (!iface->impl.OnCreatingThread()) return VELMORA_ERR_WRONG_THREAD;
    *out = handle.release();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CInterface_Errores(velmora_CInterface* iface, velmora_CError** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, out)) return VELMORA_ERR_NULL_ARGUMENT;
    auto handle = std::make_unique<velmora_CError>();
    for (const velmora::CErrorItem& item : iface->impl.Errores().Errores()) handle->items.push_back(item);
    *out = handle.release();
    return VELMORA_OK;
  });
}

}  // extern "C"
