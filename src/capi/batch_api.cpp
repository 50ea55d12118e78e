// CListadoDispensaciones through the C interface.
#include "velmora/velmora.h"

#include <memory>

#include "capi/boundary.h"
#include "capi/handles.h"

using velmora::capi::AllSet;
using velmora::capi::Boundary;

extern "C" {

VELMORA_API int velmora_CListadoDispensaciones_create(velmora_CListadoDispensaciones** out) {
  return Boundary(__func__, [&] {
    if (!out) return VELMORA_ERR_NULL_ARGUMENT;
    *out = new velmora_CListadoDispensaciones();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CListadoDispensaciones_release(velmora_CListadoDispensaciones* list) {
  return Boundary(__func__, [&] {
    if (!list) return VELMORA_OK;  // like free(NULL)
    if (list->busy) return VELMORA_ERR_BUSY;
    delete list;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CListadoDispensaciones_aniadirDispensacion(velmora_CListadoDispensaciones* list,
                                                                   velmora_CPeticionDispensacion* request,
                                                                   int* added) {
  return Boundary(__func__, [&] {
    if (!AllSet(list, request, added)) return VELMORA_ERR_NULL_ARGUMENT;
    *added = list->impl.aniadirDispensacion(request->impl) ? 1 : 0;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CListadoDispensaciones_ResetDispensacionesCol(velmora_CListadoDispensaciones* list) {
  return Boundary(__func__, [&] {
    if (!list) return VELMORA_ERR_NULL_ARGUMENT;
    list->impl.ResetDispensacionesCol();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CListadoDispensaciones_Count(const velmora_CListadoDispensaciones* list, size_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(list, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = list->impl.Dispensaciones().Count();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CListadoDispensaciones_Item(const velmora_CListadoDispensaciones* list, size_t index,
                                                    velmora_CPeticionDispensacion** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(list, out)) return VELMORA_ERR_NULL_ARGUMENT;
    const velmora::CPeticionDispensacion* item = list->impl.Dispensaciones().Item(index);
    if (!item) return VELMORA_ERR_INDEX;
    auto handle = std::make_unique<velmora_CPeticionDispensacion>();
    handle->impl = *item;
    *out = handle.release();
    return VELMORA_OK;
  });
}

}  // extern "C"
