#include "support/tls_fixture.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/test_support.h"

namespace velmora::testing {

namespace fs = std::filesystem;

namespace {

// Keys on P-256: made in milliseconds, and accepted at every security level the client allows.
const std::vector<std::string> kNewKey = {"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"};

bool StartedOn(int port) { return WaitFor([&] { return Connects(port); }, std::chrono::seconds(10)); }

void RemoveFolder(const std::string& folder) {
  std::error_code ec;
  fs::remove_all(folder, ec);
}

}  // namespace

void TestCa::Openssl(std::vector<std::string> args, bool newKey) const {
  if (newKey) args.insert(args.end(), kNewKey.begin(), kNewKey.end());
  args.insert(args.begin(), "openssl");
  const ProgramResult r = RunProgram(args);
  if (r.exitCode != 0) throw std::runtime_error("openssl " + args.at(1) + " failed: " + r.output);
}

TestCa::TestCa() : folder_(MakeTempFolder("velmora-ca")) {
  Openssl({"req", "-x509", "-days", "30", "-subj", "/CN=Velmora Test CA", "-keyout", folder_ + "ca.key", "-out", folder_ + "ca.pem"},
          true);
  // `openssl ca`, the one command that signs with dates of its choosing (past ones too), wants a
  // database and a policy.
  std::ofstream(folder_ + "index.txt");
  std::ofstream(folder_ + "ca.cnf") << "[ca]\ndefault_ca = d\n[d]\ndatabase = " << folder_ << "index.txt\nrand_serial = yes\n"
                                    << "default_md = sha256\npolicy = p\ncopy_extensions = copy\nunique_subject = no\n"
                                    << "[p]\ncommonName = supplied\n";
}

TestCa::~TestCa() { RemoveFolder(folder_); }

TestCa::Issued TestCa::Issue(const std::string& name, int days, const std::string& keyPassword) const {
  const std::string base = folder_ + name;
  Openssl({"req", "-new", "-subj", "/CN=" + name, "-addext", "subjectAltName=IP:127.0.0.1,DNS:localhost", "-keyout",
           base + ".key", "-out", base + ".csr"},
          true);
  // A minute short of whole days: the days left that status counts do not hang on when the second turns.
  auto date = [](int64_t seconds) {
    const std::time_t t = std::time(nullptr) + seconds;
    std::tm tm{};
    char text[16];
    std::strftime(text, sizeof text, "%y%m%d%H%M%SZ", gmtime_r(&t, &tm));
    return std::string(text);
  };
  const int64_t end = days * int64_t{86400} - 60;
  Openssl({"ca", "-batch", "-notext", "-config", folder_ + "ca.cnf", "-cert", folder_ + "ca.pem", "-keyfile", folder_ + "ca.key",
           "-outdir", folder_, "-startdate", date(std::min<int64_t>(end, 0) - 365 * 86400), "-enddate", date(end),
           "-in", base + ".csr", "-out", base + ".pem"});
  Issued issued{base + ".pem", base + ".key"};
  if (!keyPassword.empty()) {
    Openssl({"pkey", "-in", issued.key, "-aes256", "-passout", "pass:" + keyPassword, "-out", base + ".enc.key"});
    issued.key = base + ".enc.key";
  }
  return issued;
}

std::string TestCa::Pkcs12(const Issued& issued, const std::string& password) const {
  const std::string out = issued.cert + (password.empty() ? ".plain.p12" : ".p12");
  std::vector<std::string> args = {"pkcs12", "-export", "-in", issued.cert, "-inkey", issued.key, "-certfile",
                                   CaFile(), "-out", out, "-passout", "pass:" + password};
  if (password.empty()) args.insert(args.end(), {"-keypbe", "NONE", "-certpbe", "NONE", "-nomac"});
  Openssl(args);
  return out;
}

TlsServer::TlsServer(const TestCa::Issued& identity, const std::string& clientCa, const std::vector<std::string>& extra,
                     const std::vector<std::string>& env)
    : folder_(MakeTempFolder("velmora-tls-server")) {
  port_ = UnusedPort();
  std::vector<std::string> argv = {"openssl", "s_server", "-quiet", "-accept", std::to_string(port_),
                                   "-cert", identity.cert, "-key", identity.key, "-WWW"};
  if (!clientCa.empty()) argv.insert(argv.end(), {"-CAfile", clientCa, "-Verify", "1"});
  argv.insert(argv.end(), extra.begin(), extra.end());
  std::ofstream(folder_ + "index.html") << "velmora\n";
  // -WWW serves files relative to the working folder: started from its own.
  const fs::path here = fs::current_path();
  fs::current_path(folder_);
  process_ = ChildProcess(argv, env, folder_ + "s_server.out", true);
  fs::current_path(here);
  if (!StartedOn(port_)) throw std::runtime_error("openssl s_server did not start: " + ReadFile(folder_ + "s_server.out"));
}

TlsServer::~TlsServer() {
  process_.Stop();
  RemoveFolder(folder_);
}

ClosingProxy::ClosingProxy(const std::string& user, const std::string& password)
    : folder_(MakeTempFolder("velmora-closing-proxy")) {
  port_ = UnusedPort();
  process_ = ChildProcess({"python3", DataFile("../closing_proxy.py"), std::to_string(port_), user, password,
                           folder_ + "answers"});
  if (!StartedOn(port_)) throw std::runtime_error("the test proxy did not start");
}

ClosingProxy::~ClosingProxy() {
  process_.Stop();
  RemoveFolder(folder_);
}

std::vector<std::string> ClosingProxy::Answers() const {
  std::vector<std::string> answers;
  std::istringstream in(ReadFile(folder_ + "answers"));
  for (std::string line; std::getline(in, line);) answers.push_back(line);
  return answers;
}

}  // namespace velmora::testing
