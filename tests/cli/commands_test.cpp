// The `velmora` program as a script runs it: the real binary, executor.exe and velmora-sim, one
// private runtime folder per case, and the exit code and output of each verdict and check.
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "interface/interface_fixture.h"
#include "support/test_processes.h"
#include "support/tls_fixture.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using velmora::testing::RuntimeFolder;

struct Result {
  int exit = -1;
  std::string out, err, output;  // output: both
};

// Runs velmora with `args` (stdout and stderr into files of the runtime folder), optionally with
// VELMORA_HOME replaced, and with `inChild` run in the child just before the exec.
Result Velmora(const RuntimeFolder& f, std::vector<std::string> args, const std::string& home = {},
           const std::function<bool()>& inChild = {}) {
  args.insert(args.begin(), VELMORA_CLI);
  std::string homeVar = "VELMORA_HOME=" + (home.empty() ? f.Root() : home);
  std::vector<char*> argv, envp = {homeVar.data()};  // first, so it is the one getenv finds
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  for (char** e = environ; *e; ++e) envp.push_back(*e);
  envp.push_back(nullptr);
  const std::string out = f.Path(".out"), err = f.Path(".err");
  const pid_t pid = fork();
  if (pid == 0) {
    const int o = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), e = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (o < 0 || e < 0 || dup2(o, 1) < 0 || dup2(e, 2) < 0 || (inChild && !inChild())) _exit(99);
    execve(argv[0], argv.data(), envp.data());
    _exit(98);
  }
  Result r;
  int status = 0;
  if (velmora::testing::WaitFor([&] { return waitpid(pid, &status, WNOHANG) == pid; }, std::chrono::seconds(60)))
    r.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  r.output = (r.out = f.Read(".out")) + (r.err = f.Read(".err"));
  return r;
}

// The test ini with `key` changed, served by `service`.
std::string Ini(const std::string& service, const std::string& key = "Auditar", const std::string& value = "1") {
  std::string ini = velmora::testing::IniWith(key, value);
  return ini.replace(ini.find("http://127.0.0.1:1/dispensacion?wsdl"), 36, service);
}

// The shipped sample request, with its product (what the simulator answers by) replaced.
std::string Sample(const std::string& product, const std::string& section = "[Dispensacion]") {
  std::ifstream in(VELMORA_SOURCE_DIR "/examples/request.ini");
  std::string text((std::istreambuf_iterator<char>(in)), {});
  text.replace(text.find("CodigoDispensado=600000"), 23, "CodigoDispensado=" + product);
  return text.replace(text.find("[Dispensacion]"), 14, section);
}

TEST(Cli, ExitCodeTellsEveryVerdictApart) {
  velmora::testing::SimulatorProcess sim;
  struct Case {
    const char* name;
    std::string ini, file;
    std::vector<std::string> options;
    bool executor;
    int exit;
    const char* output;
  };
  const std::string batchOf2 = Sample("sim:batch-rejected", "[Dispensacion1]") + Sample("700002", "[Dispensacion2]");
  const Case cases[] = {
      {"accepted", Ini(sim.WsdlUrl()), Sample("600000"), {"--json"}, true, 0, "\"tipoRespuesta\":1,"},
      {"rejected", Ini(sim.WsdlUrl()), Sample("sim:rejected"), {}, true, 1, "NOT ACCEPTED (rspReceived)"},
      {"batch all accepted", Ini(sim.WsdlUrl()), Sample("700001", "[Dispensacion1]"), {}, true, 0, "BATCH ACCEPTED"},
      {"batch one rejected", Ini(sim.WsdlUrl()), batchOf2, {}, true, 1, "rows: 2"},
      {"service down", velmora::testing::IniWith("PeticionTimeOut", "2"), Sample("600000"), {}, true, 3, "executor.exe: (-2147467259) "},
      {"no executor.exe", Ini(sim.WsdlUrl()), Sample("600000"), {}, false, 4, "error 53 "},
      {"missing fields", Ini(sim.WsdlUrl()), "[dispensacion]\nimporte=1\n", {}, true, 2, "misses or cannot use: ClaveUsuario, IdUsuario,"},
      {"--print on one", Ini(sim.WsdlUrl()), Sample("600000"), {"--print"}, true, 2, "receipt of a batch"},
      {"malformed file", Ini(sim.WsdlUrl()), "[Dispensacion]\nColor=1\n", {}, true, 2, "line 2: unknown property 'Color'"},
      // No request file: the options are the whole command line.
      {"no command", "", "", {}, true, 2, "velmora: a command is needed"},
      {"help", "", "", {"-h"}, true, 0, "exit codes:"},
      {"version", "", "", {"--version"}, true, 0, "velmora 1."},
  };
  for (const Case& c : cases) {
    RuntimeFolder f(c.ini);
    if (c.executor) fs::create_symlink(VELMORA_EXECUTOR, f.Path("executor.exe"));
    f.Write("request.ini", c.file);
    std::vector<std::string> args = c.file.empty() ? c.options : std::vector<std::string>{"dispense", f.Path("request.ini")};
    if (!c.file.empty()) args.insert(args.end(), c.options.begin(), c.options.end());
    const Result r = Velmora(f, args);
    EXPECT_EQ(r.exit, c.exit) << c.name << "\n" << r.output;
    EXPECT_NE((c.exit == 0 ? r.out : r.output).find(c.output), std::string::npos) << c.name << "\n" << r.output;  // verdicts and help on stdout
  }
}

