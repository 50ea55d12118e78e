// executor.exe's program. It is built into both shared objects: libvelmora.so, and the smaller
// libvelmora-executor.so that executor.exe loads, which holds only the rooms a call to the
// service needs (not printing's fonts and bar codes, whose libraries cost every dispensation
// its start-up time).

#include <cstdio>
#include <string>
#include <vector>

#include "errors/catalogue.h"
#include "messages/identifier.h"
#include "velmora/executor.h"
#include "velmora/export.h"
#include "velmora/version.h"

namespace velmora::tools {

// Declared in velmora/tools.h, the project's tools' header.
VELMORA_API int ExecutorMain(int argc, char** argv);

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

}  // namespace velmora::tools
