#include "os/paths.h"

#include <dlfcn.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include <filesystem>

namespace velmora::os {

std::string WithSlash(std::string folder) {
  if (folder.empty() || folder.back() != '/') folder += '/';
  return folder;
}

std::string RuntimeFolder() {
  // Made absolute against the present folder: the executor starts in the runtime folder, where a
  // relative name would point somewhere else, and paths handed to it must mean the same there.
  if (const char* home = getenv("VELMORA_HOME"); home && *home) {
    std::error_code ec;
    const std::filesystem::path absolute = std::filesystem::absolute(home, ec);
    return WithSlash(ec ? std::string(home) : absolute.lexically_normal().string());
  }
  // The folder of the object that holds this function: libvelmora.so for a host, the program
  // itself when a test links the static libraries.
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&RuntimeFolder), &info) && info.dli_fname) {
    std::string path = info.dli_fname;
    if (char* real = realpath(path.c_str(), nullptr)) {
      path = real;
      free(real);
    }
    const auto slash = path.rfind('/');
    if (slash != std::string::npos) return path.substr(0, slash + 1);
  }
  return "./";
}

std::string FindProgram(const std::string& name) {
  auto runnable = [](const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(path.c_str(), X_OK) == 0;
  };
  if (name.empty()) return {};
  if (name.find('/') != std::string::npos) return runnable(name) ? name : std::string();
  const char* env = getenv("PATH");
  const std::string path = env ? env : "/usr/local/bin:/usr/bin:/bin";
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find(':', start);
    if (end == std::string::npos) end = path.size();
    // An empty entry is the current folder, as the shell reads it.
    const std::string folder = end > start ? path.substr(start, end - start) : ".";
    const std::string candidate = WithSlash(folder) + name;
    if (runnable(candidate)) return candidate;
    start = end + 1;
  }
  return {};
}

namespace {
std::function<std::string()>& AccountHomeOverride() {
  static std::function<std::string()> home;
  return home;
}
}  // namespace

void SetAccountHomeForTesting(std::function<std::string()> home) { AccountHomeOverride() = std::move(home); }

std::string AccountHome() {
  if (AccountHomeOverride()) return AccountHomeOverride()();
  long size = sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  while (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE && buffer.size() < (1u << 20))
    buffer.resize(buffer.size() * 2);
  return found && found->pw_dir ? std::string(found->pw_dir) : std::string();
}

}  // namespace velmora::os
