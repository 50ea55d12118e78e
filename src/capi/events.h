#pragma once

#include "capi/handles.h"

namespace velmora::capi {

// Binds the C++ events and the idle callback of `handle.impl` to the C callbacks held in
// `handle.callbacks`. Called once, when the handle is created.
void ConnectEvents(velmora_CInterface& handle);

}  // namespace velmora::capi
