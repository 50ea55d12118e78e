#pragma once

// What the benchmarks share: child processes started without a shell and always reaped, the
// simulator on 127.0.0.1, a private runtime folder, and filled-in requests.

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "velmora/messages.h"

namespace velmora::bench {

// A child started with posix_spawn; stopped (SIGTERM, then SIGKILL) and reaped when the object
// goes if it has not ended by then.
class Child {
 public:
  Child() = default;
  explicit Child(const std::vector<std::string>& argv);
  ~Child();
  Child(Child&& other) noexcept : pid_(other.pid_) { other.pid_ = -1; }
  Child& operator=(Child&& other) noexcept;
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  bool Started() const { return pid_ > 0; }
  // The exit status, or -1 on a signal, a failed start or when `limit` passes first.
  int Wait(std::chrono::milliseconds limit);
  void Stop();

 private:
  pid_t pid_ = -1;
};

// A new folder under the temporary directory, its name starting with `tag`; ends in "/".
std::string MakeTempFolder(const char* tag);

// Runs `argv` and blocks until it ends: the exit status, or -1. For programs that end by
// themselves at once.
int RunAndWait(const std::vector<std::string>& argv);

// Polls `condition` every few milliseconds until it holds or `limit` passes.
bool WaitFor(bool (*condition)(const std::string&), const std::string& arg, std::chrono::milliseconds limit);

// velmora-sim on a free port of 127.0.0.1, recording every request; `extraArgs` are passed on
// ("--rtt 20", "--tls-cert ...").
class Simulator {
 public:
  explicit Simulator(const std::vector<std::string>& extraArgs = {});
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  int Port() const { return port_; }
  std::string BaseUrl() const { return (tls_ ? "https" : "http") + std::string("://127.0.0.1:") + std::to_string(port_); }
  std::string WsdlUrl() const { return BaseUrl() + "/dispensacion?wsdl"; }
  std::vector<std::string> Records() const;
  // A string field of one recorded JSON line, escapes undone.
  static std::string Field(const std::string& jsonLine, const std::string& name);

 private:
  std::string folder_;
  std::string record_;
  int port_ = 0;
  bool tls_ = false;
  Child process_;
};

// A temporary runtime folder (working folders, velmora.ini, executor.exe linked in) that
// VELMORA_HOME points at; fonts go to a folder of its own and the receipt opens in no viewer.
class Home {
 public:
  // `caFile`, when given, is the ini's CAFile (a service with a private certificate).
  explicit Home(const std::string& wsdl, const std::string& caFile = {});
  ~Home();
  Home(const Home&) = delete;
  Home& operator=(const Home&) = delete;

  const std::string& Root() const { return root_; }  // ends in "/"
  // Rewrites velmora.ini with these wait settings.
  void WriteIni(int peticionTimeOut, int intervaloComprobacion) const;

 private:
  std::string root_;
  std::string wsdl_;
  std::string caFile_;
};

// A complete request; `codigo` picks the simulator's answer ("sim:rejected").
CPeticionDispensacion MakeRequest(int n, const std::string& id, const std::string& codigo);

// User plus system CPU seconds of this process (RUSAGE_SELF) or of its reaped children
// (RUSAGE_CHILDREN).
double CpuSeconds(int who);

std::string ReadFile(const std::string& path);
bool FileExists(const std::string& path);

}  // namespace velmora::bench
