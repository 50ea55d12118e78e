#include "platform/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

#include "platform/error_map.h"
#include "velmora/error.h"

extern char** environ;

namespace velmora::platform {

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

std::vector<std::string> SplitAtBlanks(std::string_view commandLine) {
  std::vector<std::string> parts;
  size_t i = 0;
  while (i < commandLine.size()) {
    while (i < commandLine.size() && commandLine[i] == ' ') ++i;
    size_t start = i;
    while (i < commandLine.size() && commandLine[i] != ' ') ++i;
    if (i > start) parts.emplace_back(commandLine.substr(start, i - start));
  }
  return parts;
}

void SpawnDetached(const std::vector<std::string>& argv, const std::string& cwd, const std::string& source) {
  if (argv.empty()) throw Error(5, source, ErrorText(5));
  if (access(argv[0].c_str(), F_OK) != 0) RaiseErrno(ENOENT, source);

  SpawnSetup setup;
  posix_spawn_file_actions_addopen(&setup.actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&setup.actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&setup.actions, 2, "/dev/null", O_WRONLY, 0);
  if (!cwd.empty()) posix_spawn_file_actions_addchdir_np(&setup.actions, cwd.c_str());
  // A session of its own: a terminal's hang-up or the host's process group signals must not
  // stop an executor that is talking to the service.
  posix_spawnattr_setflags(&setup.attr, POSIX_SPAWN_SETSID);

  std::vector<char*> args;
  args.reserve(argv.size() + 1);
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);

  pid_t pid = 0;
  const int rc = posix_spawn(&pid, argv[0].c_str(), &setup.actions, &setup.attr, args.data(), environ);
  if (rc != 0) RaiseErrno(rc, source);
  // Reaped in the background: the caller never waits, and no zombie is left behind.
  std::thread([pid] {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
  }).detach();
}

}  // namespace velmora::platform
