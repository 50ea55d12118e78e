// executor.exe: the process the interface starts for each dispensation, with the arguments
// "IDPres=<id>" and, for a batch, "MD". The id arrives whole in one argument, blanks and all;
// a command line split at blanks by an older caller is joined back.
#include <string>
#include <vector>

#include "messages/identifier.h"
#include "velmora/executor.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
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
