#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace velmora::platform {

// Modes of everything the library creates: requests carry the user's password.
inline constexpr unsigned kFileMode = 0600;
inline constexpr unsigned kDirMode = 0700;

bool PathExists(const std::string& path);       // stat; hidden files included
bool IsDirectory(const std::string& path);
std::optional<std::string> ReadWholeFile(const std::string& path);
// The whole of a regular file; anything else (missing, a folder, unreadable) raises the platform
// error with `source`.
std::string ReadFileOrRaise(const std::string& path, const std::string& source);
int64_t FileLength(const std::string& path);    // -1 when missing

// Writes `data` to a temporary name in the same folder and renames it over `path`, so a reader
// sees the old file or the new one, never a part. Throws velmora::Error (platform number).
void WriteFileAtomic(const std::string& path, std::string_view data, const std::string& source);

// Creates one folder with 0700; an existing one is fine. Throws velmora::Error.
void MakeDirectory(const std::string& path, const std::string& source);
// Copies, overwriting the target (written atomically, 0600). Throws velmora::Error.
void CopyFileTo(const std::string& from, const std::string& to, const std::string& source);
// Deletes; a missing file is no failure. Throws velmora::Error on anything else.
void DeleteFile(const std::string& path, const std::string& source);

// Appends `data` with one write(2) on an O_APPEND descriptor, so lines of two processes never
// interleave. When the file is new (created here, exclusively) what `header` makes is written
// first, in the same write. Throws velmora::Error.
void AppendToFile(const std::string& path, const std::function<std::string()>& header, std::string_view data,
                  const std::string& source);

}  // namespace velmora::platform
