#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace velmora::testing {

// A child started with posix_spawn (no shell); ended with SIGTERM, then SIGKILL, when the object
// goes, and always reaped.
class ChildProcess {
 public:
  ChildProcess() = default;
  // argv[0] is looked up on PATH. Standard output goes to `output` (created 0600), else to
  // /dev/null; standard error with it when `errorsToo`.
  ChildProcess(const std::vector<std::string>& argv, const std::vector<std::string>& env = {},
               const std::string& output = "/dev/null", bool errorsToo = false);
  ~ChildProcess();
  ChildProcess(ChildProcess&& other) noexcept : pid_(other.pid_), status_(other.status_) { other.pid_ = -1; }
  ChildProcess& operator=(ChildProcess&& other) noexcept {
    if (this != &other) {
      Stop();
      pid_ = other.pid_;
      status_ = other.status_;
      other.pid_ = -1;
    }
    return *this;
  }

  pid_t Pid() const { return pid_; }
  // Waits up to `limitMs` for the exit; returns the exit status, or -1 on a signal or time-out.
  int Wait(int limitMs);
  void Stop();

 private:
  pid_t pid_ = -1;
  int status_ = -1;
};

// velmora-sim on an ephemeral port of 127.0.0.1, recording into its own file.
class SimulatorProcess {
 public:
  explicit SimulatorProcess(const std::vector<std::string>& extraArgs = {});
  ~SimulatorProcess();

  int Port() const { return port_; }
  std::string BaseUrl() const;     // http(s)://127.0.0.1:PORT
  std::string WsdlUrl() const;     // .../dispensacion?wsdl
  // The JSON lines recorded so far.
  std::vector<std::string> Records() const;
  // The value of a string field of one JSON line (escapes \" \\ \n \r \t undone).
  static std::string Field(const std::string& jsonLine, const std::string& name);

 private:
  std::string folder_;
  std::string record_;
  bool tls_ = false;
  int port_ = 0;
  ChildProcess process_;
};

// tinyproxy on a free loopback port; with `user` non-empty it demands Basic credentials.
// Skips (returns Port() 0) when tinyproxy is not installed.
class ProxyProcess {
 public:
  ProxyProcess(const std::string& user = {}, const std::string& password = {});
  ~ProxyProcess();
  int Port() const { return port_; }

 private:
  std::string folder_;
  int port_ = 0;
  ChildProcess process_;
};

struct ProgramResult {
  int exitCode = -1;
  std::string output;  // standard output and standard error together
};
// Runs a program found on PATH (no shell) and waits for it.
ProgramResult RunProgram(const std::vector<std::string>& argv);

// True when something accepts connections on the loopback `port`.
bool Connects(int port);
// A loopback port nobody listens on (bound, then released).
int UnusedPort();
std::string DataFile(const std::string& name);  // tests/support/data/<name>

}  // namespace velmora::testing
