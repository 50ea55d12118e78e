#pragma once

#include <memory>
#include <string>

#include "options.h"

namespace velmora::sim {

// The simulated service: one HTTP(S) server on 127.0.0.1 with the WSDL, both operations and the
// control endpoint.
class Simulator {
 public:
  explicit Simulator(const Options& options);
  ~Simulator();

  // Binds, announces the address (standard output and the port file) and serves until Stop().
  // Returns the process exit status; `error` says why it could not start.
  int Run(std::string& error);
  void Stop();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::sim
