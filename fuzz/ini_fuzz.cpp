// The profile reader and writers over arbitrary ini bytes: any file brought from anywhere must
// read without a crash, a written key must read back, and the audit trail's in-place writer must
// leave the same bytes as the whole-file writer.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "os/files.h"
#include "ini/profile.h"
#include "audit/trail_store.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string dir = [] {
    char pattern[] = "/tmp/velmora-ini-fuzz-XXXXXX";
    return std::string(mkdtemp(pattern)) + "/";
  }();
  const std::string file = dir + "f.ini", trail = dir + "f.log";
  const std::string text(reinterpret_cast<const char*>(data), size);
  velmora::os::WriteFileAtomic(file, text, "fuzz");
  velmora::os::WriteFileAtomic(trail, text, "fuzz");
  const size_t cut = text.find('\n');
  const std::string section = text.substr(0, cut == std::string::npos ? 0 : std::min<size_t>(cut, 16));
  velmora::ini::ReadProfileString(file, section, "Enviados");
  velmora::ini::ReadProfileString(file, "MensajeSOAP", "Enviados", "d", 8);
  // Sections and keys with blanks at their ends are stored trimmed; keep the probe clean.
  std::string key = "K" + std::to_string(size);
  if (velmora::ini::WriteProfileString(file, "MensajeSOAP", key, "v")) {
    if (velmora::ini::ReadProfileString(file, "MensajeSOAP", key) != "v") std::abort();
    if (!velmora::audit::WriteTrailKeys(trail, "MensajeSOAP", {{key, "v"}}) ||
        velmora::os::ReadWholeFile(trail) != velmora::os::ReadWholeFile(file))
      std::abort();
  }
  return 0;
}
