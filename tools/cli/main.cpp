#include <iostream>
#include <string>
#include <vector>

#include "commands.h"
#include "pending.h"
#include "status.h"

namespace {
int Usage() {
  std::cerr << "usage: velmora status                          the runtime folder, the configuration, the counters\n"
               "       velmora dispense FILE [--print] [--json]  send the dispensation(s) of a request file\n"
               "       velmora pending [--json]                the dispensations a fallback answered, not yet confirmed\n"
               "       velmora resend ID|--all [--json]        send them again (exit 0 none left, 1 some left, 3 one failed)\n"
               "       velmora ack ID                          take note of a late verdict\n"
               "       velmora demo                            one dispensation and a printed batch against velmora-sim\n";
  return 2;
}
}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty()) return Usage();
  if (args[0] == "status" && args.size() == 1) return velmora::cli::Status(std::cout);
  if (args[0] == "demo" && args.size() == 1) return velmora::cli::Demo(std::cout, std::cerr);
  if (args[0] == "dispense" && args.size() >= 2) {
    bool print = false, json = false;
    for (size_t i = 2; i < args.size(); ++i) {
      if (args[i] == "--print") print = true;
      else if (args[i] == "--json") json = true;
      else return Usage();
    }
    return velmora::cli::Dispense(args[1], print, json, std::cout, std::cerr);
  }
  const bool json = args.size() == 3 && args[2] == "--json";
  if (args[0] == "pending" && (args.size() == 1 || (args.size() == 2 && args[1] == "--json")))
    return velmora::cli::Pending(args.size() == 2, std::cout, std::cerr);
  if (args[0] == "resend" && (args.size() == 2 || json))
    return velmora::cli::Resend(args[1] == "--all" ? "" : args[1], json, std::cout, std::cerr);
  if (args[0] == "ack" && args.size() == 2) return velmora::cli::Ack(args[1], std::cout, std::cerr);
  if (args[0] == "help" || args[0] == "--help") {
    Usage();
    return 0;
  }
  return Usage();
}
