#pragma once

#include <string_view>

namespace velmora::capi {

// True for well-formed UTF-8: no stray continuation bytes, no overlong forms, no surrogates,
// nothing above U+10FFFF. A host that hands over Latin-1 would otherwise put bytes into the
// request files that the XML parser rejects later, far from the cause.
bool IsValidUtf8(std::string_view text);

}  // namespace velmora::capi
