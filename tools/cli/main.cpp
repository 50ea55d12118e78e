#include <iostream>
#include <string>
#include <vector>

#include "commands.h"
#include "pending.h"
#include "status.h"
#include "texts.h"
#include "velmora/velmora.h"

namespace {

void Usage(std::ostream& out) { out << velmora::cli::Say("cli.usage"); }

int BadUsage(const std::string& why) {
  std::cerr << velmora::cli::Say("cli.failed", {why}) << "\n";
  Usage(std::cerr);
  return velmora::cli::kUsage;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty()) return BadUsage(velmora::cli::Say("cli.no_command"));
  const std::string& command = args[0];
  if (command == "-h" || command == "--help" || command == "help") {
    Usage(std::cout);
    return 0;
  }
  if (command == "--version") {
    std::cout << velmora::cli::Say("cli.version", {velmora_version()}) << "\n";
    return 0;
  }
  bool print = false, json = false;
  const bool takesId = command == "dispense" || command == "resend" || command == "ack";
  for (size_t i = takesId ? 2 : 1; i < args.size(); ++i) {
    if (args[i] == "--print" && command == "dispense") print = true;
    else if (args[i] == "--json" && command != "demo" && command != "ack") json = true;
    else return BadUsage(velmora::cli::Say("cli.unknown_option", {args[i], command}));
  }
  if (command == "status") return velmora::cli::Status(std::cout, json);
  if (command == "demo") return velmora::cli::Demo(std::cout, std::cerr);
  if (command == "dispense" && args.size() >= 2) return velmora::cli::Dispense(args[1], print, json, std::cout, std::cerr);
  if (command == "pending") return velmora::cli::Pending(json, std::cout, std::cerr);
  if (command == "resend" && args.size() >= 2)
    return velmora::cli::Resend(args[1] == "--all" ? "" : args[1], json, std::cout, std::cerr);
  if (command == "ack" && args.size() >= 2) return velmora::cli::Ack(args[1], std::cout, std::cerr);
  if (takesId) return BadUsage(velmora::cli::Say(command == "dispense" ? "cli.needs_file" : "cli.needs_id", {command}));
  return BadUsage(velmora::cli::Say("cli.unknown_command", {command}));
}
