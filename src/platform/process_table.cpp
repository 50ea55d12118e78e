#include "platform/process_table.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

namespace velmora::platform {

std::vector<std::vector<std::string>> RunningInstances(const std::string& program) {
  std::vector<std::vector<std::string>> found;
  DIR* proc = opendir("/proc");
  if (!proc) return found;
  const uid_t me = getuid();
  while (const dirent* entry = readdir(proc)) {
    const std::string pid = entry->d_name;
    if (pid.find_first_not_of("0123456789") != std::string::npos) continue;
    struct stat st {};
    if (stat(("/proc/" + pid).c_str(), &st) != 0 || st.st_uid != me) continue;
    std::ifstream in("/proc/" + pid + "/cmdline", std::ios::binary);
    const std::string raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // argv as NUL-terminated strings; a zombie's is empty.
    std::vector<std::string> argv;
    for (size_t start = 0; start < raw.size();) {
      const size_t end = raw.find('\0', start);
      argv.push_back(raw.substr(start, end == std::string::npos ? std::string::npos : end - start));
      start = end == std::string::npos ? raw.size() : end + 1;
    }
    if (!argv.empty() && argv[0] == program) found.emplace_back(argv.begin() + 1, argv.end());
  }
  closedir(proc);
  return found;
}

}  // namespace velmora::platform
