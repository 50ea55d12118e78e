#include "receipt/print_spooler.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <thread>
#include <vector>

#include "os/paths.h"

extern char** environ;

namespace velmora::receipt {
namespace {

// The child's exit status once it has ended, reaped; false while it runs.
bool Reaped(pid_t pid, int* status) {
  for (;;) {
    const pid_t r = waitpid(pid, status, WNOHANG);
    if (r == pid) return true;
    if (r < 0 && errno == EINTR) continue;
    if (r < 0) {  // not ours to wait for any more: nothing more to learn
      *status = -1;
      return true;
    }
    return false;
  }
}

// Waits for the child to end, at most until `deadline`. The child's pidfd wakes the wait as
// soon as it ends; where the kernel has none, the wait looks again every few milliseconds.
bool WaitUntil(pid_t pid, std::chrono::steady_clock::time_point deadline, int* status) {
  const int pidfd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
  bool ended = false;
  while (!(ended = Reaped(pid, status))) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) break;
    if (pidfd >= 0) {
      pollfd p{pidfd, POLLIN, 0};
      poll(&p, 1, static_cast<int>(left.count()));
    } else {
      std::this_thread::sleep_for(std::min(left, std::chrono::milliseconds(10)));
    }
  }
  if (pidfd >= 0) close(pidfd);
  return ended;
}

}  // namespace

bool SpoolToPrinter(const std::string& file, std::chrono::milliseconds wait) {
  const char* chosen = std::getenv("VELMORA_PRINTER_PROGRAM");
  const std::string program = os::FindProgram(chosen && *chosen ? chosen : "lp");
  if (program.empty()) return false;
  std::vector<char*> argv = {const_cast<char*>(program.c_str()), const_cast<char*>(file.c_str()), nullptr};

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (int fd = 0; fd <= 2; ++fd)
    posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", fd == 0 ? O_RDONLY : O_WRONLY, 0);
  posix_spawnattr_t attr;
  posix_spawnattr_init(&attr);
  // A group of its own, so a spooler that hangs is stopped together with what it started.
  posix_spawnattr_setpgroup(&attr, 0);
  posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
  pid_t pid = 0;
  // The spooler copies the file before it exits, so the caller may delete it afterwards.
  const int rc = posix_spawn(&pid, program.c_str(), &actions, &attr, argv.data(), environ);
  posix_spawnattr_destroy(&attr);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) return false;
  int status = 0;
  if (!WaitUntil(pid, std::chrono::steady_clock::now() + wait, &status)) {
    kill(-pid, SIGKILL);
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return false;
  }
  return status >= 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace velmora::receipt
