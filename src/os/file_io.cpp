#include "os/file_io.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "os/files.h"

namespace velmora::os {

void Descriptor::reset(int fd) {
  if (fd_ >= 0) close(fd_);
  fd_ = fd;
}

namespace {

FileStatus StatusFrom(const struct stat& st) {
  FileStatus status;
  status.regular = S_ISREG(st.st_mode);
  status.directory = S_ISDIR(st.st_mode);
  status.device = static_cast<uint64_t>(st.st_dev);
  status.inode = static_cast<uint64_t>(st.st_ino);
  status.size = static_cast<uint64_t>(st.st_size);
  status.modified = st.st_mtim;
  return status;
}

}  // namespace

std::optional<FileStatus> StatusOf(const std::string& path) {
  struct stat st{};
  if (stat(path.c_str(), &st) != 0) return std::nullopt;
  return StatusFrom(st);
}

std::optional<FileStatus> LinkStatusOf(const std::string& path) {
  struct stat st{};
  if (lstat(path.c_str(), &st) != 0) return std::nullopt;
  return StatusFrom(st);
}

std::optional<FileStatus> StatusOf(int fd) {
  struct stat st{};
  if (fstat(fd, &st) != 0) return std::nullopt;
  return StatusFrom(st);
}

bool ReadAt(int fd, void* buffer, size_t size, uint64_t offset) {
  auto* p = static_cast<char*>(buffer);
  while (size > 0) {
    const ssize_t n = pread(fd, p, size, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      if (n == 0) errno = EIO;
      return false;
    }
    p += n;
    size -= static_cast<size_t>(n);
    offset += static_cast<uint64_t>(n);
  }
  return true;
}

bool WriteAt(int fd, const void* buffer, size_t size, uint64_t offset) {
  const auto* p = static_cast<const char*>(buffer);
  while (size > 0) {
    const ssize_t n = pwrite(fd, p, size, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    p += n;
    size -= static_cast<size_t>(n);
    offset += static_cast<uint64_t>(n);
  }
  return true;
}

bool Truncate(int fd, uint64_t size) { return ftruncate(fd, static_cast<off_t>(size)) == 0; }

bool RemoveFile(const std::string& path) { return unlink(path.c_str()) == 0; }

bool ExclusiveCreate(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
  if (fd < 0) return false;
  close(fd);
  return true;
}

TryLockResult TryLockFile(const std::string& path, Descriptor& held) {
  held.reset(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!held.valid()) return TryLockResult::kFailed;
  if (flock(held.get(), LOCK_EX | LOCK_NB) == 0) return TryLockResult::kLocked;
  return errno == EWOULDBLOCK ? TryLockResult::kBusy : TryLockResult::kFailed;
}

}  // namespace velmora::os
