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

}  // namespace
