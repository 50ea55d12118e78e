#pragma once

#include <string>
#include <string_view>

#include "velmora/messages.h"

namespace velmora::messages {

// The identifier given to a request that has none: "ITP", the pharmacy, the province, the
// pharmacy again, the user, the health card and the present local time as "yymmddhhmmss"
// (os::Now(), so tests fix it), moved on by `laterSeconds` when the caller found the
// earlier stamps taken. The pharmacy appears twice on purpose: identifiers already issued and
// audited have this shape, and the service matches on it.
std::string MakePrescriptionIdentifier(const CPeticionDispensacion& request, int laterSeconds = 0);

// A generated identifier that no other dispensation of this runtime folder holds: a stamp
// already reserved (by this process or another sharing the folder) moves on a second at a time.
// The reservation is an empty file in "Enviados/.reservas/", kept for two hours.
std::string ReserveGeneratedIdentifier(const CPeticionDispensacion& request);

// True when `id` can name a message file and a section of the audit file: valid UTF-8 short
// enough for a file name, no control character, no "/", "[" or "]", and neither "." nor "..".
// Anything else would write outside the working folders or forge audit sections and log lines.
bool IsUsableIdentifier(std::string_view id);

}  // namespace velmora::messages
