// libvelmora.so is the rooms' static libraries linked whole; this unit gives the shared object
// the routines velmora/tools.h exports for the project's own tools
// (executor.exe's program is the executor room's, executor_main.cpp).
#include <string>

#include "executor/service_tls.h"
#include "os/attributes.h"
#include "vbcompat/text.h"
#include "vbcompat/vbconv.h"
#include "velmora/export.h"
#include "velmora/tools.h"

namespace velmora::tools {

ServiceTls CheckServiceTls(const std::string& iniFile) {
  const velmora::ServiceTls probe = ProbeServiceTls(iniFile);
  return {probe.https, probe.error, probe.facts.protocol, probe.facts.serverSubject, probe.facts.serverNotAfter,
          probe.facts.clientNotAfter};
}

std::string UpperCase(std::string_view text) { return vb::UpperCase(text); }
bool IsValidUtf8(std::string_view bytes) { return vb::IsValidUtf8(bytes); }
std::string Cp1252ToUtf8(std::string_view bytes) { return vb::Cp1252ToUtf8(bytes); }

int16_t ToInt16(std::string_view text, const std::string& source) { return vb::ToInt16(text, source); }
int32_t ToInt32(std::string_view text, const std::string& source) { return vb::ToInt32(text, source); }
int32_t RoundedVal(std::string_view text, const std::string& source) {
  return vb::RoundToInt32(vb::Val(text, source), source);
}
bool IsNumeric(std::string_view text) { return vb::IsNumeric(text); }

bool MarkHidden(const std::string& path, const std::string& source) {
  os::SetAttributes(path, os::kAttrHidden, source);
  return os::GetAttributes(path, source) == os::kAttrHidden;
}

}  // namespace velmora::tools
