#include "barcode/print_spooler.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

extern char** environ;

namespace velmora::barcode {

bool SpoolToPrinter(const std::string& file) {
  const char* chosen = std::getenv("VELMORA_PRINTER_PROGRAM");
  const std::string program = chosen && *chosen ? chosen : "lp";
  std::vector<char*> argv = {const_cast<char*>(program.c_str()), const_cast<char*>(file.c_str()),
                             nullptr};

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (int fd = 0; fd <= 2; ++fd)
    posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", fd == 0 ? O_RDONLY : O_WRONLY, 0);
  pid_t pid = 0;
  // The spooler copies the file before it exits, so the caller may delete it afterwards.
  const int rc = posix_spawnp(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) return false;
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return false;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace velmora::barcode
