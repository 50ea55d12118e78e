#include "os/files.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <random>
#include <set>
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

bool IsOwnTemporaryName(std::string_view name) {
  if (!IsTemporaryName(name)) return false;
  const char first = name[name.size() - 6];
  return first >= '0' && first <= '9';
}

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

// Folders whose last lock wait ran out with no lock of them got here since: while one stays so,
// another wait there is the short one. Only names are kept, never a descriptor or a thread; a
// folder leaves as soon as this process gets its lock again.
std::mutex stuckMutex;
std::set<std::string>& StuckFolders() {
  static std::set<std::string> folders;
  return folders;
}

bool Stuck(const std::string& dir) {
  std::lock_guard<std::mutex> guard(stuckMutex);
  return StuckFolders().count(dir) != 0;
}

void MarkStuck(const std::string& dir, bool stuck) {
  std::lock_guard<std::mutex> guard(stuckMutex);
  if (stuck)
    StuckFolders().insert(dir);
  else
    StuckFolders().erase(dir);
}

// Wakes a lock wait when the folder is closed by anyone. A holder lets the lock go and then
// closes the folder (FolderLock's destructor), so a close is the moment to look again; the clock
// paces the looks as well, for a holder that ends without letting go first (the kernel reports
// that close before it drops the lock). The inotify descriptor is the thread's, made once and
// kept (closing one costs milliseconds, see directory_watch.h); each wait adds its watch and
// removes it when it ends.
class ReleaseWatch {
 public:
  explicit ReleaseWatch(const std::string& dir) {
    thread_local const ThreadInotify inotify;
    if (inotify.fd < 0) return;
    watch_ = inotify_add_watch(inotify.fd, dir.c_str(), IN_CLOSE_NOWRITE | IN_CLOSE_WRITE);
    if (watch_ < 0) return;
    fd_ = inotify.fd;
    Drain();  // what an earlier wait left says nothing about this one
  }
  ~ReleaseWatch() {
    if (watch_ >= 0) inotify_rm_watch(fd_, watch_);
  }
  ReleaseWatch(const ReleaseWatch&) = delete;
  ReleaseWatch& operator=(const ReleaseWatch&) = delete;

  // Returns when the folder is closed by anyone or `limit` passes, whichever is first.
  void Wait(std::chrono::steady_clock::duration limit) const {
    if (fd_ < 0) {
      std::this_thread::sleep_for(limit);
      return;
    }
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(limit).count();
    const timespec timeout{static_cast<time_t>(ns / 1000000000), static_cast<long>(ns % 1000000000)};
    pollfd p{fd_, POLLIN, 0};
    if (ppoll(&p, 1, &timeout, nullptr) > 0) Drain();
  }

 private:
  struct ThreadInotify {
    int fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ~ThreadInotify() {
      if (fd >= 0) close(fd);
    }
  };
  void Drain() const {
    alignas(inotify_event) char buf[4096];
    while (read(fd_, buf, sizeof buf) > 0) {
    }
  }

  int fd_ = -1;
  int watch_ = -1;
};

// True when `fd` got the lock within `wait`; otherwise errno says why. flock has no time-out, so
// the wait is a non-blocking attempt whenever the folder is closed and every couple of
// milliseconds besides: a blocking flock could only be given up on by leaving a thread behind in
// it, and polling on the clock alone starves against a process that lets the lock go and takes
// it again at once.
bool LockWithin(int fd, const std::string& dir, std::chrono::milliseconds wait) {
  constexpr std::chrono::milliseconds kPause{2};
  if (flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
  if (errno != EWOULDBLOCK) return false;
  const auto end = std::chrono::steady_clock::now() + wait;
  const ReleaseWatch released(dir);
  for (;;) {
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK) return false;
    const auto now = std::chrono::steady_clock::now();
    if (now >= end) break;
    released.Wait(std::min<std::chrono::steady_clock::duration>(kPause, end - now));
  }
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
  // Someone holds it for long already: a short look, so a dispensation that writes several
  // times pays the full wait once.
  const bool stuck = Stuck(dir);
  if (LockWithin(fd, dir, stuck ? kLockWaitWhenStuck : kLockWait)) {
    fd_ = fd;
    if (stuck) MarkStuck(dir, false);
    return;
  }
  error_ = errno;
  close(fd);
  if (error_ == EWOULDBLOCK && !stuck) MarkStuck(dir, true);
}

FolderLock::~FolderLock() {
  if (fd_ < 0) return;
  // Let go before closing: the close is what wakes a waiter (ReleaseWatch), and the kernel
  // reports a close before it drops the lock the close would release.
  flock(fd_, LOCK_UN);
  close(fd_);
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
