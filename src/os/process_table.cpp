#include "os/process_table.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

namespace velmora::os {

namespace {

// The raw command line of a process: NUL-terminated arguments. Read with plain read(2): a
// process that ends while it is read gives an error, which here only means "not there" (a
// stream buffer would throw instead).
std::string CommandLine(const std::string& pid) {
  std::string raw;
  const int fd = open(("/proc/" + pid + "/cmdline").c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return raw;
  char buf[4096];
  ssize_t n = 0;
  while ((n = read(fd, buf, sizeof buf)) > 0) raw.append(buf, static_cast<size_t>(n));
  close(fd);
  return n < 0 ? std::string() : raw;
}

}  // namespace

std::vector<std::vector<std::string>> RunningInstances(const std::string& program) {
  std::vector<std::vector<std::string>> found;
  const std::unique_ptr<DIR, int (*)(DIR*)> proc(opendir("/proc"), closedir);
  if (!proc) return found;
  const uid_t me = getuid();
  while (const dirent* entry = readdir(proc.get())) {
    const std::string pid = entry->d_name;
    if (pid.find_first_not_of("0123456789") != std::string::npos) continue;
    struct stat st {};
    if (stat(("/proc/" + pid).c_str(), &st) != 0 || st.st_uid != me) continue;
    // A zombie's command line is empty.
    const std::string raw = CommandLine(pid);
    std::vector<std::string> argv;
    for (size_t start = 0; start < raw.size();) {
      size_t end = raw.find('\0', start);
      if (end == std::string::npos) end = raw.size();
      argv.push_back(raw.substr(start, end - start));
      start = end + 1;
    }
    if (!argv.empty() && argv[0] == program) found.emplace_back(argv.begin() + 1, argv.end());
  }
  return found;
}

}  // namespace velmora::os
