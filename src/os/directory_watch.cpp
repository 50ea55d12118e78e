#include "os/directory_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <thread>

namespace velmora::os {

namespace {

// Events left over from an earlier wait only say "look again"; they are dropped unread.
void Drain(int fd) {
  alignas(inotify_event) char buf[4096];
  while (read(fd, buf, sizeof buf) > 0) {
  }
}

struct ThreadInotify {
  int fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ~ThreadInotify() {
    if (fd >= 0) close(fd);
  }
};

}  // namespace

DirectoryWatch::DirectoryWatch(const std::string& folder) {
  thread_local ThreadInotify inotify;
  // Adding the same folder again returns its existing watch, so a thread keeps one per folder.
  if (inotify.fd >= 0 &&
      inotify_add_watch(inotify.fd, folder.c_str(),
                        IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_CLOSE_WRITE | IN_DELETE) >= 0) {
    fd_ = inotify.fd;
    Drain(fd_);
  }
}

void DirectoryWatch::Wait(std::chrono::milliseconds limit) {
  if (fd_ < 0) {
    std::this_thread::sleep_for(limit);
    return;
  }
  pollfd p{fd_, POLLIN, 0};
  if (poll(&p, 1, static_cast<int>(limit.count())) > 0) Drain(fd_);
}

}  // namespace velmora::os
