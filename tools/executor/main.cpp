// executor.exe: the process the interface starts for each dispensation, with the arguments
// "IDPres=<id>" and, for a batch, "MD". The id arrives whole in one argument, blanks and all;
// a command line split at blanks by an older caller is joined back.
#include <cstdio>
#include <string>
#include <vector>

#include "messages/identifier.h"
#include "velmora/executor.h"
#include "velmora/version.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  // The library starts it with an IDPres= argument; a person who starts it gets told so.
  if (args.empty() || args[0] == "-h" || args[0] == "--help") {
    std::fputs("usage: executor.exe IDPres=<id> [MD]\n"
               "Started by libvelmora for each dispensation (MD: a batch); it sends the request file\n"
               "Enviados/<id>.xml of the runtime folder ($VELMORA_HOME, else the library's folder) and\n"
               "leaves the answer in Recibidos/. Exit status 0 when the answer was written.\n",
               args.empty() ? stderr : stdout);
    return args.empty() ? 2 : 0;
  }
  if (args[0] == "--version") {
    std::puts("executor.exe " VELMORA_VERSION_STRING);
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
  if (!found || !velmora::messages::IsUsableIdentifier(id)) return 1;
  velmora::CExecutor executor;
  executor.IDPrescripcion(id);
  bool done = batch ? executor.SolicitudDispensaciones(id) : executor.SolicitudDispensacion(id);
  return done ? 0 : 1;
}
