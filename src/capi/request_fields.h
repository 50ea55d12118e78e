#pragma once

#include <string>

#include "velmora/messages.h"

namespace velmora::capi {

// The text member of a request that a velmora_PeticionText number names; nullptr for any other
// number.
std::string* TextField(CPeticionDispensacion& request, int property);
const std::string* TextField(const CPeticionDispensacion& request, int property);

}  // namespace velmora::capi
