// Errores through the C interface: a copy of the interface's error list, read item by item.
#include "velmora/velmora.h"

#include "capi/boundary.h"
#include "capi/handles.h"

using velmora::capi::AllSet;
using velmora::capi::Boundary;

extern "C" {

VELMORA_API int velmora_CError_release(velmora_CError* errors) {
  return Boundary(__func__, [&] {
    if (!errors) return VELMORA_OK;  // like free(NULL)
    delete errors;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CError_Count(const velmora_CError* errors, size_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(errors, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = errors->items.size();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CError_Item(const velmora_CError* errors, size_t index, velmora_CErrorItem* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(errors, out)) return VELMORA_ERR_NULL_ARGUMENT;
    if (index < 1 || index > errors->items.size()) return VELMORA_ERR_INDEX;
    const velmora::CErrorItem& item = errors->items[index - 1];
    out->Number = item.Number;
    out->Description = item.Description.c_str();
    out->HelpContext = item.HelpContext.c_str();
    out->HelpFile = item.HelpFile.c_str();
    out->Source = item.Source.c_str();
    return VELMORA_OK;
  });
}

}  // extern "C"
