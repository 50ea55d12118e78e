#include <iostream>
#include <string>

#include "status.h"

namespace {
int Usage() {
  std::cerr << "usage: velmora status\n";
  return 2;
}
}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage();
  const std::string command = argv[1];
  if (command == "status") return velmora::cli::Status(std::cout);
  return Usage();
}
