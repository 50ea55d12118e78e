#pragma once

#include <string>

#include "velmora/messages.h"

namespace velmora::messages {

// The identifier given to a request that has none: "ITP", the pharmacy, the province, the
// pharmacy again, the user, the health card and the present local time as "yymmddhhmmss"
// (platform::Now(), so tests fix it). The pharmacy appears twice on purpose: identifiers already
// issued and audited have this shape, and the service matches on it.
std::string MakePrescriptionIdentifier(const CPeticionDispensacion& request);

}  // namespace velmora::messages
