#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace velmora::os {

// A descriptor this object owns: closed when the object goes or is given another.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  ~Descriptor() { reset(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  void reset(int fd = -1);

 private:
  int fd_;
};

// What the library asks of a file's inode: its kind, its identity, its size and when it was
// last written.
struct FileStatus {
  bool regular = false;
  bool directory = false;
  uint64_t device = 0;
  uint64_t inode = 0;
  uint64_t size = 0;
  unsigned permissions = 0;  // the mode's permission bits (07777)
  std::timespec modified{};
};

std::optional<FileStatus> StatusOf(const std::string& path);      // symbolic links followed
std::optional<FileStatus> LinkStatusOf(const std::string& path);  // a symbolic link itself
std::optional<FileStatus> StatusOf(int fd);

// Reads or writes exactly `size` bytes at `offset`, retrying after signals. False with errno set
// otherwise (a read that meets the end of the file fails with EIO).
bool ReadAt(int fd, void* buffer, size_t size, uint64_t offset);
bool WriteAt(int fd, const void* buffer, size_t size, uint64_t offset);
// Makes the file `size` bytes long; false with errno set.
bool Truncate(int fd, uint64_t size);
// Removes a name; false with errno set (ENOENT for one already gone).
bool RemoveFile(const std::string& path);

// Writes all of `size` bytes at the descriptor's position, retrying after signals and short
// writes. False with errno set.
bool WriteAll(int fd, const void* buffer, size_t size);
// Closes a descriptor; false with errno set (a write the kernel deferred may fail only here).
bool CloseDescriptor(int fd);

// Opens `path` for writing from its start, symbolic links followed: a new file is created
// private (0600) under a name nobody held, an existing one (a plain file, a device, a pipe) is
// truncated as it is. Opening never blocks: a pipe nobody reads fails (ENXIO) instead of holding
// the caller; later writes block as usual. -1 with errno set on failure; `created` says whether
// this call made the file, so only then may the caller remove it again.
int OpenForWriting(const std::string& path, bool* created);

// Creates a new empty private file (0600) named `prefix` + six letters or digits + `suffix`.
// Its name, or empty with errno set.
std::string CreateUniqueFile(const std::string& prefix, const std::string& suffix);

// Creates an empty private file (0600) under a name nobody holds yet: of two processes creating
// the same name, exactly one succeeds. False with errno set (EEXIST when the name is taken).
bool ExclusiveCreate(const std::string& path);

// Takes an exclusive advisory lock (flock) of an existing file without waiting for it. The file
// is opened read-only, never through a symbolic link and never blocking on a FIFO; the lock
// lasts while `held` keeps the descriptor, and dies with the process. kBusy when another
// descriptor holds it, kFailed (errno set) when the file cannot be opened or locked.
enum class TryLockResult { kLocked, kBusy, kFailed };
TryLockResult TryLockFile(const std::string& path, Descriptor& held);

}  // namespace velmora::os
