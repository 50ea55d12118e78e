#pragma once

#include <string>
#include <string_view>

namespace velmora::vb {

// VB's Trim: blanks (spaces) only, not tabs or line ends.
std::string Trim(std::string_view s);
// ASCII upper case; other bytes stay (UTF-8 sequences are left alone).
std::string UpperCase(std::string_view s);
// Booleans read "True"/"False" in trace and log lines.
inline const char* BoolText(bool b) { return b ? "True" : "False"; }
// UTF-8 text of Windows-1252 bytes.
std::string Cp1252ToUtf8(std::string_view bytes);
bool IsValidUtf8(std::string_view bytes);
// `bytes` as UTF-8: unchanged when valid, else read as Windows-1252 (what a reply labelled UTF-8
// but written in Latin-1 holds), so what reaches the host is always valid UTF-8.
std::string AsUtf8(std::string_view bytes);
// Text from outside (a service's fault or reason) made fit for one line of the log: control
// characters, CR and LF become blanks, invalid UTF-8 is read as Windows-1252, and anything past
// `maxBytes` is cut and marked with "...".
inline constexpr size_t kMaxOutsideText = 1024;
std::string OneLogLine(std::string_view text, size_t maxBytes = kMaxOutsideText);

}  // namespace velmora::vb
