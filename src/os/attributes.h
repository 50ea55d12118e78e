#pragma once

#include <cstdint>
#include <string>

namespace velmora::os {

// DOS attribute bits. Read-only is the owner's write permission; hidden and archive live in the
// extended attribute user.DOSATTRIB as "0x<hex>", the form Samba reads.
inline constexpr uint32_t kAttrReadOnly = 1;
inline constexpr uint32_t kAttrHidden = 2;
inline constexpr uint32_t kAttrArchive = 32;

// A file without user.DOSATTRIB reads as archive (32). A missing file raises 53.
uint32_t GetAttributes(const std::string& path, const std::string& source);
// Sets exactly `attributes` (read-only, hidden, archive bits). Throws velmora::Error.
void SetAttributes(const std::string& path, uint32_t attributes, const std::string& source);
// True when the file exists and does not carry the hidden mark (an "ordinary files" look-up).
bool ExistsNotHidden(const std::string& path);

}  // namespace velmora::os
