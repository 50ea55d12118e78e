#include "platform/paths.h"

#include <dlfcn.h>
#include <stdlib.h>

namespace velmora::platform {

std::string WithSlash(std::string folder) {
  if (folder.empty() || folder.back() != '/') folder += '/';
  return folder;
}

std::string RuntimeFolder() {
  if (const char* home = getenv("VELMORA_HOME"); home && *home) return WithSlash(home);
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

}  // namespace velmora::platform
