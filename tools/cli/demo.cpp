#include <errno.h>
#include <signal.h>
#include <sys/stat.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "commands.h"
#include "texts.h"
#include "verdict.h"

extern char** environ;

namespace velmora::cli {

namespace {

// velmora-sim for the length of the demo; stopped and reaped on every path.
class Simulator {
 public:
  Simulator(const std::string& program, const std::string& portFile, const std::string& scenarios) {
    std::vector<std::string> args = {program, "--port", "0", "--port-file", portFile, "--scenarios", scenarios};
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    if (posix_spawn(&pid_, program.c_str(), nullptr, nullptr, argv.data(), environ) != 0) pid_ = -1;
  }
  ~Simulator() {
    if (pid_ <= 0) return;
    kill(pid_, SIGTERM);
    int status = 0;
    for (int i = 0; i < 200 && waitpid(pid_, &status, WNOHANG) == 0; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (waitpid(pid_, &status, WNOHANG) == 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, &status, 0);
    }
  }
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;
  bool Started() const { return pid_ > 0; }

 private:
  pid_t pid_ = -1;
};

// velmora-sim beside the library (a build tree's runtime folder), else beside this program (an
// installed package keeps programs in bin/ and the library in lib/).
std::string SimulatorProgram(const std::string& root) {
  if (access((root + "velmora-sim").c_str(), X_OK) == 0) return root + "velmora-sim";
  char self[4096];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return root + "velmora-sim";
  std::string path(self, static_cast<size_t>(n));
  return path.substr(0, path.rfind('/') + 1) + "velmora-sim";
}

// The port the simulator writes once it listens; 0 when it has not within the bound.
int WaitForPort(const std::string& portFile) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(15);
  while (std::chrono::steady_clock::now() < end) {
    std::ifstream in(portFile);
    int port = 0;
    if (in >> port && port > 0) return port;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return 0;
}

CPeticionDispensacion DemoRequest(int n, const std::string& product) {
  CPeticionDispensacion r;
  r.IdFarmacia = "F0042";
  r.IdProvincia = "48";
  r.IdUsuario = "mostrador1";
  r.ClaveUsuario = "demo";
  r.Idioma = "es";
  r.IdFarmaceutico = "FC0007";
  r.FechaDispensacion = "21/11/2026";
  r.FechaPrescripcion = "2026-11-" + std::to_string(10 + n);
  r.Importe = "12,40";
  r.ImporteAportacion = "4,96";
  r.EnvasesDispensados = "1";
  r.CodigoDispensado = product;
  r.CodigoColegiadoPrescriptor = "4812345";
  r.Tis = "BBBB123456";
  r.NombrePaciente = "Paciente de demostración";
  r.NombreMedicamento = "Medicamento " + std::to_string(n);
  r.RegimenReceta = n % 2 ? Pensionista : Trabajador;
  r.TipoPrescripcion = Principio_Activo;
  r.Lector = "RC" + std::to_string(700000 + n);
  r.IDPrescripcion = "RX2026" + std::to_string(1000 + n);
  return r;
}

// A copy of the ini beside the library (a build tree) or of the installed sample.
std::string IniTemplate(const std::string& libraryFolder) {
  if (access((libraryFolder + "velmora.ini").c_str(), R_OK) == 0) return libraryFolder + "velmora.ini";
  char self[4096];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  const std::string program = n > 0 ? std::string(self, static_cast<size_t>(n)) : std::string();
  return program.substr(0, program.rfind('/') + 1) + "../share/velmora/velmora.ini";
}

// Makes `folder` an empty folder private to this user: created when missing, emptied when it is
// already this user's own (never followed through a link planted in /tmp by someone else).
bool FreshPrivateFolder(const std::string& folder) {
  namespace fs = std::filesystem;
  if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return false;
  struct stat st{};
  if (lstat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != getuid()) return false;
  if (chmod(folder.c_str(), 0700) != 0) return false;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(folder, ec)) fs::remove_all(entry.path(), ec);
  return !ec;
}

}  // namespace

int Demo(std::ostream& out, std::ostream& err) {
  // The user's own demo runtime folder, emptied and reused on every run: the demo must neither
  // depend on nor disturb the folder a till uses, nor leave a new folder behind each time.
  const std::string libraryFolder = CFileAdmin().GetDllPath();
  const std::string root = "/tmp/velmora-demo-" + std::to_string(getuid()) + "/";
  if (!FreshPrivateFolder(root)) {
    err << Say("cli.demo.folder_unusable", {root}) << "\n";
    return 1;
  }
  {
    std::ifstream in(IniTemplate(libraryFolder), std::ios::binary);
    if (!in) {
      err << Say("cli.demo.no_ini", {IniTemplate(libraryFolder)}) << "\n";
      return 1;
    }
    std::ofstream(root + "velmora.ini", std::ios::binary) << in.rdbuf();
  }
  if (symlink((libraryFolder + "executor.exe").c_str(), (root + "executor.exe").c_str()) != 0) {
    err << Say("cli.demo.cannot_link", {libraryFolder}) << "\n";
    return 1;
  }
  setenv("VELMORA_HOME", root.c_str(), 1);
  const std::string ini = root + "velmora.ini";
  const std::string portFile = root + ".velmora-sim.port";
  const std::string scenarios = root + ".velmora-sim.scenarios";
  // The batch is answered item by item, with every second item rejected, to show both kinds.
  std::ofstream(scenarios) << "654321 = batch-rejected\n";
  // The receipt opens in a viewer only where a person can look at it.
  if (!getenv("VELMORA_PDF_VIEWER") && !getenv("DISPLAY")) setenv("VELMORA_PDF_VIEWER", "", 1);

  const std::string simulator = SimulatorProgram(libraryFolder);
  Simulator sim(simulator, portFile, scenarios);
  const int port = sim.Started() ? WaitForPort(portFile) : 0;
  if (port == 0) {
    err << Say("cli.demo.no_simulator", {simulator}) << "\n";
    return 1;
  }
  const std::string wsdl = "http://127.0.0.1:" + std::to_string(port) + "/dispensacion?wsdl";
  if (!WritePrivateProfileStringEx(ini, "Configuracion", "Servicio", wsdl)) {
    err << Say("cli.demo.cannot_write", {ini}) << "\n";
    return 1;
  }
  out << Say("cli.demo.started", {root, wsdl}) << "\n";

  int failures = 0;
  {
    CInterface iface;
    out << "\n" << Say("cli.demo.single") << "\n";
    auto request = DemoRequest(1, "600000");
    auto single = iface.SolicitudDispensacion(request);
    out << Say("cli.single", {request.IDPrescripcion}) << "\n";
    PrintVerdict(out, *single, iface.Errores());
    if (!single->DatosValidos || !single->DispensacionRealizada()) ++failures;

    out << "\n" << Say("cli.demo.batch") << "\n";
    CListadoDispensaciones list;
    for (int n = 1; n <= 5; ++n) {
      auto item = DemoRequest(n, "65432" + std::to_string(n));
      list.aniadirDispensacion(item);
    }
    auto batch = iface.SolicitudDispensaciones(list, true);
    PrintVerdict(out, *batch, iface.Errores());
    if (!batch->DatosValidos) ++failures;
  }
  unlink(portFile.c_str());
  unlink(scenarios.c_str());
  out << "\n" << Say("cli.demo.where", {root}) << "\n";
  return failures == 0 ? 0 : 1;
}

}  // namespace velmora::cli
