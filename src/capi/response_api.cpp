// CRespuestaPeticion through the C interface: read-only, as a host receives it.
#include "velmora/velmora.h"

#include "capi/boundary.h"
#include "capi/handles.h"

using velmora::capi::AllSet;
using velmora::capi::Boundary;

namespace {

const velmora::Collection<std::string>* Coleccion(const velmora::CRespuestaPeticion& r, int collection) {
  switch (collection) {
    case VELMORA_m_colTextoAviso: return &r.m_colTextoAviso;
    case VELMORA_m_colTextoMotivosRechazo: return &r.m_colTextoMotivosRechazo;
    case VELMORA_m_colCodigoMotivosRechazo: return &r.m_colCodigoMotivosRechazo;
    case VELMORA_m_colCodigoAviso: return &r.m_colCodigoAviso;
    default: return nullptr;
  }
}

}  // namespace

extern "C" {

VELMORA_API int velmora_CRespuestaPeticion_release(velmora_CRespuestaPeticion* response) {
  return Boundary(__func__, [&] {
    if (!response) return VELMORA_OK;  // like free(NULL)
    delete response;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespuestaPeticion_DatosValidos(const velmora_CRespuestaPeticion* response, int* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = response->impl->DatosValidos ? 1 : 0;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespuestaPeticion_DispensacionRealizada(const velmora_CRespuestaPeticion* response,
                                                                 int* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = response->impl->DispensacionRealizada() ? 1 : 0;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespuestaPeticion_m_intNAvisos(const velmora_CRespuestaPeticion* response, int16_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = response->impl->m_intNAvisos;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespuestaPeticion_m_intNMotivosRechazo(const velmora_CRespuestaPeticion* response,
                                                                int16_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = response->impl->m_intNMotivosRechazo;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespuestaPeticion_TipoRespuesta(const velmora_CRespuestaPeticion* response, int32_t* out) {
  return velmora::capi::Read(__func__, response, out, [&] { return response->impl->TipoRespuesta; });
}

VELMORA_API int velmora_CRespuestaPeticion_FalloEjecutor(const velmora_CRespuestaPeticion* response,
                                                         const char** out) {
  return velmora::capi::Read(__func__, response, out, [&] { return response->impl->FalloEjecutor.c_str(); });
}

VELMORA_API int velmora_CRespuestaPeticion_Count(const velmora_CRespuestaPeticion* response, int collection,
                                                 size_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, out)) return VELMORA_ERR_NULL_ARGUMENT;
    const auto* items = Coleccion(*response->impl, collection);
    if (!items) return VELMORA_ERR_INVALID_VALUE;
    *out = items->Count();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespuestaPeticion_Item(const velmora_CRespuestaPeticion* response, int collection,
                                                size_t index, const char** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, out)) return VELMORA_ERR_NULL_ARGUMENT;
    const auto* items = Coleccion(*response->impl, collection);
    if (!items) return VELMORA_ERR_INVALID_VALUE;
    const std::string* item = items->Item(index);
    if (!item) return VELMORA_ERR_INDEX;
    *out = item->c_str();
    return VELMORA_OK;
  });
}

}  // extern "C"
