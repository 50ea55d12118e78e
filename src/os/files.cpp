#include "os/files.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include "errors/error_map.h"

namespace velmora::os {

namespace {

// Closes the descriptor and removes the temporary file unless the rename happened.
class TempFile {
 public:
  TempFile(const std::string& target, const std::string& source, unsigned mode = kFileMode) {
    const auto slash = target.rfind('/');
    const std::string dir = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? target : target.substr(slash + 1);
    // Not mkstemp: its six letters are all small ones now and then, the shape the start-up sweep
    // leaves alone as an operator's copy (".velmora.ini.backup"). Ours always start with a digit.
    static constexpr char kLetters[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    thread_local std::mt19937_64 random{std::random_device{}() ^ static_cast<uint64_t>(getpid())};
    for (int attempt = 0; attempt < 100 && fd_ < 0; ++attempt) {
      std::string suffix(6, '0');
      suffix[0] = kLetters[random() % 10];
      for (size_t i = 1; i < suffix.size(); ++i) suffix[i] = kLetters[random() % (sizeof kLetters - 1)];
      path_ = dir + "." + name + "." + suffix;
      fd_ = open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
      if (fd_ < 0 && errno != EEXIST) break;
    }
    if (fd_ < 0) errors::RaiseErrno(errno, source);
    fchmod(fd_, mode);
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
        errors::RaiseErrno(errno, source);
      }
      done += static_cast<size_t>(n);
    }
  }
  void Sync(const std::string& source) const {
    if (fdatasync(fd_) != 0) errors::RaiseErrno(errno, source);
  }
  void Commit(const std::string& target, const std::string& source) {
    if (close(fd_) != 0) {
      fd_ = -1;
      errors::RaiseErrno(errno, source);
    }
    fd_ = -1;
    if (rename(path_.c_str(), target.c_str()) != 0) errors::RaiseErrno(errno, source);
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
  const int fd = OpenRegular(path, O_RDONLY);
  if (fd < 0) return errno;
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
  if (const int err = ReadRegularFile(path, data); err != 0) errors::RaiseErrno(err, source);
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

void ReplaceFileDurably(const std::string& path, std::string_view data, unsigned mode, const std::string& source) {
  TempFile temp(path, source, mode);
  temp.Write(data, source);
  temp.Sync(source);
  temp.Commit(path, source);
  SyncFolder(FolderOf(path));
}

int OpenRegular(const std::string& path, int flags, unsigned mode) {
  const int fd = open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, mode);
  if (fd < 0) return -1;
  struct stat st{};
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    const int err = S_ISDIR(st.st_mode) ? EISDIR : ENXIO;
    close(fd);
    errno = err;
    return -1;
  }
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  return fd;
}

bool IsTemporaryName(std::string_view name) {
  if (name.size() < 9 || name[0] != '.' || name[name.size() - 7] != '.') return false;
  for (size_t i = name.size() - 6; i < name.size(); ++i) {
    const char c = name[i];
    if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))) return false;
  }
  return true;
}

std::string TargetOfTemporary(std::string_view name) { return std::string(name.substr(1, name.size() - 8)); }

std::string FolderOf(const std::string& file) {
  const auto slash = file.rfind('/');
  return slash == std::string::npos ? "./" : file.substr(0, slash + 1);
}

void SyncFolder(const std::string& folder) {
  const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  fsync(fd);
  close(fd);
}

