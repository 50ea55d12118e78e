// libvelmora.so is the rooms' static libraries linked whole; this unit gives the shared object
// its version string and the routines velmora/tools.h exports for the project's own tools.
#include <cstdio>
#include <string>
#include <vector>

#include "errors/catalogue.h"
#include "executor/service_tls.h"
#include "messages/identifier.h"
#include "os/attributes.h"
#include "vbcompat/text.h"
#include "vbcompat/vbconv.h"
#include "velmora/executor.h"
#include "velmora/export.h"
#include "velmora/tools.h"
#include "velmora/version.h"

extern "C" VELMORA_API const char* velmora_version(void) { return VELMORA_VERSION_STRING; }

namespace velmora::tools {

// The id arrives whole in one argument, blanks and all; a command line split at blanks by an
// older caller is joined back.
int ExecutorMain(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  // The library starts it with an IDPres= argument; a person who starts it gets told so.
  if (args.empty() || args[0] == "-h" || args[0] == "--help") {
    std::fputs(errors::Text("executor.usage").c_str(), args.empty() ? stderr : stdout);
    return args.empty() ? 2 : 0;
  }
  if (args[0] == "--version") {
    std::puts(errors::Text("executor.version", {VELMORA_VERSION_STRING}).c_str());
    return 0;
  }
  const bool batch = args.size() > 1 && args.back() == "MD";
  if (batch) args.pop_back();
  std::string id;
  bool found = false;
  for (const std::string& arg : args) {
    if (found) {
      id += " " + arg;
    } else if (arg.rfind("IDPres=", 0) == 0) {
      id = arg.substr(7);
      found = true;
    }
  }
  // An id that cannot name a file or an audit section is never one the interface sent.
  if (!found || !messages::IsUsableIdentifier(id)) return 1;
  CExecutor executor;
  executor.IDPrescripcion(id);
  bool done = batch ? executor.SolicitudDispensaciones(id) : executor.SolicitudDispensacion(id);
  return done ? 0 : 1;
}

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
