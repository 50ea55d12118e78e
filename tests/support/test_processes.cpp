#include "support/test_processes.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/test_support.h"

extern char** environ;

namespace velmora::testing {

namespace fs = std::filesystem;

bool Connects(int port) {
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_port = htons(static_cast<uint16_t>(port));
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bool ok = connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
  close(fd);
  return ok;
}

ChildProcess::ChildProcess(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                           const std::string& output, bool errorsToo) {
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  std::vector<char*> envp;
  for (char** e = environ; *e; ++e) envp.push_back(*e);
  for (const auto& e : env) envp.push_back(const_cast<char*>(e.c_str()));
  envp.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (errorsToo) posix_spawn_file_actions_adddup2(&actions, 1, 2);
  int rc = posix_spawnp(&pid_, args[0], &actions, nullptr, args.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) {
    pid_ = -1;
    throw std::runtime_error("cannot start " + argv[0]);
  }
}

int ChildProcess::Wait(int limitMs) {
  if (pid_ < 0) return status_;
  int raw = 0;
  bool done = WaitFor([&] { return waitpid(pid_, &raw, WNOHANG) == pid_; }, std::chrono::milliseconds(limitMs));
  if (!done) return -1;
  pid_ = -1;
  status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return status_;
}

void ChildProcess::Stop() {
  if (pid_ < 0) return;
  kill(pid_, SIGTERM);
  if (Wait(5000) == -1 && pid_ >= 0) {
    kill(pid_, SIGKILL);
    int raw = 0;
    waitpid(pid_, &raw, 0);
    pid_ = -1;
  }
}

ChildProcess::~ChildProcess() { Stop(); }

SimulatorProcess::SimulatorProcess(const std::vector<std::string>& extraArgs) {
  folder_ = MakeTempFolder("velmora-sim");
  record_ = folder_ + "record.jsonl";
  std::vector<std::string> argv = {VELMORA_SIM, "--port", "0", "--port-file", folder_ + "port", "--record", record_};
  for (const auto& a : extraArgs) {
    argv.push_back(a);
    if (a == "--tls-cert") tls_ = true;
  }
  process_ = ChildProcess(argv);
  if (!WaitFor([&] { return fs::exists(folder_ + "port"); }, std::chrono::seconds(10)))
    throw std::runtime_error("velmora-sim did not start");
  port_ = std::stoi(ReadFile(folder_ + "port"));
}

SimulatorProcess::~SimulatorProcess() {
  process_.Stop();
  std::error_code ec;
  fs::remove_all(folder_, ec);
}

std::string SimulatorProcess::BaseUrl() const {
  return std::string(tls_ ? "https" : "http") + "://127.0.0.1:" + std::to_string(port_);
}

std::string SimulatorProcess::WsdlUrl() const { return BaseUrl() + "/dispensacion?wsdl"; }

std::vector<std::string> SimulatorProcess::Records() const {
  std::vector<std::string> lines;
  std::istringstream in(ReadFile(record_));
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) lines.push_back(line);
  return lines;
}

std::string SimulatorProcess::Field(const std::string& line, const std::string& name) {
  std::string key = "\"" + name + "\":\"";
  size_t at = line.find(key);
  if (at == std::string::npos) return {};
  std::string value;
  for (size_t i = at + key.size(); i < line.size() && line[i] != '"'; ++i) {
    if (line[i] != '\\' || i + 1 >= line.size()) {
      value += line[i];
      continue;
    }
    char c = line[++i];
    value += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
  }
  return value;
}

ProxyProcess::ProxyProcess(const std::string& user, const std::string& password) {
  const char* binary = "/usr/bin/tinyproxy";
  if (!fs::exists(binary)) return;
  folder_ = MakeTempFolder("velmora-proxy");
  int port = UnusedPort();
  std::ofstream conf(folder_ + "tinyproxy.conf");
  conf << "Port " << port << "\nListen 127.0.0.1\nTimeout 30\nMaxClients 20\nAllow 127.0.0.1\n"
       << "LogLevel Error\nLogFile \"" << folder_ << "tinyproxy.log\"\nPidFile \"" << folder_ << "tinyproxy.pid\"\n"
       ;
  if (!user.empty()) conf << "BasicAuth " << user << " " << password << "\n";
  conf.close();
  process_ = ChildProcess({binary, "-d", "-c", folder_ + "tinyproxy.conf"});
  if (!WaitFor([&] { return Connects(port); }, std::chrono::seconds(10))) throw std::runtime_error("tinyproxy did not start");
  port_ = port;
}

ProxyProcess::~ProxyProcess() {
  process_.Stop();
  std::error_code ec;
  if (!folder_.empty()) fs::remove_all(folder_, ec);
}

ProgramResult RunProgram(const std::vector<std::string>& argv) {
  const std::string folder = MakeTempFolder("velmora-run");
  ProgramResult r;
  try {
    r.exitCode = ChildProcess(argv, {}, folder + "out", true).Wait(120000);
  } catch (const std::runtime_error&) {  // not started: exit code -1
  }
  r.output = ReadFile(folder + "out");
  fs::remove_all(folder);
  return r;
}

int UnusedPort() {
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_port = 0;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
  socklen_t len = sizeof addr;
  getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
  close(fd);
  return ntohs(addr.sin_port);
}

std::string DataFile(const std::string& name) { return std::string(VELMORA_SOURCE_DIR) + "/tests/support/data/" + name; }

}  // namespace velmora::testing
