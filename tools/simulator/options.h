#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velmora::sim {

struct Options {
  int port = 0;                    // 0: any free port
  std::string portFile;            // written once the port is known
  std::string scenario = "accepted";
  std::string scenarioFile;
  std::string recordFile;
  std::string flavour = "standard";
  std::string successCode = "0000";
  std::string tlsCert, tlsKey;
  int rttMs = 0;                   // round-trip time added by a relay in front of the server
  std::string endpoint;            // the endpoint the WSDL names; empty: this simulator's own
  std::string descriptionRedirect; // where GET of the WSDL is redirected; empty: served here
  bool help = false;
  bool version = false;
};

// Parses argv[1..]; on a mistake returns nullopt and fills `error`.
std::optional<Options> ParseOptions(const std::vector<std::string>& args, std::string& error);

std::string HelpText();

}  // namespace velmora::sim
