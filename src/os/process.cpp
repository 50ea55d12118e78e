#include "os/process.h"

#include <fcntl.h>
#include <spawn.h>
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
};

}  // namespace

ChildEnded SpawnDetached(const std::vector<std::string>& argv, const std::string& cwd, const std::string& source,
                         const std::vector<std::string>& environment) {
  if (argv.empty()) throw Error(errnum::kInvalidCall, source, ErrorText(errnum::kInvalidCall));
  if (access(argv[0].c_str(), F_OK) != 0) errors::RaiseErrno(ENOENT, source);

  SpawnSetup setup;
  posix_spawn_file_actions_addopen(&setup.actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&setup.actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&setup.actions, 2, "/dev/null", O_WRONLY, 0);
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

  std::vector<char*> args;
  args.reserve(argv.size() + 1);
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);

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

int ProcessId() { return static_cast<int>(getpid()); }

}  // namespace velmora::os
