#include "verdict.h"

#include <map>
#include <string>

namespace velmora::cli {

namespace {

void PrintList(std::ostream& out, const char* label, const Collection<std::string>& codes,
               const Collection<std::string>& texts) {
  out << label << ":";
  if (codes.Count() == 0 && texts.Count() == 0) out << " none";
  out << "\n";
  for (size_t i = 1; i <= std::max(codes.Count(), texts.Count()); ++i) {
    const std::string* code = codes.Item(i);
    const std::string* text = texts.Item(i);
    out << "  " << (code ? *code : "") << "  " << (text ? *text : "") << "\n";
  }
}

void PrintErrors(std::ostream& out, CError& errors) {
  for (const auto& e : errors.Errores()) out << "  error " << e.Number << " (" << e.Source << "): " << e.Description << "\n";
}

}  // namespace

void PrintVerdict(std::ostream& out, const CRespuestaPeticion& r, CError& errors) {
  out << "DatosValidos: " << (r.DatosValidos ? "True" : "False") << "\n";
  out << "DispensacionRealizada: " << (r.DispensacionRealizada() ? "True" : "False") << "\n";
  out << "NAvisos: " << r.m_intNAvisos << "  NMotivosRechazo: " << r.m_intNMotivosRechazo << "\n";
  PrintList(out, "avisos", r.m_colCodigoAviso, r.m_colTextoAviso);
  PrintList(out, "motivos de rechazo", r.m_colCodigoMotivosRechazo, r.m_colTextoMotivosRechazo);
  PrintErrors(out, errors);
}

void PrintVerdict(std::ostream& out, const CRespDispensaciones& r, CError& errors) {
  out << "DatosValidos: " << (r.DatosValidos ? "True" : "False") << "\n";
  out << "DispensacionRealizada: " << (r.DispensacionRealizada() ? "True" : "False") << "\n";
  out << "rows: " << r.ResultadoDispensacion().Count() << "\n";
  for (const auto& row : r.ResultadoDispensacion())
    out << "  " << row.Codigo << "  " << row.CodigoDispensado << "  " << row.TipoRespuesta << "  " << row.Description
        << "\n";
  PrintErrors(out, errors);
}

void FillRequest(CPeticionDispensacion& q, const std::map<std::string, std::string>& fields) {
  std::map<std::string, std::string*> text = {
      {"Importe", &q.Importe},
      {"ImporteAportacion", &q.ImporteAportacion},
      {"IdFarmacia", &q.IdFarmacia},
      {"FechaDispensacion", &q.FechaDispensacion},
      {"IDPrescripcion", &q.IDPrescripcion},
      {"Idioma", &q.Idioma},
      {"IdUsuario", &q.IdUsuario},
      {"IdFarmaceutico", &q.IdFarmaceutico},
      {"ClaveUsuario", &q.ClaveUsuario},
      {"EnvasesDispensados", &q.EnvasesDispensados},
      {"NumeroReceta", &q.NumeroReceta},
      {"IdProvincia", &q.IdProvincia},
      {"CodigoDispensado", &q.CodigoDispensado},
      {"CodigoColegiadoPrescriptor", &q.CodigoColegiadoPrescriptor},
      {"FechaPrescripcion", &q.FechaPrescripcion},
      {"Tis", &q.Tis},
      {"FormulaMagistral", &q.FormulaMagistral},
      {"Lector", &q.Lector},
      {"NombreMedicamento", &q.NombreMedicamento},
      {"NombrePaciente", &q.NombrePaciente},
      {"NecesitaVisado", &q.NecesitaVisado},
  };
  for (const auto& [name, value] : fields) {
    if (auto it = text.find(name); it != text.end())
      *it->second = value;
    else if (name == "RegimenReceta")
      q.RegimenReceta = static_cast<RegimenRecetaEnum>(std::stoi(value));
    else if (name == "TipoPrescripcion")
      q.TipoPrescripcion = static_cast<TipoPrescripcionEnum>(std::stoi(value));
    else if (name == "SaveSOAPMsgToFile")
      q.SaveSOAPMsgToFile = value == "1";
  }
}

}  // namespace velmora::cli