// Each check fails on a runtime folder broken in its own way, and only then.
TEST(Cli, StatusFailsEachCheckOnItsOwnBrokenFolder) {
  velmora::testing::SimulatorProcess sim;
  const std::string ok = Ini(sim.WsdlUrl()), unused = std::to_string(velmora::testing::UnusedPort());
  struct Case {
    const char* name;
    std::string ini;
    std::function<std::string(const RuntimeFolder&)> breakIt;  // returns VELMORA_HOME, or ""
    const char* failure;
    std::function<bool()> inChild = {};
  };
  // Recibidos on ramfs, which takes no user extended attributes: mounted in a user and mount
  // namespace of the child only (the case is skipped where namespaces are not allowed).
  std::string childPath;  // what the child mounts on or starts in
  const std::string uidMap = "0 " + std::to_string(getuid()) + " 1", gidMap = "0 " + std::to_string(getgid()) + " 1";
  const auto ramfs = [&] {
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    const auto put = [](const char* file, std::string_view text) {  // no allocation after the fork
      const int fd = open(file, O_WRONLY);
      return fd >= 0 && write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    };
    return put("/proc/self/setgroups", "deny") && put("/proc/self/uid_map", uidMap) && put("/proc/self/gid_map", gidMap) &&
           mount("none", childPath.c_str(), "ramfs", 0, nullptr) == 0;
  };
  const Case cases[] = {
      {"sound", ok, {}, nullptr},
      {"relative home", ok, [&](const RuntimeFolder& f) { childPath = f.Root(); return std::string("."); }, "VELMORA_HOME \".\" is relative",
       [&] { return chdir(childPath.c_str()) == 0; }},  // "." from the runtime folder itself
      {"blank in home", ok, [](const RuntimeFolder& f) { fs::create_directory(f.Path("a b")); return f.Path("a b"); }, "holds a blank"},
      {"no executor.exe", ok, [](const RuntimeFolder& f) { fs::remove(f.Path("executor.exe")); return std::string(); }, "{\"name\":\"executor.exe\",\"passed\":false,"},
      {"executor.exe not executable", ok, [](const RuntimeFolder& f) { fs::remove(f.Path("executor.exe")); f.Write("executor.exe", "x"); return std::string(); }, "not an executable"},
      {"no velmora.ini", "", {}, "FAIL  velmora.ini"},
      {"bad key", Ini(sim.WsdlUrl(), "PeticionTimeOut", "treinta"), {}, "FAIL  [Asincrono] PeticionTimeOut: \"treinta\": error 13"},
      {"no [Proxy]", ok.substr(0, ok.find("[Proxy]")) + ok.substr(ok.find("[RespuestaDefecto]")), {}, "FAIL  [Proxy] UtilizarProxy: \"\": error 13"},
      {"unreadable CA file", Ini(sim.WsdlUrl(), "TimeOut", "5000\r\nCAFile=/nonexistent/ca.pem"), {}, "FAIL  [Proxy] CAFile"},
      {"Recibidos is a file", ok, [](const RuntimeFolder& f) { fs::remove(f.Path("Recibidos")); f.Write("Recibidos", ""); return std::string(); }, "Recibidos: not a folder"},
      {"service down", Ini("http://127.0.0.1:" + unused + "/x?wsdl"), {}, "FAIL  service description"},
      {"no extended attributes", ok, [&](const RuntimeFolder& f) { childPath = f.Path("Recibidos"); return std::string(); }, "(mount it with user extended attributes)", ramfs},
      {"proxy down", Ini(sim.WsdlUrl(), "UtilizarProxy", "1\r\nServidor=127.0.0.1\r\nPuerto=" + unused + "\r\nUsarProxy=1"), {}, "FAIL  service description"},
  };
  for (const Case& c : cases) {
    RuntimeFolder f(c.ini);
    fs::create_symlink(VELMORA_EXECUTOR, f.Path("executor.exe"));
    const std::string home = c.breakIt ? c.breakIt(f) : "";
    const bool json = c.failure && *c.failure == '{';  // a failure given as JSON asks for --json
    const Result r = Velmora(f, json ? std::vector<std::string>{"status", "--json"} : std::vector<std::string>{"status"}, home, c.inChild);
    if (r.exit == 99) continue;  // no namespace for the mount
    EXPECT_EQ(r.exit, c.failure ? 1 : 0) << c.name << "\n" << r.output;
    if (c.failure) EXPECT_NE(r.output.find(c.failure), std::string::npos) << c.name << "\n" << r.output;
    else EXPECT_EQ(r.output.find("FAIL"), std::string::npos) << r.output;
  }
}

