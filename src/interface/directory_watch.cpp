#include "interface/directory_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <thread>

namespace velmora::interface {

DirectoryWatch::DirectoryWatch(const std::string& folder) {
  fd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (fd_ >= 0 &&
      inotify_add_watch(fd_, folder.c_str(), IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_CLOSE_WRITE | IN_DELETE) < 0) {
    close(fd_);
    fd_ = -1;
  }
}

DirectoryWatch::~DirectoryWatch() {
  if (fd_ >= 0) close(fd_);
}

void DirectoryWatch::Wait(std::chrono::milliseconds limit) {
  if (fd_ < 0) {
    std::this_thread::sleep_for(limit);
    return;
  }
  pollfd p{fd_, POLLIN, 0};
  if (poll(&p, 1, static_cast<int>(limit.count())) > 0) {
    // Drain: the events only say "look again"; what changed is read from the folder itself.
    alignas(inotify_event) char buf[4096];
    while (read(fd_, buf, sizeof buf) > 0) {
    }
  }
}

}  // namespace velmora::interface
