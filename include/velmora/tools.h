#pragma once

// For the project's own tools (velmora, executor.exe) only; no stability promise. A host uses
// core.h, messages.h, executor.h, interface.h, pdf.h, barcode.h or velmora.h. The tools link
// libvelmora.so alone, so the few internal routines they need beyond those are exported here
// rather than linked into them a second time (a second copy would hold its own thread context).

#include <cstdint>
#include <string>
#include <string_view>

#include "velmora/export.h"

namespace velmora::tools {

// executor.exe's program: main's arguments in, its exit status out. The library starts it with
// "IDPres=<id>" and, for a batch, "MD".
VELMORA_API int ExecutorMain(int argc, char** argv);

// The ini's text rules: names compared in upper case, and a line that is not UTF-8 read as
// Windows-1252.
VELMORA_API std::string UpperCase(std::string_view text);
VELMORA_API bool IsValidUtf8(std::string_view bytes);
VELMORA_API std::string Cp1252ToUtf8(std::string_view bytes);

// The conversions the library applies to the ini's values: CInt, CLng, Val rounded to a Long,
// and IsNumeric. They throw velmora::Error where the library would.
VELMORA_API int16_t ToInt16(std::string_view text, const std::string& source);
VELMORA_API int32_t ToInt32(std::string_view text, const std::string& source);
VELMORA_API int32_t RoundedVal(std::string_view text, const std::string& source);
VELMORA_API bool IsNumeric(std::string_view text);

// Marks `path` hidden as the executor marks a finished answer; true when it then reads back as
// hidden and nothing else. Throws velmora::Error when the file system refuses the mark.
VELMORA_API bool MarkHidden(const std::string& path, const std::string& source);

// A full TLS handshake with the service of the ini at `iniFile`, made as executor.exe makes it
// (proxy, CAFile and client certificate of [Proxy]), nothing sent.
struct ServiceTls {
  bool https = false;          // false: [Configuracion] Servicio is not https; nothing was tried
  std::string error;           // empty: the handshake was made
  std::string protocol;        // "TLSv1.3"
  std::string serverSubject;   // the server certificate's subject
  int64_t serverNotAfter = 0;  // seconds since the epoch
  int64_t clientNotAfter = 0;  // 0: no client certificate configured
};
VELMORA_API ServiceTls CheckServiceTls(const std::string& iniFile);

}  // namespace velmora::tools
