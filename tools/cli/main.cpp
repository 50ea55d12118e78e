#include <iostream>
#include <string>

#include "commands.h"
#include "status.h"

namespace {
int Usage() {
  std::cerr << "usage: velmora status            the runtime folder, the configuration, the counters\n"
               "       velmora send FILE [--print]  send the dispensation(s) of a request file\n"
               "       velmora demo              one dispensation and a printed batch against velmora-sim\n";
  return 2;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage();
  const std::string command = argv[1];
  if (command == "status" && argc == 2) return velmora::cli::Status(std::cout);
  if (command == "demo" && argc == 2) return velmora::cli::Demo(std::cout, std::cerr);
  if (command == "send" && (argc == 3 || (argc == 4 && std::string(argv[3]) == "--print")))
    return velmora::cli::Send(argv[2], argc == 4, std::cout, std::cerr);
  if (command == "help") {
    Usage();
    return 0;
  }
  return Usage();
}