// A run leaves neither secret in any file of the runtime folder nor in its output. The request
// files carry the user's own password by design and are not looked at.
constexpr const char* kKeyPassword = "clave-del-certificado-7";
constexpr const char* kProxyPassword = "clave-del-proxy-9";
void ExpectNoSecrets(const RuntimeFolder& f, const Result& r, const std::string& name) {
  for (const char* secret : {kKeyPassword, kProxyPassword}) {
    EXPECT_EQ(r.output.find(secret), std::string::npos) << name << ": output";
    for (const auto& entry : fs::recursive_directory_iterator(f.Root())) {
      const fs::path& path = entry.path();
      // velmora.ini is the user's own, as the request files are.
      if (!entry.is_regular_file() || path.parent_path().filename() == "Enviados" || path.extension() == ".out" ||
          path.extension() == ".err" || path.filename() == "velmora.ini")
        continue;
      EXPECT_EQ(velmora::testing::ReadFile(entry.path()).find(secret), std::string::npos) << name << ": " << path;
    }
  }
}

// [Proxy] keys after TimeOut, with the trace on so that it too is looked at.
std::string TlsIni(const std::string& service, const std::string& proxyKeys) {
  std::string ini = Ini(service, "TimeOut", "5000\r\n" + proxyKeys);
  return ini.replace(ini.find("GenerarTrace=0"), 14, "GenerarTrace=1");
}

// The TLS line of status, against servers of a CA made here: client certificates in every form,
// the faults of each, expiry, and a system policy weakened below TLS 1.2.
TEST(Cli, StatusMakesTheServiceHandshakeWithTheClientCertificate) {
  using velmora::testing::TestCa;
  using velmora::testing::TlsServer;
  TestCa ca;
  const TestCa::Issued server = ca.Issue("servicio"), client = ca.Issue("farmacia"), other = ca.Issue("otra"),
                       locked = ca.Issue("farmacia-cifrada", 365, kKeyPassword), clientSoon = ca.Issue("farmacia-10d", 10),
                       clientGone = ca.Issue("farmacia-caducada", -1);
  const std::string p12 = ca.Pkcs12(client, kKeyPassword), p12Plain = ca.Pkcs12(client, "");
  const std::string weak = ca.Folder() + "weak.cnf";
  std::ofstream(weak) << "openssl_conf = c\n[c]\nssl_conf = s\n[s]\nsystem_default = d\n[d]\n"
                         "MinProtocol = TLSv1\nCipherString = DEFAULT@SECLEVEL=0\n";
  TlsServer mtls(server, ca.CaFile()), plain(server), expiring(ca.Issue("servicio-10d", 10)), expired(ca.Issue("servicio-caducado", -1)),
      old(server, {}, {"-tls1_1", "-cipher", "DEFAULT@SECLEVEL=0"}, {"OPENSSL_CONF=" + weak});
  velmora::testing::ClosingProxy proxy("farmacia", kProxyPassword);
  const std::string trust = "CAFile=" + ca.CaFile() + "\r\n", pass = std::string("KeyPassword=") + kKeyPassword + "\r\n";
  auto pem = [&](const TestCa::Issued& c) { return trust + "CertFile=" + c.cert + "\r\nKeyFile=" + c.key + "\r\n"; };
  struct Case {
    const char* name;
    const TlsServer& server;
    std::string keys;
    bool weakPolicy;
    std::string line;  // expected in the output
  };
  const Case cases[] = {
      {"PEM, key apart", mtls, pem(client), false, "PASS  service TLS: TLSv1.3, server \"CN=servicio\""},
      {"PEM, encrypted key", mtls, pem(locked) + pass, false, "PASS  service TLS: TLSv1.3"},
      {"PKCS#12 with a password", mtls, trust + "CertFile=" + p12 + "\r\n" + pass, false, ", client certificate valid until"},
      {"PKCS#12 without one", mtls, trust + "CertFile=" + p12Plain + "\r\n", false, "PASS  service TLS: TLSv1.3"},
      {"required, none given", mtls, trust, false, "FAIL  service TLS: Error de conexión"},
      {"wrong key password", mtls, pem(locked) + "KeyPassword=otra\r\n", false, "[Proxy] KeyPassword no abre " + locked.key + " ("},
      {"wrong PKCS#12 password", mtls, trust + "CertFile=" + p12 + "\r\nKeyPassword=otra\r\n", false, "[Proxy] KeyPassword no abre " + p12 + " ("},
      {"key of another certificate", mtls, trust + "CertFile=" + client.cert + "\r\nKeyFile=" + other.key + "\r\n", false, "no corresponde al certificado de " + client.cert},
      {"unreadable certificate", mtls, trust + "CertFile=/nonexistent/c.pem\r\n", false, "[Proxy] CertFile: no se puede leer el archivo /nonexistent/c.pem"},
      {"server expires in 10 days", expiring, trust, false, "WARN  service TLS: TLSv1.3, server \"CN=servicio-10d\""},
      {"client expires in 10 days", mtls, pem(clientSoon), false, "; client certificate expires in 9 days"},
      {"client expired yesterday", mtls, pem(clientGone), false, "; client certificate has expired"},
      {"server expired yesterday", expired, trust, false,
       "FAIL  service TLS: Error de conexión: " + expired.Url("index.html") + ": SSL certificate problem: certificate has expired (curl 60)"},
      {"TLS 1.1 only, weakened policy", old, trust, true, "FAIL  service TLS: Error de conexión"},
      {"TLS 1.3, weakened policy", plain, trust, true, "PASS  service TLS: TLSv1.3"},
      {"proxy closing after 407", mtls, pem(locked) + pass + "UtilizarProxy=1\r\nUsarProxy=1\r\nServidor=127.0.0.1\r\nPuerto=" +
           std::to_string(proxy.Port()) + "\r\nUsuario=farmacia\r\nPassword=" + kProxyPassword + "\r\n", false, "PASS  service TLS: TLSv1.3"},
  };
  for (const Case& c : cases) {
    std::string ini = TlsIni(c.server.Url("index.html"), c.keys);
    if (c.keys.find("UtilizarProxy=1") != std::string::npos) ini.replace(ini.find("UtilizarProxy=0\r\n"), 17, "");
    RuntimeFolder f(ini);
    fs::create_symlink(VELMORA_EXECUTOR, f.Path("executor.exe"));
    if (c.weakPolicy) setenv("OPENSSL_CONF", weak.c_str(), 1);
    const Result r = Velmora(f, {"status"});
    unsetenv("OPENSSL_CONF");
    EXPECT_NE(r.output.find(c.line), std::string::npos) << c.name << "\n" << r.output;
    ExpectNoSecrets(f, r, c.name);
  }
  // Basic went with the first request: the proxy never had to answer 407.
  const std::vector<std::string> answers = proxy.Answers();
  EXPECT_FALSE(answers.empty());
  EXPECT_EQ(std::count(answers.begin(), answers.end(), "407"), 0);
}

