#include "os/process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <thread>

#include "errors/error_map.h"
#include "velmora/error.h"

extern char** environ;

namespace velmora::os {

namespace {

// posix_spawn's C structures, released on every path.
struct SpawnSetup {
  posix_spawn_file_actions_t actions{};
  posix_spawnattr_t attr{};
  SpawnSetup() {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attr);
  }
  ~SpawnSetup() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  // A child reads nothing from the host's terminal and writes nothing to it.
  void StandardStreamsToNull() {
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  }
};

// argv as posix_spawn takes it: pointers into `argv`, ended by a null.
std::vector<char*> ArgumentVector(const std::vector<std::string>& argv) {
  std::vector<char*> args;
  args.reserve(argv.size() + 1);
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  return args;
}

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

ChildEnded SpawnDetached(const std::vector<std::string>& argv, const std::string& cwd, const std::string& source,
                         const std::vector<std::string>& environment) {
  if (argv.empty()) throw Error(errnum::kInvalidCall, source, ErrorText(errnum::kInvalidCall));
  if (access(argv[0].c_str(), F_OK) != 0) errors::RaiseErrno(ENOENT, source);

  SpawnSetup setup;
  setup.StandardStreamsToNull();
  posix_spawn_file_actions_addclosefrom_np(&setup.actions, 3);
  if (!cwd.empty()) posix_spawn_file_actions_addchdir_np(&setup.actions, cwd.c_str());
  // A session of its own: a terminal's hang-up or the host's process group signals must not
  // stop an executor that is talking to the service.
  sigset_t all;
  sigset_t none;
  sigfillset(&all);
  sigemptyset(&none);
  posix_spawnattr_setsigdefault(&setup.attr, &all);
  posix_spawnattr_setsigmask(&setup.attr, &none);
  posix_spawnattr_setflags(&setup.attr, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

  std::vector<char*> args = ArgumentVector(argv);

  std::vector<char*> env;
  for (const auto& e : environment) env.push_back(const_cast<char*>(e.c_str()));
  for (char** e = environ; e && *e; ++e) {
    const std::string_view entry(*e);
    const bool replaced = std::any_of(environment.begin(), environment.end(), [&](const std::string& mine) {
      const size_t eq = mine.find('=');
      return entry.size() > eq && entry.compare(0, eq + 1, mine, 0, eq + 1) == 0;
    });
    if (!replaced) env.push_back(*e);
  }
  env.push_back(nullptr);

  pid_t pid = 0;
  const int rc = posix_spawn(&pid, argv[0].c_str(), &setup.actions, &setup.attr, args.data(), env.data());
  if (rc != 0) errors::RaiseErrno(rc, source);
  // Reaped in the background: the caller never waits, and no zombie is left behind.
  auto ended = std::make_shared<std::atomic<bool>>(false);
  std::thread([pid, ended] {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    ended->store(true);
  }).detach();
  return ended;
}

bool RunWithDeadline(const std::vector<std::string>& argv, std::chrono::milliseconds wait) {
  if (argv.empty()) return false;
  std::vector<char*> args = ArgumentVector(argv);
  pid_t pid = 0;
  int rc = 0;
  {
    SpawnSetup setup;
    setup.StandardStreamsToNull();
    // A group of its own, so a child that hangs is stopped together with what it started.
    posix_spawnattr_setpgroup(&setup.attr, 0);
    posix_spawnattr_setflags(&setup.attr, POSIX_SPAWN_SETPGROUP);
    rc = posix_spawn(&pid, argv[0].c_str(), &setup.actions, &setup.attr, args.data(), environ);
  }
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

int ProcessId() { return static_cast<int>(getpid()); }

}  // namespace velmora::os
