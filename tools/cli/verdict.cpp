#include "verdict.h"

#include "json.h"
#include "texts.h"

#include <algorithm>
#include <charconv>

namespace velmora::cli {

namespace {

void PrintList(std::ostream& out, const std::string& label, const Collection<std::string>& codes,
               const Collection<std::string>& texts) {
  out << label << ":";
  if (codes.Count() == 0 && texts.Count() == 0) out << " " << Say("cli.none");
  out << "\n";
  for (size_t i = 1; i <= std::max(codes.Count(), texts.Count()); ++i) {
    const std::string* code = codes.Item(i);
    const std::string* text = texts.Item(i);
    out << "  " << (code ? *code : "") << "  " << (text ? *text : "") << "\n";
  }
}

void PrintFailure(std::ostream& out, const std::string& failure) {
  if (!failure.empty()) out << Say("cli.executor_failure", {failure}) << "\n";
}

void PrintErrors(std::ostream& out, CError& errors) {
  for (const auto& e : errors.Errores())
    out << Say("cli.error", {std::to_string(e.Number), e.Source, e.Description}) << "\n";
}

const char* Bool(bool b) { return b ? "true" : "false"; }

std::string Array(const Collection<std::string>& items) {
  std::string out = "[";
  for (const auto& item : items) out.append(out.size() > 1 ? "," : "").append(Quoted(item));
  return out + "]";
}

std::string Errors(CError& errors) {
  std::string out = "[";
  for (const auto& e : errors.Errores())
    out += std::string(out.size() > 1 ? "," : "") + "{\"Number\":" + std::to_string(e.Number) +
           ",\"Source\":" + Quoted(e.Source) + ",\"Description\":" + Quoted(e.Description) + "}";
  return out + "]";
}

}  // namespace

const char* ResponseTypeName(int32_t type) {
  switch (type) {
    case rspReceived: return "rspReceived";
    case rspDefault: return "rspDefault";
    default: return "rspInternal";
  }
}

void PrintVerdict(std::ostream& out, const CRespuestaPeticion& r, CError& errors) {
  out << Say(r.DispensacionRealizada() ? "cli.accepted" : "cli.not_accepted") << " (" << ResponseTypeName(r.TipoRespuesta) << ")\n";
  out << Say("cli.datos_validos", {r.DatosValidos ? "True" : "False"}) << "\n";
  out << Say("cli.counts", {std::to_string(r.m_intNAvisos), std::to_string(r.m_intNMotivosRechazo)}) << "\n";
  PrintList(out, Say("cli.avisos"), r.m_colCodigoAviso, r.m_colTextoAviso);
  PrintList(out, Say("cli.motivos"), r.m_colCodigoMotivosRechazo, r.m_colTextoMotivosRechazo);
  PrintFailure(out, r.FalloEjecutor);
  PrintErrors(out, errors);
}

void PrintVerdict(std::ostream& out, const CRespDispensaciones& r, CError& errors) {
  out << Say(r.DispensacionRealizada() ? "cli.batch_accepted" : "cli.batch_not_accepted") << " ("
      << ResponseTypeName(r.TipoRespuesta) << ")\n";
  out << Say("cli.datos_validos", {r.DatosValidos ? "True" : "False"}) << "\n";
  out << Say("cli.rows", {std::to_string(r.ResultadoDispensacion().Count())}) << "\n";
  for (const auto& row : r.ResultadoDispensacion())
    out << "  " << row.Codigo << "  " << row.CodigoDispensado << "  " << row.TipoRespuesta << "  " << row.Description
        << "\n";
  PrintFailure(out, r.FalloEjecutor);
  PrintErrors(out, errors);
}

void PrintJson(std::ostream& out, const std::string& id, const CRespuestaPeticion& r, CError& errors) {
  out << "{\"kind\":\"single\",\"IDPrescripcion\":" << Quoted(id) << ",\"tipoRespuesta\":" << r.TipoRespuesta
      << ",\"tipoRespuestaTexto\":\"" << ResponseTypeName(r.TipoRespuesta) << "\",\"DatosValidos\":" << Bool(r.DatosValidos)
      << ",\"DispensacionRealizada\":" << Bool(r.DispensacionRealizada()) << ",\"NAvisos\":" << r.m_intNAvisos
      << ",\"NMotivosRechazo\":" << r.m_intNMotivosRechazo << ",\"codigoAviso\":" << Array(r.m_colCodigoAviso)
      << ",\"textoAviso\":" << Array(r.m_colTextoAviso) << ",\"codigoMotivosRechazo\":"
      << Array(r.m_colCodigoMotivosRechazo) << ",\"textoMotivosRechazo\":" << Array(r.m_colTextoMotivosRechazo)
      << ",\"FalloEjecutor\":" << Quoted(r.FalloEjecutor) << ",\"Errores\":" << Errors(errors) << "}\n";
}

void PrintJson(std::ostream& out, const std::string& id, const CRespDispensaciones& r, CError& errors) {
  std::string rows = "[";
  for (const auto& row : r.ResultadoDispensacion())
    rows += std::string(rows.size() > 1 ? "," : "") + "{\"Codigo\":" + Quoted(row.Codigo) +
            ",\"Description\":" + Quoted(row.Description) + ",\"CodigoDispensado\":" + Quoted(row.CodigoDispensado) +
            ",\"TipoRespuesta\":" + Quoted(row.TipoRespuesta) + "}";
  rows += "]";
  out << "{\"kind\":\"batch\",\"id\":" << Quoted(id) << ",\"tipoRespuesta\":" << r.TipoRespuesta
      << ",\"tipoRespuestaTexto\":\"" << ResponseTypeName(r.TipoRespuesta) << "\",\"DatosValidos\":" << Bool(r.DatosValidos)
      << ",\"DispensacionRealizada\":" << Bool(r.DispensacionRealizada())
      << ",\"blnCodigoErrorDisp\":" << Bool(r.blnCodigoErrorDisp) << ",\"ResultadoDispensacion\":" << rows
      << ",\"FalloEjecutor\":" << Quoted(r.FalloEjecutor) << ",\"Errores\":" << Errors(errors) << "}\n";
}

void FillRequest(CPeticionDispensacion& q, const std::map<std::string, std::string>& fields) {
  const std::map<std::string, std::string*> text = {
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
  auto number = [](const std::string& v) {
    int n = 0;
    std::from_chars(v.data(), v.data() + v.size(), n);  // the parser already checked the syntax
    return n;
  };
  for (const auto& [name, value] : fields) {
    if (auto it = text.find(name); it != text.end())
      *it->second = value;
    else if (name == "RegimenReceta")
      q.RegimenReceta = static_cast<RegimenRecetaEnum>(number(value));
    else if (name == "TipoPrescripcion")
      q.TipoPrescripcion = static_cast<TipoPrescripcionEnum>(number(value));
    else if (name == "SaveSOAPMsgToFile")
      q.SaveSOAPMsgToFile = value == "1";
  }
}

}  // namespace velmora::cli
