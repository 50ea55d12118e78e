#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace velmora::os {

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
// The same for a file that matters after a power cut (the ini): the new file gets `mode`, and
// file and folder are synced around the rename, so the file system cannot give back an empty
// file in its place.
void ReplaceFileDurably(const std::string& path, std::string_view data, unsigned mode, const std::string& source);

// Opens an existing regular file (following symlinks) without ever blocking: a FIFO or a device
// in its place is refused with ENXIO-like errors instead of waiting for a peer. -1 and errno set
// on failure. `flags` are added to O_CLOEXEC|O_NONBLOCK (O_NONBLOCK is cleared again).
int OpenRegular(const std::string& path, int flags, unsigned mode = kFileMode);

// Temporary names are "." + the target's name + "." + six letters or digits, beside the target.
bool IsTemporaryName(std::string_view name);
std::string TargetOfTemporary(std::string_view name);  // the target's name
// A temporary name this file layer makes: its six end with a digit first. The runtime folder is
// also the operator's, and a hidden copy such as ".velmora.ini.backup" or ".velmora.ini.OLD001"
// has the shape of a temporary name too.
bool IsOwnTemporaryName(std::string_view name);

// How long a lock of the file layer waits for another process before the operation fails
// (EWOULDBLOCK, VB's 70): a stuck process must never hold a till. Once a wait has run out, the
// same folder gets a much shorter one until this process gets its lock again, so a dispensation
// that writes several times pays the full wait once.
inline constexpr std::chrono::milliseconds kLockWait{700};
inline constexpr std::chrono::milliseconds kLockWaitWhenStuck{50};

// An exclusive advisory lock of the folder that holds `file` (flock of the folder itself,
// which every process of every version of the library takes, so it stays a flock: an fcntl or
// OFD lock would not keep out a process that takes the flock). Held() is false when the folder
// cannot be opened or the wait ran out; Error() says why (errno). The wait blocks only the
// calling thread and leaves nothing behind when it gives up.
class FolderLock {
 public:
  explicit FolderLock(const std::string& file);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;
  bool Held() const { return fd_ >= 0; }
  int Error() const { return error_; }

 private:
  int fd_ = -1;
  int error_ = 0;
};

// The folder of `file` with its slash ("./" when it has none).
std::string FolderOf(const std::string& file);
// fsync of a folder, so a rename or a new name in it survives a power cut.
void SyncFolder(const std::string& folder);

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

}  // namespace velmora::os
