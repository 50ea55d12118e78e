// CRespDispensaciones through the C interface: read-only, as a host receives it.
#include "velmora/velmora.h"

#include "capi/boundary.h"
#include "capi/handles.h"

using velmora::capi::AllSet;
using velmora::capi::Boundary;

extern "C" {

VELMORA_API int velmora_CRespDispensaciones_release(velmora_CRespDispensaciones* response) {
  return Boundary(__func__, [&] {
    if (!response) return VELMORA_OK;  // like free(NULL)
    delete response;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespDispensaciones_TipoRespuesta(const velmora_CRespDispensaciones* response, int32_t* out) {
  return velmora::capi::Read(__func__, response, out, [&] { return response->impl->TipoRespuesta; });
}

VELMORA_API int velmora_CRespDispensaciones_FalloEjecutor(const velmora_CRespDispensaciones* response,
                                                          const char** out) {
  return velmora::capi::Read(__func__, response, out, [&] { return response->impl->FalloEjecutor.c_str(); });
}

VELMORA_API int velmora_CRespDispensaciones_DatosValidos(const velmora_CRespDispensaciones* response, int* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = response->impl->DatosValidos ? 1 : 0;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespDispensaciones_DispensacionRealizada(const velmora_CRespDispensaciones* response,
                                                                  int* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = response->impl->DispensacionRealizada() ? 1 : 0;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespDispensaciones_blnCodigoErrorDisp(const velmora_CRespDispensaciones* response,
                                                               int* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = response->impl->blnCodigoErrorDisp ? 1 : 0;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespDispensaciones_Count(const velmora_CRespDispensaciones* response, size_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = response->impl->ResultadoDispensacion().Count();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CRespDispensaciones_Row(const velmora_CRespDispensaciones* response, size_t index,
                                                const char** Codigo, const char** Description,
                                                const char** CodigoDispensado, const char** TipoRespuesta) {
  return Boundary(__func__, [&] {
    if (!AllSet(response, Codigo, Description, CodigoDispensado, TipoRespuesta)) return VELMORA_ERR_NULL_ARGUMENT;
    const velmora::CRespError* row = response->impl->ResultadoDispensacion().Item(index);
    if (!row) return VELMORA_ERR_INDEX;
    *Codigo = row->Codigo.c_str();
    *Description = row->Description.c_str();
    *CodigoDispensado = row->CodigoDispensado.c_str();
    *TipoRespuesta = row->TipoRespuesta.c_str();
    return VELMORA_OK;
  });
}

}  // extern "C"
