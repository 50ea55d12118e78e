#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "commands.h"
#include "request_file.h"
#include "texts.h"
#include "verdict.h"

namespace velmora::cli {

namespace {

// "waiting N s" on a terminal while the library waits for the answer, wiped before the verdict
// is printed; nothing when the output goes to a file or a program.
class Progress {
 public:
  explicit Progress(std::ostream& err) : err_(err), shown_(isatty(STDERR_FILENO) != 0) {}
  ~Progress() { Clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Attach(CInterface& iface) {
    if (!shown_) return;
    iface.AlIniciarSolicitudDispensacion = [this](const std::string&) { start_ = Clock::now(); };
    iface.OnIdle = [this] { Tick(); };
  }
  void Clear() {
    if (drawn_) err_ << "\r\x1b[K" << std::flush;
    drawn_ = false;
  }

 private:
  using Clock = std::chrono::steady_clock;
  void Tick() {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start_).count();
    if (seconds == last_) return;
    last_ = seconds;
    err_ << "\r" << Say("cli.waiting", {std::to_string(seconds)}) << std::flush;
    drawn_ = true;
  }

  std::ostream& err_;
  bool shown_;
  bool drawn_ = false;
  Clock::time_point start_ = Clock::now();
  long long last_ = -1;
};

// The exit code of a verdict: whether the call got through, who answered, and what it said.
template <class Response>
ExitCode Verdict(const Response& response) {
  if (!response.DatosValidos) return kFailed;
  if (response.TipoRespuesta != rspReceived) return kFallback;
  return response.DispensacionRealizada() ? kAccepted : kRejected;
}

}  // namespace

int Dispense(const std::string& file, bool print, bool json, std::ostream& out, std::ostream& err) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    err << Say("cli.cannot_read", {file}) << "\n";
    return kUsage;
  }
  std::ostringstream text;
  text << in.rdbuf();
  RequestFile requests;
  try {
    requests = ParseRequestFile(text.str());
  } catch (const std::invalid_argument& e) {
    err << Say("cli.bad_request_file", {file, e.what()}) << "\n";
    return kUsage;
  }

  // Every request is checked before anything is sent: a batch must not go out without the
  // items the library would refuse one by one.
  std::vector<CPeticionDispensacion> filled(requests.requests.size());
  for (size_t i = 0; i < filled.size(); ++i) {
    FillRequest(filled[i], requests.requests[i]);
    std::string missing;
    for (const std::string& name : filled[i].MissingFields()) missing += (missing.empty() ? "" : ", ") + name;
    if (!missing.empty()) {
      const std::string section = requests.batch ? "[Dispensacion" + std::to_string(i + 1) + "]" : "[Dispensacion]";
      err << Say("cli.missing_fields", {file, section, missing}) << "\n";
      return kUsage;
    }
  }
  if (print && !requests.batch) {
    err << Say("cli.print_needs_batch", {file}) << "\n";
    return kUsage;
  }

  CInterface iface;
  Progress progress(err);
  progress.Attach(iface);
  if (!requests.batch) {
    CPeticionDispensacion& request = filled.front();
    auto response = iface.SolicitudDispensacion(request);
    progress.Clear();
    if (json)
      PrintJson(out, request.IDPrescripcion, *response, iface.Errores());
    else
      PrintVerdict(out << Say("cli.single", {request.IDPrescripcion}) << "\n", *response, iface.Errores());
    return Verdict(*response);
  }
  CListadoDispensaciones list;
  for (auto& request : filled) list.aniadirDispensacion(request);
  auto response = iface.SolicitudDispensaciones(list, print);
  progress.Clear();
  const std::string id = list.Dispensaciones().Count() ? "MD__" + list.Dispensaciones().Item(1)->IDPrescripcion : "";
  if (json)
    PrintJson(out, id, *response, iface.Errores());
  else
    PrintVerdict(out << Say("cli.batch", {id}) << "\n", *response, iface.Errores());
  return Verdict(*response);
}

}  // namespace velmora::cli
