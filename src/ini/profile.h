#pragma once

#include <functional>
#include <optional>
#include <string>

namespace velmora::ini {

// Windows profile (ini) files, with the Windows matching and placement rules: sections and keys
// match without regard to case and with blanks trimmed, the first section and first key win,
// ';' starts a comment line, a value in matching quotes loses them, a written key replaces its
// value in place and every other byte of the file is kept. Files are read as UTF-8, lines that
// are not valid UTF-8 as Windows-1252.

// Reads a value into a buffer of `bufferSize` characters: at most bufferSize-1 come back.
// Missing file, section or key gives `defaultValue` (trailing blanks removed).
std::string ReadProfileString(const std::string& file, const std::string& section, const std::string& key,
                              const std::string& defaultValue = {}, size_t bufferSize = 255);

// Writes one key (nullopt deletes it). The new file replaces the old one atomically and durably
// under an advisory lock of the folder, so two processes never lose each other's keys; a
// symlinked file is written at its target and keeps its mode. False, errno saying why, when the
// folder does not exist, the lock never came free, the file is read-only (EACCES, as Windows
// refused it) or not a regular file.
bool WriteProfileString(const std::string& file, const std::string& section, const std::string& key,
                        const std::optional<std::string>& value);

// Locked read-modify-write of one key: `update` gets the current value (nullopt when absent)
// and returns the new one (nullopt: leave the file alone). Exceptions from `update` propagate
// and nothing is written.
bool UpdateProfileString(const std::string& file, const std::string& section, const std::string& key,
                         const std::function<std::optional<std::string>(const std::optional<std::string>&)>& update);

}  // namespace velmora::ini
