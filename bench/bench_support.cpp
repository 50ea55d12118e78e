#include "bench_support.h"

#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace velmora::bench {

namespace fs = std::filesystem;

std::string MakeTempFolder(const char* tag) {
  std::string pattern = (fs::temp_directory_path() / (std::string(tag) + "-XXXXXX")).string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  return pattern + "/";
}

namespace {

bool HasPort(const std::string& portFile) {
  std::ifstream in(portFile);
  int port = 0;
  return static_cast<bool>(in >> port) && port > 0;
}

}  // namespace

Child::Child(const std::vector<std::string>& argv) {
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  if (posix_spawn(&pid_, args[0], nullptr, nullptr, args.data(), environ) != 0) pid_ = -1;
}

Child& Child::operator=(Child&& other) noexcept {
  if (this != &other) {
    Stop();
    pid_ = other.pid_;
    other.pid_ = -1;
  }
  return *this;
}

Child::~Child() { Stop(); }

int Child::Wait(std::chrono::milliseconds limit) {
  if (pid_ <= 0) return -1;
  const auto end = std::chrono::steady_clock::now() + limit;
  int status = 0;
  // A blocking wait is the cheapest when the child ends in time; the bound needs a poll.
  for (;;) {
    const pid_t r = waitpid(pid_, &status, WNOHANG);
    if (r == pid_) break;
    if (r < 0) {
      pid_ = -1;
      return -1;
    }
    if (std::chrono::steady_clock::now() >= end) return -1;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void Child::Stop() {
  if (pid_ <= 0) return;
  kill(pid_, SIGTERM);
  if (Wait(std::chrono::seconds(3)) == -1 && pid_ > 0) {
    kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
  }
  pid_ = -1;
}

int RunAndWait(const std::vector<std::string>& argv) {
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid = -1;
  if (posix_spawn(&pid, args[0], nullptr, nullptr, args.data(), environ) != 0) return -1;
  // The anchor's own cost is a spawn and a blocking wait, nothing more.
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool WaitFor(bool (*condition)(const std::string&), const std::string& arg, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition(arg)) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

Simulator::Simulator(const std::vector<std::string>& extraArgs) {
  folder_ = MakeTempFolder("velmora-bench-sim");
  record_ = folder_ + "requests.jsonl";
  const std::string portFile = folder_ + "port";
  std::vector<std::string> argv = {VELMORA_BENCH_SIM, "--port", "0", "--port-file", portFile, "--record", record_};
  argv.insert(argv.end(), extraArgs.begin(), extraArgs.end());
  tls_ = std::find(extraArgs.begin(), extraArgs.end(), "--tls-cert") != extraArgs.end();
  process_ = Child(argv);
  if (!process_.Started() || !WaitFor(HasPort, portFile, std::chrono::seconds(15)))
    throw std::runtime_error("velmora-sim did not start");
  std::ifstream in(portFile);
  in >> port_;
}

Simulator::~Simulator() {
  process_.Stop();
  std::error_code ec;
  fs::remove_all(folder_, ec);
}

std::vector<std::string> Simulator::Records() const {
  std::vector<std::string> lines;
  std::ifstream in(record_);
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) lines.push_back(line);
  return lines;
}

std::string Simulator::Field(const std::string& line, const std::string& name) {
  const std::string key = "\"" + name + "\":\"";
  const size_t at = line.find(key);
  if (at == std::string::npos) return {};
  std::string value;
  for (size_t i = at + key.size(); i < line.size() && line[i] != '"'; ++i) {
    if (line[i] != '\\' || i + 1 >= line.size()) {
      value += line[i];
      continue;
    }
    const char c = line[++i];
    if (c == 'u' && i + 4 < line.size()) {
      unsigned code = 0;
      std::from_chars(line.data() + i + 1, line.data() + i + 5, code, 16);
      value += static_cast<char>(code);
      i += 4;
      continue;
    }
    value += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
  }
  return value;
}

Home::Home(const std::string& wsdl, const std::string& caFile)
    : root_(MakeTempFolder("velmora-bench-home")), wsdl_(wsdl), caFile_(caFile) {
  for (const char* d : {"Enviados", "Recibidos", "Retrasados", "Auditoria", "fonts"}) fs::create_directory(root_ + d);
  fs::create_symlink(VELMORA_BENCH_EXECUTOR, root_ + "executor.exe");
  setenv("VELMORA_HOME", root_.c_str(), 1);
  setenv("XDG_DATA_HOME", (root_ + "fonts").c_str(), 1);
  setenv("VELMORA_PDF_VIEWER", "", 1);
  WriteIni(30, 1);
}

Home::~Home() {
  std::error_code ec;
  fs::remove_all(root_, ec);
}

void Home::WriteIni(int peticionTimeOut, int intervaloComprobacion) const {
  const std::string ini =
      "[Configuracion]\r\n"
      "Servicio=" + wsdl_ + "\r\n"
      "EsquemaXML=xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
      "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\" xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\"\r\n"
      "GuardarPeticionSOAP=0\r\nGenerarLog=1\r\nGenerarTrace=0\r\nTamanioMaximoLog=50000000\r\n"
      "CodigoDispensacionCorrecta=0000\r\n"
      "[Asincrono]\r\n"
      "PeticionTimeOut=" + std::to_string(peticionTimeOut) + "\r\n"
      "AutoRespuesta=1\r\nEliminarXMLPeticion=1\r\nEliminarXMLRespuesta=1\r\n"
      "IntervaloComprobacion=" + std::to_string(intervaloComprobacion) + "\r\n"
      "[Seguimiento]\r\nArchivoDiario=0\r\nAuditar=1\r\n"
      "[MensajeSOAP]\r\nEnviados=0\r\nRecibidos=0\r\n"
      "[Proxy]\r\nUtilizarProxy=0\r\nTimeOut=20000\r\n" + (caFile_.empty() ? "" : "CAFile=" + caFile_ + "\r\n") +
      "[RespuestaDefecto]\r\nCodigoAviso=9999\r\nTextoAviso=Respuesta interna\r\nNumAvisos=1\r\n"
      "CodigoMotivosRechazo=\r\nTextoMotivosRechazo=\r\nNumMotivosRechazo=0\r\nResultResp=1\r\n";
  std::ofstream(root_ + "velmora.ini", std::ios::binary | std::ios::trunc) << ini;
}

CPeticionDispensacion MakeRequest(int n, const std::string& id, const std::string& codigo) {
  CPeticionDispensacion r;
  r.IdFarmacia = "F0042";
  r.IdProvincia = "48";
  r.IdUsuario = "mostrador1";
  r.ClaveUsuario = "clave";
  r.Idioma = "es";
  r.IdFarmaceutico = "FC0007";
  r.FechaDispensacion = "21/11/2026";
  r.FechaPrescripcion = n % 7 == 3 ? "" : "2026-11-" + std::to_string(10 + n % 18);
  r.Importe = "12,40";
  r.ImporteAportacion = "4,96";
  r.EnvasesDispensados = std::to_string(1 + n % 3);
  r.CodigoDispensado = codigo;
  r.CodigoColegiadoPrescriptor = "48" + std::to_string(10000 + n % 90000);
  r.Tis = "BBBB123456";
  r.NombrePaciente = "Paciente de prueba";
  r.NombreMedicamento = "Medicamento " + std::to_string(n);
  r.RegimenReceta = n % 3 == 0 ? Trabajador : n % 3 == 1 ? Pensionista : RegimenVacio;
  r.TipoPrescripcion = Principio_Activo;
  r.Lector = "RC" + std::to_string(700000 + n);
  r.IDPrescripcion = id;
  return r;
}

double CpuSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  auto secs = [](const timeval& tv) { return static_cast<double>(tv.tv_sec) + static_cast<double>(tv.tv_usec) / 1e6; };
  return secs(usage.ru_utime) + secs(usage.ru_stime);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

bool FileExists(const std::string& path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0;
}

}  // namespace velmora::bench
