// One till of the stress test: two threads, each sending its share of dispensations one after
// another through its own CInterface, and writing one line per answer:
//   <IDPrescripcion> <ResponseTypeEnum> <DispensacionRealizada 0/1> <warning codes>|<rejection codes>
// Usage: velmora_stress_till <till> <per thread> <output file>; the scenario of each request is
// "sim:<name>" chosen from the till and request numbers, so the test knows what to expect.
#include <charconv>
#include <cstring>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "velmora/interface.h"

namespace {

const char* const kScenarios[] = {"accepted", "rejected", "warnings", "slow-3", "accepted", "rejected"};

std::string Codes(const velmora::Collection<std::string>& codes) {
  std::string out;
  for (const auto& c : codes) out += (out.empty() ? "" : ",") + c;
  return out.empty() ? "-" : out;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  int till = 0, perThread = 0;
  std::from_chars(argv[1], argv[1] + std::strlen(argv[1]), till);
  std::from_chars(argv[2], argv[2] + std::strlen(argv[2]), perThread);
  std::ofstream out(argv[3]);
  std::mutex outMutex;
  auto run = [&](int thread) {
    velmora::CInterface iface;
    velmora::ResponseTypeEnum type = velmora::rspInternal;
    iface.AlTerminarSolicitudDispensacion = [&type](bool, velmora::ResponseTypeEnum t) { type = t; };
    for (int i = 0; i < perThread; ++i) {
      const int n = till * 1000 + thread * 100 + i;
      velmora::CPeticionDispensacion r;
      r.ClaveUsuario = "clave";
      r.IdUsuario = "U" + std::to_string(till);
      r.Idioma = "es";
      r.FechaDispensacion = "21/11/2026";
      r.IdFarmacia = "F1";
      r.IdFarmaceutico = "FC1";
      r.EnvasesDispensados = "1";
      r.Importe = "10,50";
      r.ImporteAportacion = "4,20";
      r.IdProvincia = "48";
      r.IDPrescripcion = "ST" + std::to_string(n);
      r.CodigoDispensado = std::string("sim:") + kScenarios[(till + thread + i) % 6];
      type = velmora::rspInternal;
      auto response = iface.SolicitudDispensacion(r);
      std::lock_guard lock(outMutex);
      out << r.IDPrescripcion << " " << static_cast<int>(type) << " " << (response->DispensacionRealizada() ? 1 : 0)
          << " " << Codes(response->m_colCodigoAviso) << "|" << Codes(response->m_colCodigoMotivosRechazo) << "\n";
    }
  };
  std::thread first(run, 0), second(run, 1);
  first.join();
  second.join();
  return 0;
}
