// CPendientes through the C interface: lists of pending dispensations, re-sending, acknowledging.
#include "velmora/velmora.h"

#include <string>
#include <vector>

#include "capi/boundary.h"
#include "capi/handles.h"
#include "vbcompat/text.h"

using velmora::capi::AllSet;
using velmora::capi::Boundary;
using velmora::capi::BusyScope;

struct velmora_CPendientes {
  std::vector<velmora::CDispensacionPendiente> items;
};

namespace {

template <class Make>
velmora_status NewList(velmora_CInterface* iface, velmora_CPendientes** out, Make&& make) {
  if (!iface->impl.OnCreatingThread()) return VELMORA_ERR_WRONG_THREAD;
  auto handle = std::make_unique<velmora_CPendientes>();
  {
    BusyScope busy(iface->busy);
    velmora::CPendientes pending(iface->impl);
    handle->items = make(pending);
  }
  *out = handle.release();
  return VELMORA_OK;
}

}  // namespace

extern "C" {

VELMORA_API int velmora_CInterface_Pendientes(velmora_CInterface* iface, velmora_CPendientes** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, out)) return VELMORA_ERR_NULL_ARGUMENT;
    return NewList(iface, out, [](velmora::CPendientes& p) { return p.Listar(); });
  });
}

VELMORA_API int velmora_CInterface_Reenviar(velmora_CInterface* iface, const char* strIdPrescripcion,
                                            velmora_CPendientes** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, strIdPrescripcion, out)) return VELMORA_ERR_NULL_ARGUMENT;
    if (!velmora::vb::IsValidUtf8(strIdPrescripcion)) return VELMORA_ERR_INVALID_UTF8;
    return NewList(iface, out, [&](velmora::CPendientes& p) {
      return std::vector<velmora::CDispensacionPendiente>{p.Reenviar(strIdPrescripcion)};
    });
  });
}

VELMORA_API int velmora_CInterface_ReenviarTodas(velmora_CInterface* iface, velmora_CPendientes** out) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, out)) return VELMORA_ERR_NULL_ARGUMENT;
    return NewList(iface, out, [](velmora::CPendientes& p) { return p.ReenviarTodas(); });
  });
}

VELMORA_API int velmora_CInterface_ConfirmarVeredicto(velmora_CInterface* iface, const char* strIdPrescripcion,
                                                      int* done) {
  return Boundary(__func__, [&] {
    if (!AllSet(iface, strIdPrescripcion, done)) return VELMORA_ERR_NULL_ARGUMENT;
    if (!velmora::vb::IsValidUtf8(strIdPrescripcion)) return VELMORA_ERR_INVALID_UTF8;
    if (!iface->impl.OnCreatingThread()) return VELMORA_ERR_WRONG_THREAD;
    BusyScope busy(iface->busy);
    *done = velmora::CPendientes(iface->impl).ConfirmarVeredicto(strIdPrescripcion) ? 1 : 0;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPendientes_release(velmora_CPendientes* list) {
  return Boundary(__func__, [&] {
    if (!list) return VELMORA_ERR_NULL_ARGUMENT;
    delete list;
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPendientes_Count(const velmora_CPendientes* list, size_t* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(list, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = list->items.size();
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPendientes_Item(const velmora_CPendientes* list, size_t index,
                                         velmora_CDispensacionPendiente* out) {
  return Boundary(__func__, [&] {
    if (!AllSet(list, out)) return VELMORA_ERR_NULL_ARGUMENT;
    if (index < 1 || index > list->items.size()) return VELMORA_ERR_INDEX;
    const auto& p = list->items[index - 1];
    *out = {p.IDPrescripcion.c_str(), p.Lote ? 1 : 0, p.Fecha.c_str(), p.TipoRespuesta, p.Estado,
            p.EjecutorActivo ? 1 : 0, p.Resultado, p.Veredicto ? 1 : 0, p.DispensacionRealizada ? 1 : 0,
            p.Codigos.size()};
    return VELMORA_OK;
  });
}

VELMORA_API int velmora_CPendientes_Codigo(const velmora_CPendientes* list, size_t index, size_t n,
                                           const char** Codigo, const char** Texto) {
  return Boundary(__func__, [&] {
    if (!AllSet(list, Codigo, Texto)) return VELMORA_ERR_NULL_ARGUMENT;
    if (index < 1 || index > list->items.size()) return VELMORA_ERR_INDEX;
    const auto& p = list->items[index - 1];
    if (n < 1 || n > p.Codigos.size()) return VELMORA_ERR_INDEX;
    static const std::string kNone;
    *Codigo = p.Codigos[n - 1].c_str();
    *Texto = n <= p.Textos.size() ? p.Textos[n - 1].c_str() : kNone.c_str();
    return VELMORA_OK;
  });
}

}  // extern "C"
