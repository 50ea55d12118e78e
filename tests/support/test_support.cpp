#include "support/test_support.h"

#include "velmora/error.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace velmora::testing {

namespace fs = std::filesystem;

RuntimeFolder::RuntimeFolder(const std::string& ini, bool makeWorkingFolders) {
  root_ = MakeTempFolder("velmora-test");
  if (const char* home = getenv("VELMORA_HOME")) hadHome_ = true, previousHome_ = home;
  setenv("VELMORA_HOME", root_.c_str(), 1);
  if (makeWorkingFolders)
    for (const char* d : {"Enviados", "Recibidos", "Retrasados", "Auditoria"}) fs::create_directory(root_ + d);
  if (!ini.empty()) Write("velmora.ini", ini);
}

RuntimeFolder::~RuntimeFolder() {
  hadHome_ ? setenv("VELMORA_HOME", previousHome_.c_str(), 1) : unsetenv("VELMORA_HOME");
  std::error_code ec;
  // Read-only files and folders left by a test must not keep the folder alive.
  for (auto it = fs::recursive_directory_iterator(root_, ec); !ec && it != fs::recursive_directory_iterator(); ++it)
    fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
  fs::remove_all(root_, ec);
}

std::string MakeTempFolder(const std::string& tag) {
  std::string pattern = (fs::temp_directory_path() / (tag + "-XXXXXX")).string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  return pattern + "/";
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();  // a folder reads as empty; iterating its buffer would throw
  return out.str();
}

void RuntimeFolder::Write(const std::string& relative, const std::string& content) const {
  std::ofstream(root_ + relative, std::ios::binary | std::ios::trunc) << content;
}

std::string RuntimeFolder::MakeIni(
    const std::vector<std::pair<std::string, std::vector<std::pair<std::string, std::string>>>>& sections) {
  std::string text;
  for (const auto& [section, keys] : sections) {
    text += "[" + section + "]\r\n";
    for (const auto& [k, v] : keys) text += k + "=" + v + "\r\n";
  }
  return text;
}

std::string RuntimeFolder::DefaultIni() {
  return MakeIni({
      {"Configuracion",
       {{"Servicio", "http://127.0.0.1:1/dispensacion?wsdl"},
        {"EsquemaXML", "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                       "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\" "
                       "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\""},
        {"GuardarPeticionSOAP", "0"}, {"GenerarLog", "1"}, {"GenerarTrace", "0"}, {"TamanioMaximoLog", "10000000"},
        {"CodigoDispensacionCorrecta", "0000"}}},
      {"Asincrono", {{"PeticionTimeOut", "5"}, {"AutoRespuesta", "1"}, {"EliminarXMLPeticion", "1"},
                     {"EliminarXMLRespuesta", "1"}, {"IntervaloComprobacion", "1"}}},
      {"Seguimiento", {{"ArchivoDiario", "0"}, {"Auditar", "1"}}},
      {"MensajeSOAP", {{"Enviados", "0"}, {"Recibidos", "0"}}},
      {"Proxy", {{"UtilizarProxy", "0"}, {"TimeOut", "5000"}}},
      {"RespuestaDefecto", {{"CodigoAviso", "9999"}, {"TextoAviso", "Respuesta interna"}, {"NumAvisos", "1"},
                            {"CodigoMotivosRechazo", ""}, {"TextoMotivosRechazo", ""}, {"NumMotivosRechazo", "0"},
                            {"ResultResp", "1"}}},
  });
}

std::string IniWith(const std::string& key, const std::string& value) {
  std::string ini = RuntimeFolder::DefaultIni();
  const size_t at = ini.find("\r\n" + key + "=");
  const size_t end = ini.find("\r\n", at + 2);
  return ini.substr(0, at) + "\r\n" + key + "=" + value + ini.substr(end);
}

bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  for (const auto end = std::chrono::steady_clock::now() + limit; !condition();
       std::this_thread::sleep_for(std::chrono::milliseconds(5)))
    if (std::chrono::steady_clock::now() >= end) return false;
  return true;
}

std::shared_ptr<void> HoldFolderLocks(const std::vector<std::string>& folders) {
  int ready[2];
  if (pipe(ready) != 0) return nullptr;
  const pid_t pid = fork();
  if (pid == 0) {
    for (const auto& folder : folders) flock(open(folder.c_str(), O_RDONLY | O_DIRECTORY), LOCK_EX);
    (void)!write(ready[1], "x", 1);
    sleep(20);
    _exit(0);
  }
  char c;
  if (pid > 0) (void)!read(ready[0], &c, 1);  // returns once the locks are held
  close(ready[0]), close(ready[1]);
  return std::shared_ptr<void>(nullptr, [pid](void*) { pid > 0 && kill(pid, SIGKILL) == 0 && waitpid(pid, nullptr, 0); });
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t start = 0, end; start < text.size(); start = end + 2) {
    end = std::min(text.find("\r\n", start), text.size());
    lines.push_back(text.substr(start, end - start));
  }
  return lines;
}

// "yyyy/mm/dd hh:mm:ss " at the start of a log line. By hand, not std::regex: GCC 12's optimiser
// warns inside <regex> (maybe-uninitialized), which the sanitised -Werror build turns fatal.
static bool StartsWithStamp(std::string_view l) {
  constexpr std::string_view shape = "dddd/dd/dd dd:dd:dd ";
  if (l.size() < shape.size()) return false;
  for (size_t i = 0; i < shape.size(); ++i)
    if (shape[i] == 'd' ? (l[i] < '0' || l[i] > '9') : l[i] != shape[i]) return false;
  return true;
}

bool HasLine(const std::string& text, const std::string& line) {
  const bool open = !line.empty() && line.back() == '*';
  const std::string want = open ? line.substr(0, line.size() - 1) : line;
  const auto matches = [&](std::string_view l) { return open ? l.starts_with(want) : l == want; };
  for (const std::string& l : Lines(text))
    if (matches(l) || (StartsWithStamp(l) && matches(std::string_view(l).substr(20)))) return true;
  return false;
}

int32_t ErrorNumber(const std::function<void()>& action, std::string* text) {
  try {
    action();
  } catch (const Error& e) {
    if (text) *text = e.Description;
    return e.Number;
  }
  return 0;
}

}  // namespace velmora::testing
