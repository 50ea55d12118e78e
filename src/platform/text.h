#pragma once

#include <string>
#include <string_view>

namespace velmora::platform {

// VB's Trim: blanks (spaces) only, not tabs or line ends.
std::string Trim(std::string_view s);
// ASCII upper case; other bytes stay (UTF-8 sequences are left alone).
std::string UpperCase(std::string_view s);
// Booleans read "True"/"False" in trace and log lines.
inline const char* BoolText(bool b) { return b ? "True" : "False"; }
// UTF-8 text of Windows-1252 bytes.
std::string Cp1252ToUtf8(std::string_view bytes);
bool IsValidUtf8(std::string_view bytes);

}  // namespace velmora::platform
