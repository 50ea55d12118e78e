// A client certificate file is the till's own, but it arrives from outside (a health service's
// delivery, a copy made by an installer): PEM or PKCS#12, told apart by content, opened with the
// ini's password ("fuzz" here).
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "soap/client_certificate.h"
#include "velmora/error.h"

namespace {
const std::string& File() {
  static const std::string path = [] {
    char name[] = "/tmp/velmora-certificate-fuzz-XXXXXX";
    const int fd = mkstemp(name);
    if (fd >= 0) close(fd);
    std::atexit([] { std::remove(File().c_str()); });
    return std::string(name);
  }();
  return path;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FILE* out = std::fopen(File().c_str(), "wb");
  if (!out) return 0;
  std::fwrite(data, 1, size, out);
  std::fclose(out);
  try {
    auto certificate = velmora::soap::ClientCertificate::Load({File(), "", "fuzz"}, "fuzz");
    (void)certificate->NotAfter();
  } catch (const velmora::Error&) {
  }
  return 0;
}
