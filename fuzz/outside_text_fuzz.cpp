// Identifiers from the command line and texts from the service reach file names, audit
// sections and log lines: whatever the bytes, an accepted id holds nothing that forges a section
// or a line, and a text made fit for the log is valid UTF-8, on one line and bounded.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "messages/identifier.h"
#include "vbcompat/text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (velmora::messages::IsUsableIdentifier(text) &&
      (!velmora::vb::IsValidUtf8(text) || text.find_first_of("[]/\r\n") != std::string_view::npos))
    std::abort();
  const std::string line = velmora::vb::OneLogLine(text, 64);
  if (!velmora::vb::IsValidUtf8(line) || line.size() > 64 + 3) std::abort();
  for (unsigned char c : line)
    if (c < 0x20 || c == 0x7F) std::abort();
  return 0;
}
