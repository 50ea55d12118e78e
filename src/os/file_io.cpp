#include "os/file_io.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

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
  status.permissions = static_cast<unsigned>(st.st_mode & 07777);
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

bool WriteAll(int fd, const void* buffer, size_t size) {
  const auto* p = static_cast<const char*>(buffer);
  size_t done = 0;
  while (done < size) {
    const ssize_t n = write(fd, p + done, size - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    done += static_cast<size_t>(n);
  }
  return true;
}

bool CloseDescriptor(int fd) { return close(fd) == 0; }

int OpenForWriting(const std::string& path, bool* created) {
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NONBLOCK, kFileMode);
  *created = fd >= 0;
  if (fd < 0 && errno == EEXIST) fd = open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return -1;
  const int flags = fcntl(fd, F_GETFL);
  if (flags >= 0) fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
  return fd;
}

std::string CreateUniqueFile(const std::string& prefix, const std::string& suffix) {
  std::string name = prefix + "XXXXXX" + suffix;
  const int fd = mkstemps(name.data(), static_cast<int>(suffix.size()));  // 0600
  if (fd < 0) return {};
  close(fd);
  return name;
}

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
