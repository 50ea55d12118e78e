// executor.exe: the process the interface starts for each dispensation, as
// "executor.exe IDPres=<id>" or, for a batch, "executor.exe IDPres=<id> MD". The command line
// arrives split at blanks, so an id that held blanks is joined back.
#include <string>
#include <vector>

#include "velmora/executor.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  const bool batch = !args.empty() && args.back() == "MD";
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
  if (!found) return 1;
  velmora::CExecutor executor;
  executor.IDPrescripcion(id);
  bool done = batch ? executor.SolicitudDispensaciones(id) : executor.SolicitudDispensacion(id);
  return done ? 0 : 1;
}
