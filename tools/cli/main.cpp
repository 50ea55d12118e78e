#include <iostream>
#include <string>
#include <vector>

#include "commands.h"
#include "pending.h"
#include "status.h"
#include "velmora/velmora.h"

namespace {

void Usage(std::ostream& out) {
  out << "usage: velmora status [--json]                 check the runtime folder as an installer would\n"
         "       velmora dispense FILE [--print] [--json]  send the dispensation(s) of a request file\n"
         "       velmora pending [--json]                the dispensations a fallback answered, not yet confirmed\n"
         "       velmora resend ID|--all [--json]        send them again\n"
         "       velmora ack ID                          take note of a late verdict\n"
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
         "  4  failed on its way (DatosValidos false; see Errores in the output)\n"
         "pending, resend: 0 nothing pending, 1 something pending, 2 usage or cannot, 3 a re-send got no answer\n"
         "ack: 0 done, 2 no late verdict to acknowledge\n";
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
  const bool takesId = command == "dispense" || command == "resend" || command == "ack";
  for (size_t i = takesId ? 2 : 1; i < args.size(); ++i) {
    if (args[i] == "--print" && command == "dispense") print = true;
    else if (args[i] == "--json" && command != "demo" && command != "ack") json = true;
    else return BadUsage("unknown option " + args[i] + " for " + command);
  }
  if (command == "status") return velmora::cli::Status(std::cout, json);
  if (command == "demo") return velmora::cli::Demo(std::cout, std::cerr);
  if (command == "dispense" && args.size() >= 2) return velmora::cli::Dispense(args[1], print, json, std::cout, std::cerr);
  if (command == "pending") return velmora::cli::Pending(json, std::cout, std::cerr);
  if (command == "resend" && args.size() >= 2)
    return velmora::cli::Resend(args[1] == "--all" ? "" : args[1], json, std::cout, std::cerr);
  if (command == "ack" && args.size() >= 2) return velmora::cli::Ack(args[1], std::cout, std::cerr);
  if (takesId) return BadUsage(command + (command == "dispense" ? " needs a request file" : " needs an id"));
  return BadUsage("unknown command " + command);
}
