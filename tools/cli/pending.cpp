#include "pending.h"

#include <vector>

#include "json.h"
#include "texts.h"
#include "velmora/interface.h"

namespace velmora::cli {

namespace {

const char* StateName(EstadoPendienteEnum state) {
  switch (state) {
    case pndVeredictoTardio: return "late-verdict";
    case pndConfirmada: return "confirmed";
    default: return "unconfirmed";
  }
}

const char* ResultName(ResultadoReenvioEnum result) {
  switch (result) {
    case rnvConfirmada: return "confirmed";
    case rnvSinRespuesta: return "no-answer";
    case rnvVeredictoTardio: return "late-verdict";
    case rnvEnCurso: return "busy";
    case rnvNoPendiente: return "not-pending";
    default: return "";
  }
}

const char* FallbackName(int32_t type) {
  return type == rspDefault ? "rspDefault" : type == rspInternal ? "rspInternal" : "";
}

std::string List(const std::vector<std::string>& items) {
  std::string out = "[";
  for (const auto& item : items) out += (out.size() > 1 ? "," : "") + Quoted(item);
  return out + "]";
}

std::string Json(const CDispensacionPendiente& p) {
  std::string out = "{\"IDPrescripcion\":" + Quoted(p.IDPrescripcion) + ",\"Lote\":" + (p.Lote ? "true" : "false") +
                    ",\"Fecha\":" + Quoted(p.Fecha) + ",\"TipoRespuesta\":" + std::to_string(p.TipoRespuesta) +
                    ",\"Estado\":\"" + StateName(p.Estado) + "\",\"EjecutorActivo\":" +
                    (p.EjecutorActivo ? "true" : "false");
  if (p.Resultado != rnvNinguno) out += ",\"Resultado\":\"" + std::string(ResultName(p.Resultado)) + "\"";
  if (p.Veredicto)
    out += std::string(",\"Veredicto\":{\"DispensacionRealizada\":") + (p.DispensacionRealizada ? "true" : "false") +
           ",\"Codigos\":" + List(p.Codigos) + ",\"Textos\":" + List(p.Textos) + "}";
  return out + "}";
}

void Text(std::ostream& out, const CDispensacionPendiente& p) {
  out << p.IDPrescripcion << "  " << (p.Resultado != rnvNinguno ? ResultName(p.Resultado) : StateName(p.Estado))
      << "  " << (p.Fecha.empty() ? "-" : p.Fecha) << "  " << (p.TipoRespuesta ? FallbackName(p.TipoRespuesta) : "-")
      << (p.EjecutorActivo ? Say("cli.executor_running") : "") << "\n";
  if (!p.Veredicto) return;
  out << Say("cli.verdict", {Say(p.DispensacionRealizada ? "cli.accepted" : "cli.not_accepted")}) << "\n";
  for (size_t i = 0; i < p.Codigos.size(); ++i)
    out << "    " << p.Codigos[i] << "  " << (i < p.Textos.size() ? p.Textos[i] : "") << "\n";
}

void Print(std::ostream& out, const char* key, const std::vector<CDispensacionPendiente>& items, bool json) {
  if (!json) {
    if (items.empty()) out << Say("cli.nothing_pending") << "\n";
    for (const auto& p : items) Text(out, p);
    return;
  }
  out << "{\"" << key << "\":[";
  for (size_t i = 0; i < items.size(); ++i) out << (i ? "," : "") << Json(items[i]);
  out << "]}\n";
}

// What is left once a command is done.
int Left(CPendientes& pending) {
  return pending.Listar().empty() ? kNothingPending : kSomethingPending;
}

bool Ready(CInterface& iface, std::ostream& err) {
  if (!iface.Enabled()) err << Say("cli.no_configuration") << "\n";
  return iface.Enabled();
}

}  // namespace

int Pending(bool json, std::ostream& out, std::ostream& err) {
  CInterface iface;
  if (!Ready(iface, err)) return kCannot;
  CPendientes pending(iface);
  const auto items = pending.Listar();
  Print(out, "pending", items, json);
  return items.empty() ? kNothingPending : kSomethingPending;
}

int Resend(const std::string& id, bool json, std::ostream& out, std::ostream& err) {
  CInterface iface;
  if (!Ready(iface, err)) return kCannot;
  CPendientes pending(iface);
  const auto items = id.empty() ? pending.ReenviarTodas() : std::vector{pending.Reenviar(id)};
  Print(out, "resent", items, json);
  for (const auto& p : items)
    if (p.Resultado == rnvSinRespuesta) return kResendFailed;
  return Left(pending);
}

int Ack(const std::string& id, std::ostream& out, std::ostream& err) {
  CInterface iface;
  if (!Ready(iface, err)) return kCannot;
  CPendientes pending(iface);
  if (!pending.ConfirmarVeredicto(id)) {
    err << Say("cli.no_late_verdict", {id}) << "\n";
    return kCannot;
  }
  out << Say("cli.acknowledged", {id}) << "\n";
  return Left(pending);
}

}  // namespace velmora::cli
