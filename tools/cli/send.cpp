#include <fstream>
#include <sstream>
#include <stdexcept>

#include "commands.h"
#include "request_file.h"
#include "verdict.h"

namespace velmora::cli {

int Send(const std::string& file, bool print, std::ostream& out, std::ostream& err) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    err << "velmora: cannot read " << file << "\n";
    return 2;
  }
  std::ostringstream text;
  text << in.rdbuf();
  std::vector<RequestFields> requests;
  try {
    requests = ParseRequestFile(text.str());
  } catch (const std::invalid_argument& e) {
    err << "velmora: " << file << ": " << e.what() << "\n";
    return 2;
  }
  CInterface iface;
  if (requests.size() == 1 && !print) {
    CPeticionDispensacion request;
    FillRequest(request, requests.front());
    auto response = iface.SolicitudDispensacion(request);
    out << "IDPrescripcion: " << request.IDPrescripcion << "\n";
    PrintVerdict(out, *response, iface.Errores());
    return response->DatosValidos ? 0 : 1;
  }
  CListadoDispensaciones list;
  for (const auto& fields : requests) {
    CPeticionDispensacion request;
    FillRequest(request, fields);
    if (!list.aniadirDispensacion(request)) err << "velmora: a dispensation was refused (see the log)\n";
  }
  auto response = iface.SolicitudDispensaciones(list, print);
  PrintVerdict(out, *response, iface.Errores());
  return response->DatosValidos ? 0 : 1;
}

}  // namespace velmora::cli
