#include "platform/paths.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <filesystem>

namespace velmora::platform {

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

}  // namespace velmora::platform
