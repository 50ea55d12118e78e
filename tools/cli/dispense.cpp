#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "commands.h"
#include "request_file.h"
#include "verdict.h"

namespace velmora::cli {

namespace {

// "waiting N s" on a terminal while the library waits for the answer; nothing when the output
// goes to a file or a program.
class Progress {
 public:
  explicit Progress(std::ostream& err) : err_(err), shown_(isatty(STDERR_FILENO) != 0) {}
  ~Progress() {
    if (drawn_) err_ << "\r                                   \r" << std::flush;
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Attach(CInterface& iface) {
    if (!shown_) return;
    iface.AlIniciarSolicitudDispensacion = [this](const std::string&) { start_ = Clock::now(); };
    iface.OnIdle = [this] { Tick(); };
  }

 private:
  using Clock = std::chrono::steady_clock;
  void Tick() {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start_).count();
    if (seconds == last_) return;
    last_ = seconds;
    err_ << "\rwaiting for the answer... " << seconds << " s" << std::flush;
    drawn_ = true;
  }

  std::ostream& err_;
  bool shown_;
  bool drawn_ = false;
  Clock::time_point start_ = Clock::now();
  long long last_ = -1;
};

}  // namespace

int Dispense(const std::string& file, bool print, bool json, std::ostream& out, std::ostream& err) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    err << "velmora: cannot read " << file << "\n";
    return 2;
  }
  std::ostringstream text;
  text << in.rdbuf();
  RequestFile requests;
  try {
    requests = ParseRequestFile(text.str());
  } catch (const std::invalid_argument& e) {
    err << "velmora: " << file << ": " << e.what() << "\n";
    return 2;
  }

  CInterface iface;
  // A call that fails on its way raises no end event: its answer is the forced internal one.
  ResponseTypeEnum type = rspInternal;
  iface.AlTerminarSolicitudDispensacion = [&type](bool, ResponseTypeEnum t) { type = t; };
  Progress progress(err);
  progress.Attach(iface);

  if (!requests.batch) {
    CPeticionDispensacion request;
    FillRequest(request, requests.requests.front());
    auto response = iface.SolicitudDispensacion(request);
    if (json)
      PrintJson(out, request.IDPrescripcion, *response, type, iface.Errores());
    else
      PrintVerdict(out << "IDPrescripcion: " << request.IDPrescripcion << "\n", *response, type, iface.Errores());
    return response->DatosValidos ? 0 : 1;
  }
  CListadoDispensaciones list;
  for (const auto& fields : requests.requests) {
    CPeticionDispensacion request;
    FillRequest(request, fields);
    if (!list.aniadirDispensacion(request)) err << "velmora: a dispensation was refused (see the log)\n";
  }
  auto response = iface.SolicitudDispensaciones(list, print);
  const std::string id = list.Dispensaciones().Count() ? "MD__" + list.Dispensaciones().Item(1)->IDPrescripcion : "";
  if (json)
    PrintJson(out, id, *response, type, iface.Errores());
  else
    PrintVerdict(out << "batch: " << id << "\n", *response, type, iface.Errores());
  return response->DatosValidos ? 0 : 1;
}

}  // namespace velmora::cli
