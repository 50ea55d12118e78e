// CPeticionDispensacion through the C interface.
#include "velmora/velmora.h"

#include "capi/boundary.h"
#include "capi/handles.h"
#include "capi/request_fields.h"
#include "vbcompat/text.h"

using velmora::capi::AllSet;
using velmora::capi::Boundary;

extern "C" {

VELMORA_API int velmora_CPeticionDispensacion_create(velmora_CPeticionDispensacion** out) {
  return Boundary(__func__, [&] {
    if (!out) return VELMORA_ERR_NULL_ARGUMENT;
    *out = new velmora_CPeticionDispensacion();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPeticionDispensacion_release(velmora_CPeticionDispensacion* request) {
  return Boundary(__func__, [&] {
    if (!request) return VELMORA_OK;  // like free(NULL)
    if (request->busy) return VELMORA_ERR_BUSY;
    delete request;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPeticionDispensacion_SetText(velmora_CPeticionDispensacion* request, int property,
                                                      const char* value) {
  return Boundary(__func__, [&] {
    if (!AllSet(request, value)) return VELMORA_ERR_NULL_ARGUMENT;
    std::string* field = velmora::capi::TextField(request->impl, property);
    if (!field) return VELMORA_ERR_INVALID_VALUE;
    if (!velmora::vb::IsValidUtf8(value)) return VELMORA_ERR_INVALID_UTF8;
    *field = value;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPeticionDispensacion_Text(const velmora_CPeticionDispensacion* request, int property,
                                                   const char** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(request, out)) return VELMORA_ERR_NULL_ARGUMENT;
    const std::string* field = velmora::capi::TextField(request->impl, property);
    if (!field) return VELMORA_ERR_INVALID_VALUE;
    *out = field->c_str();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPeticionDispensacion_SetRegimenReceta(velmora_CPeticionDispensacion* request,
                                                               int32_t value) {
  return Boundary(__func__, [&] {
    if (!request) return VELMORA_ERR_NULL_ARGUMENT;
    request->impl.RegimenReceta = static_cast<velmora::RegimenRecetaEnum>(value);
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPeticionDispensacion_RegimenReceta(const velmora_CPeticionDispensacion* request,
                                                            int32_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(request, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = request->impl.RegimenReceta;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPeticionDispensacion_SetTipoPrescripcion(velmora_CPeticionDispensacion* request,
                                                                  int32_t value) {
  return Boundary(__func__, [&] {
    if (!request) return VELMORA_ERR_NULL_ARGUMENT;
    request->impl.TipoPrescripcion = static_cast<velmora::TipoPrescripcionEnum>(value);
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPeticionDispensacion_TipoPrescripcion(const velmora_CPeticionDispensacion* request,
                                                               int32_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(request, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = request->impl.TipoPrescripcion;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPeticionDispensacion_SetSaveSOAPMsgToFile(velmora_CPeticionDispensacion* request,
                                                                   int value) {
  return Boundary(__func__, [&] {
    if (!request) return VELMORA_ERR_NULL_ARGUMENT;
    request->impl.SaveSOAPMsgToFile = value != 0;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPeticionDispensacion_SaveSOAPMsgToFile(const velmora_CPeticionDispensacion* request,
                                                                int* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(request, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = request->impl.SaveSOAPMsgToFile ? 1 : 0;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPeticionDispensacion_MissingFields(velmora_CPeticionDispensacion* request,
                                                            const char** out) {
  return velmora::capi::Read(__func__, request, out, [&] {
    request->missingFields.clear();
    for (const std::string& name : request->impl.MissingFields())
      request->missingFields += (request->missingFields.empty() ? "" : ", ") + name;
    return request->missingFields.c_str();
  });
}

}  // extern "C"