// A dispensation through the proxy, with an encrypted client key: answered, and no secret in
// the log, the trace, the audit trail or the kept description.
TEST(Cli, DispensationThroughAClosingProxyKeepsBothPasswordsOutOfEveryFile) {
  using velmora::testing::DataFile;
  velmora::testing::TestCa ca;
  const auto locked = ca.Issue("farmacia", 365, kKeyPassword);
  velmora::testing::SimulatorProcess sim({"--tls-cert", DataFile("sim-cert.pem"), "--tls-key", DataFile("sim-key.pem")});
  velmora::testing::ClosingProxy proxy("farmacia", kProxyPassword);
  std::string ini = TlsIni(sim.WsdlUrl(), "CAFile=" + DataFile("sim-cert.pem") + "\r\nCertFile=" + locked.cert + "\r\nKeyFile=" +
                                              locked.key + "\r\nKeyPassword=" + kKeyPassword + "\r\nUtilizarProxy=1\r\nUsarProxy=1\r\n"
                                              "Servidor=127.0.0.1\r\nPuerto=" + std::to_string(proxy.Port()) +
                                              "\r\nUsuario=farmacia\r\nPassword=" + kProxyPassword + "\r\n");
  RuntimeFolder f(ini.replace(ini.find("UtilizarProxy=0\r\n"), 17, ""));
  fs::create_symlink(VELMORA_EXECUTOR, f.Path("executor.exe"));
  f.Write("request.ini", Sample("600000"));
  const Result r = Velmora(f, {"dispense", f.Path("request.ini")});
  EXPECT_EQ(r.exit, 0) << r.output;
  const std::vector<std::string> answers = proxy.Answers();
  EXPECT_EQ(answers.size(), 2u) << ::testing::PrintToString(answers);  // description and call, tunnelled at once
  ExpectNoSecrets(f, r, "dispense");
  const Result status = Velmora(f, {"status", "--json"});
  EXPECT_NE(status.out.find("{\"name\":\"service TLS\",\"passed\":true,\"detail\":\"TLSv1.3, server "), std::string::npos) << status.out;
  ExpectNoSecrets(f, status, "status");
}

}  // namespace
