#pragma once

#include <string>
#include <vector>

#include "support/test_processes.h"

namespace velmora::testing {

// A private certificate authority made at run time with the openssl program, in a folder of its
// own removed with it: no key of these tests is ever committed.
class TestCa {
 public:
  TestCa();
  ~TestCa();
  TestCa(const TestCa&) = delete;
  TestCa& operator=(const TestCa&) = delete;

  struct Issued {
    std::string cert, key;  // PEM files
  };
  // A certificate for `name` (a server's names 127.0.0.1 and localhost) signed by this CA, valid
  // until a minute short of `days` days from now: `days` <= 0, one that has expired. A non-empty
  // `keyPassword` encrypts the key.
  Issued Issue(const std::string& name, int days = 365, const std::string& keyPassword = {}) const;
  // `issued` with this CA as a PKCS#12 file; an empty `password`: neither encrypted nor MACed.
  std::string Pkcs12(const Issued& issued, const std::string& password) const;
  std::string CaFile() const { return folder_ + "ca.pem"; }
  std::string Folder() const { return folder_; }

 private:
  // `newKey`: the command makes a key of its own too.
  void Openssl(std::vector<std::string> args, bool newKey = false) const;
  std::string folder_;
};

// `openssl s_server` on a free loopback port, serving the files of its own folder over https;
// ready once the port accepts.
class TlsServer {
 public:
  // A non-empty `clientCa`: a client certificate from this CA is required. `extra`: more s_server
  // options (e.g. -tls1_1); `env`: its environment.
  explicit TlsServer(const TestCa::Issued& identity, const std::string& clientCa = {},
                     const std::vector<std::string>& extra = {}, const std::vector<std::string>& env = {});
  ~TlsServer();
  std::string Url(const std::string& path) const { return "https://127.0.0.1:" + std::to_string(port_) + "/" + path; }

 private:
  std::string folder_;
  int port_ = 0;
  ChildProcess process_;
};

// An HTTP proxy (CONNECT only) that wants Basic credentials `user`:`password` and, like some
// appliances, closes the connection after its 407 without saying so in a Connection header.
class ClosingProxy {
 public:
  ClosingProxy(const std::string& user, const std::string& password);
  ~ClosingProxy();
  int Port() const { return port_; }
  // Lines "407" or "200 host:port", one per request it answered.
  std::vector<std::string> Answers() const;

 private:
  std::string folder_;
  int port_ = 0;
  ChildProcess process_;
};

}  // namespace velmora::testing