namespace {

// A blocking flock run by a thread of its own, so the caller can stop waiting for it: flock has
// no time-out, and polling with LOCK_NB starves against a process that takes the lock again at
// once. A waiter given up on keeps waiting and lets the lock go as soon as it gets it.
struct Waiter {
  std::mutex mutex;
  std::condition_variable done;
  bool finished = false;
  bool abandoned = false;
  int error = 0;
  int fd = -1;
};

// The waiter given up on last, per folder: while it still waits, the folder counts as stuck.
std::mutex waitersMutex;
std::map<std::string, std::shared_ptr<Waiter>> abandonedWaiters;

bool Stuck(const std::string& dir) {
  std::lock_guard<std::mutex> guard(waitersMutex);
  auto it = abandonedWaiters.find(dir);
  if (it == abandonedWaiters.end()) return false;
  std::lock_guard<std::mutex> waiter(it->second->mutex);
  if (!it->second->finished) return true;
  abandonedWaiters.erase(it);
  return false;
}

// Fails with `err` after letting the descriptor go.
bool Fail(int fd, int err) {
  close(fd);
  errno = err;
  return false;
}

// True when `fd` got the lock within `wait`; otherwise the descriptor is gone and errno says why.
bool LockWithin(int fd, const std::string& dir, std::chrono::milliseconds wait) {
  if (flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
  if (errno != EWOULDBLOCK) return Fail(fd, errno);
  if (Stuck(dir)) {
    // Someone holds it for long already: a short look, without another waiting thread.
    const auto end = std::chrono::steady_clock::now() + kLockWaitWhenStuck;
    while (std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      if (flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
    }
    return Fail(fd, EWOULDBLOCK);
  }
  auto waiter = std::make_shared<Waiter>();
  waiter->fd = fd;
  std::thread([waiter] {
    int result;
    while ((result = flock(waiter->fd, LOCK_EX)) != 0 && errno == EINTR) {
    }
    std::lock_guard<std::mutex> guard(waiter->mutex);
    waiter->finished = true;
    waiter->error = result == 0 ? 0 : errno;
    if (waiter->abandoned)
      close(waiter->fd);
    else
      waiter->done.notify_all();
  }).detach();
  std::unique_lock<std::mutex> lock(waiter->mutex);
  if (waiter->done.wait_for(lock, wait, [&] { return waiter->finished; }))
    return waiter->error == 0 || Fail(fd, waiter->error);
  waiter->abandoned = true;  // the thread now owns the descriptor
  lock.unlock();
  std::lock_guard<std::mutex> guard(waitersMutex);
  abandonedWaiters[dir] = waiter;
  errno = EWOULDBLOCK;
  return false;
}

}  // namespace

FolderLock::FolderLock(const std::string& file) {
  const std::string dir = FolderOf(file);
  const int fd = open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    error_ = errno;
    return;
  }
  if (LockWithin(fd, dir, kLockWait))
    fd_ = fd;
  else
    error_ = errno;
}

FolderLock::~FolderLock() {
  if (fd_ >= 0) close(fd_);  // closing releases the lock
}

void MakeDirectory(const std::string& path, const std::string& source) {
  if (mkdir(path.c_str(), kDirMode) != 0 && errno != EEXIST) errors::RaiseErrno(errno, source);
}

void CopyFileTo(const std::string& from, const std::string& to, const std::string& source) {
  auto data = ReadWholeFile(from);
  if (!data) errors::RaiseErrno(errno ? errno : ENOENT, source);
  WriteFileAtomic(to, *data, source);
}

void DeleteFile(const std::string& path, const std::string& source) {
  if (unlink(path.c_str()) != 0 && errno != ENOENT) errors::RaiseErrno(errno, source);
}

void AppendToFile(const std::string& path, const std::function<std::string()>& header, std::string_view data,
                  const std::string& source) {
  std::string bytes;
  int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
  if (fd >= 0) {
    if (header) bytes = header();
  } else if (errno == EEXIST) {
    // Whatever stands there must be a plain file: a FIFO would hold the writer until a reader came.
    fd = OpenRegular(path, O_WRONLY | O_APPEND);
  }
  if (fd < 0) errors::RaiseErrno(errno, source);
  bytes.append(data);
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      const int err = errno;
      close(fd);
      errors::RaiseErrno(err, source);
    }
    done += static_cast<size_t>(n);
  }
  close(fd);
}

}  // namespace velmora::os
