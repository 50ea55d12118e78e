#pragma once

// The structures behind the opaque handles of velmora.h. Each wraps the C++ object it stands
// for, plus what the C side needs to hand out borrowed strings and to refuse releasing a handle
// that a running call still uses.

#include <memory>
#include <string>
#include <vector>

#include "velmora/interface.h"
#include "velmora/messages.h"
#include "velmora/velmora.h"

struct velmora_CInterface {
  velmora::CInterface impl;
  // The strings last handed out by the two logging getters; their pointers stay valid until the
  // same getter is called again.
  std::string nombreServicio;
  std::string nombreLog;
  int busy = 0;
  // The host's callbacks. The C++ events are bound once, at creation, to trampolines that read
  // these fields, so a callback may re-register itself (or another) while it runs without
  // destroying the function object that is calling it.
  struct {
    velmora_event_fn alConectar = nullptr;
    void* alConectarUser = nullptr;
    velmora_event_fn alTerminarLeerIni = nullptr;
    void* alTerminarLeerIniUser = nullptr;
    velmora_AlIniciarSolicitudDispensacion_fn alIniciar = nullptr;
    void* alIniciarUser = nullptr;
    velmora_AlTerminarSolicitudDispensacion_fn alTerminar = nullptr;
    void* alTerminarUser = nullptr;
    velmora_event_fn onIdle = nullptr;
    void* onIdleUser = nullptr;
  } callbacks;
};

struct velmora_CPeticionDispensacion {
  velmora::CPeticionDispensacion impl;
  std::string missingFields;  // the last text handed out by _MissingFields
  int busy = 0;
};

struct velmora_CListadoDispensaciones {
  velmora::CListadoDispensaciones impl;
  int busy = 0;
};

struct velmora_CRespuestaPeticion {
  std::unique_ptr<velmora::CRespuestaPeticion> impl;
};

struct velmora_CRespDispensaciones {
  std::unique_ptr<velmora::CRespDispensaciones> impl;
};

struct velmora_CError {
  std::vector<velmora::CErrorItem> items;
};

namespace velmora::capi {

// Marks handles as in use for the length of a dispensation call: a callback that tries to
// release one of them gets VELMORA_ERR_BUSY instead of pulling the object from under the call.
class BusyScope {
 public:
  explicit BusyScope(int& counter) : counter_(counter) { ++counter_; }
  ~BusyScope() { --counter_; }
  BusyScope(const BusyScope&) = delete;
  BusyScope& operator=(const BusyScope&) = delete;

 private:
  int& counter_;
};

}  // namespace velmora::capi
