#include <iostream>
#include <string>
#include <vector>

#include "commands.h"
#include "status.h"
#include "velmora/velmora.h"

namespace {

void Usage(std::ostream& out) {
  out << "usage: velmora status [--json]                 check the runtime folder as an installer would\n"
         "       velmora dispense FILE [--print] [--json]  send the dispensation(s) of a request file\n"
         "       velmora demo                            one dispensation and a printed batch against velmora-sim\n"
         "       velmora -h | --help | --version\n"
         "\n"
         "--print prints the receipt of a batch (numbered [DispensacionN] sections).\n"
         "The runtime folder is $VELMORA_HOME when set, else the folder of libvelmora.so.\n"
         "\n"
         "exit codes:\n"
         "  0  accepted by the service (a batch: every item); status: every check passed\n"
         "  1  refused by the service (a batch: some or all items); status: a check failed\n"
         "  2  usage: bad command line, unreadable or malformed request file, missing fields; nothing sent\n"
         "  3  answered by a fallback (default file or internal response): to be confirmed\n"
         "  4  failed on its way (DatosValidos false; see Errores in the output)\n";
}

int BadUsage(const std::string& why) {
  std::cerr << "velmora: " << why << "\n";
  Usage(std::cerr);
  return velmora::cli::kUsage;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty()) return BadUsage("a command is needed");
  const std::string& command = args[0];
  if (command == "-h" || command == "--help" || command == "help") {
    Usage(std::cout);
    return 0;
  }
  if (command == "--version") {
    std::cout << "velmora " << velmora_version() << "\n";
    return 0;
  }
  bool print = false, json = false;
  for (size_t i = command == "dispense" ? 2 : 1; i < args.size(); ++i) {
    if (args[i] == "--print" && command == "dispense") print = true;
    else if (args[i] == "--json" && command != "demo") json = true;
    else return BadUsage("unknown option " + args[i] + " for " + command);
  }
  if (command == "status") return velmora::cli::Status(std::cout, json);
  if (command == "demo") return velmora::cli::Demo(std::cout, std::cerr);
  if (command == "dispense" && args.size() >= 2) return velmora::cli::Dispense(args[1], print, json, std::cout, std::cerr);
  return BadUsage(command == "dispense" ? "dispense needs a request file" : "unknown command " + command);
}
