#pragma once

// Every function of the C interface runs its body through Boundary: a C caller cannot unwind a
// C++ exception, so whatever escapes the body is turned into a status here and nowhere else.

#include <exception>
#include <new>

#include "errors/catalogue.h"
#include "velmora/velmora.h"

namespace velmora::capi {

// Writes the failure to the message log; never throws.
void NoteFailure(const char* function, const char* what) noexcept;

template <class Body>
int Boundary(const char* function, Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return VELMORA_ERR_NO_MEMORY;
  } catch (const std::exception& e) {
    NoteFailure(function, e.what());
    return VELMORA_ERR_INTERNAL;
  } catch (...) {
    // Deliberately broad: this is the edge of the library, and anything at all that reaches it
    // would otherwise terminate the host.
    NoteFailure(function, errors::Text("log.unknown_exception").c_str());
    return VELMORA_ERR_INTERNAL;
  }
}

// True when every pointer is non-null.
template <class... P>
bool AllSet(const P*... pointers) {
  return ((pointers != nullptr) && ...);
}

// A getter's whole body: VELMORA_ERR_NULL_ARGUMENT for a null handle or output, else
// *out = get().
template <class Handle, class T, class Get>
int Read(const char* function, const Handle* handle, T* out, Get&& get) noexcept {
  return Boundary(function, [&] {
    if (!AllSet(handle, out)) return VELMORA_ERR_NULL_ARGUMENT;
    *out = get();
    return VELMORA_OK;
  });
}

}  // namespace velmora::capi
