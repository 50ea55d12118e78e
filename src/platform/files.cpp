#include "platform/files.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/error_map.h"

namespace velmora::platform {

namespace {

// Closes the descriptor and removes the temporary file unless the rename happened.
class TempFile {
 public:
  TempFile(const std::string& target, const std::string& source) {
    const auto slash = target.rfind('/');
    const std::string dir = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? target : target.substr(slash + 1);
    path_ = dir + "." + name + ".XXXXXX";
    fd_ = mkstemp(path_.data());
    if (fd_ < 0) RaiseErrno(errno, source);
    fchmod(fd_, kFileMode);
  }
  ~TempFile() {
    if (fd_ >= 0) close(fd_);
    if (!committed_) unlink(path_.c_str());
  }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  void Write(std::string_view data, const std::string& source) const {
    size_t done = 0;
    while (done < data.size()) {
      const ssize_t n = ::write(fd_, data.data() + done, data.size() - done);
      if (n < 0) {
        if (errno == EINTR) continue;
        RaiseErrno(errno, source);
      }
      done += static_cast<size_t>(n);
    }
  }
  void Commit(const std::string& target, const std::string& source) {
    if (close(fd_) != 0) {
      fd_ = -1;
      RaiseErrno(errno, source);
    }
    fd_ = -1;
    if (rename(path_.c_str(), target.c_str()) != 0) RaiseErrno(errno, source);
    committed_ = true;
  }

 private:
  std::string path_;
  int fd_ = -1;
  bool committed_ = false;
};

}  // namespace

bool PathExists(const std::string& path) {
  struct stat st{};
  return !path.empty() && stat(path.c_str(), &st) == 0;
}

bool IsDirectory(const std::string& path) {
  struct stat st{};
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

namespace {

// Reads a whole regular file; on failure returns the errno that says why.
int ReadRegularFile(const std::string& path, std::string& data) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno;
  struct stat st{};
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    const int err = S_ISDIR(st.st_mode) ? EISDIR : errno;
    close(fd);
    return err ? err : EINVAL;
  }
  char buf[65536];
  for (;;) {
    const ssize_t n = read(fd, buf, sizeof buf);
    if (n < 0) {
      if (errno == EINTR) continue;
      const int err = errno;
      close(fd);
      return err;
    }
    if (n == 0) break;
    data.append(buf, static_cast<size_t>(n));
  }
  close(fd);
  return 0;
}

}  // namespace

std::optional<std::string> ReadWholeFile(const std::string& path) {
  std::string data;
  if (ReadRegularFile(path, data) != 0) return std::nullopt;
  return data;
}

std::string ReadFileOrRaise(const std::string& path, const std::string& source) {
  std::string data;
  if (const int err = ReadRegularFile(path, data); err != 0) RaiseErrno(err, source);
  return data;
}

int64_t FileLength(const std::string& path) {
  struct stat st{};
  if (stat(path.c_str(), &st) != 0) return -1;
  return static_cast<int64_t>(st.st_size);
}

void WriteFileAtomic(const std::string& path, std::string_view data, const std::string& source) {
  TempFile temp(path, source);
  temp.Write(data, source);
  temp.Commit(path, source);
}

void MakeDirectory(const std::string& path, const std::string& source) {
  if (mkdir(path.c_str(), kDirMode) != 0 && errno != EEXIST) RaiseErrno(errno, source);
}

void CopyFileTo(const std::string& from, const std::string& to, const std::string& source) {
  auto data = ReadWholeFile(from);
  if (!data) RaiseErrno(errno ? errno : ENOENT, source);
  WriteFileAtomic(to, *data, source);
}

void DeleteFile(const std::string& path, const std::string& source) {
  if (unlink(path.c_str()) != 0 && errno != ENOENT) RaiseErrno(errno, source);
}

void AppendToFile(const std::string& path, const std::function<std::string()>& header, std::string_view data,
                  const std::string& source) {
  std::string bytes;
  int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
  if (fd >= 0) {
    if (header) bytes = header();
  } else if (errno == EEXIST) {
    fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  }
  if (fd < 0) RaiseErrno(errno, source);
  bytes.append(data);
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      const int err = errno;
      close(fd);
      RaiseErrno(err, source);
    }
    done += static_cast<size_t>(n);
  }
  close(fd);
}

}  // namespace velmora::platform
