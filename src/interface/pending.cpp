#include "velmora/pending.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "audit/audit_record.h"
#include "core/boundary.h"
#include "core/context.h"
#include "core/layout.h"
#include "errors/catalogue.h"
#include "os/directory_watch.h"
#include "interface/pending_claim.h"
#include "interface/pending_files.h"
#include "interface/road.h"
#include "os/attributes.h"
#include "os/file_io.h"
#include "os/files.h"
#include "velmora/interface.h"

namespace velmora {

namespace {

using interface::PendingClaim;

// How long one pass of the wait may block before the host's idle callback runs again.
constexpr std::chrono::milliseconds kPass{25};

namespace layout = core::layout;

uint64_t InodeOf(const std::string& path) {
  const auto st = os::StatusOf(path);
  return st ? st->inode : 0;
}

// The answer to the re-send just started: a new file in Retrasados (the executor puts it aside
// because the audit record says the till was answered long ago) or, with the trail off, the one
// it leaves in Recibidos. Ends when the executor has ended or PeticionTimeOut has passed.
std::string WaitForAnswer(const std::string& id, uint64_t delayedBefore, const std::function<bool()>& ended,
                          const std::function<void()>& onIdle) {
  CFileAdmin files;
  const std::string delayed = files.GetDelayedPath() + layout::MessageFileName(id);
  const std::string received = files.GetReceivedPath() + layout::MessageFileName(id);
  os::DirectoryWatch watchDelayed(files.GetDelayedPath());
  os::DirectoryWatch watchReceived(files.GetReceivedPath());
  const auto end = std::chrono::steady_clock::now() +
                   std::chrono::seconds(std::max<int>(0, core::ThreadContext().Config.PeticionTimeOut()));
  for (;;) {
    // Looked at before the files: once it has ended, what it left is final.
    const bool over = ended();
    const uint64_t now = InodeOf(delayed);
    if (now != 0 && now != delayedBefore) return delayed;
    if (over) return os::PathExists(received) ? received : std::string();
    if (std::chrono::steady_clock::now() >= end) return {};
    if (onIdle) onIdle();
    watchDelayed.Wait(kPass);
  }
}

// The OUT lines of the list's methods: how many were found, and the verdict of a re-send.
std::string ShownCount(const std::vector<CDispensacionPendiente>& items) { return std::to_string(items.size()); }
std::string ShownResultado(const CDispensacionPendiente& item) { return std::to_string(item.Resultado); }

// Marks the record and drops the copy: the dispensation is no longer pending. `how` is "srv"
// (a re-send got the service's answer) or "ret" (the host took the late answer of Retrasados).
void Confirm(const std::string& id, const char* how, const char* method) {
  const std::string record = core::AuditRecordFile(id);
  core::SaveAuditMarks(record, id, {{"CONFIRMADA", how}, {"FECHA_CONFIRMACION", core::AuditTime(record)}});
  os::DeleteFile(interface::PendingCopy(id), method);
  core::LogLine(std::string(method) + ":" + errors::Text("log.pending.confirmed", {id}));
}

void Resend(const std::string& id, CDispensacionPendiente& item, const std::function<void()>& onIdle,
            const char* method) {
  if (!interface::IsPending(id)) return;
  PendingClaim claim(interface::PendingCopy(id));
  if (claim.Result() == PendingClaim::kGone) return;
  if (claim.Result() == PendingClaim::kBusy) {
    // Another process holds it: describe it as it stands, without touching it.
    if (const auto copy = os::StatusOf(interface::PendingCopy(id))) item = interface::Describe(id, *copy);
    item.Resultado = rnvEnCurso;
    return;
  }
  item = interface::Describe(id, claim.Copy());
  if (item.EjecutorActivo) item.Resultado = rnvEnCurso;
  if (item.Estado == pndVeredictoTardio) item.Resultado = rnvVeredictoTardio;
  if (item.Resultado != rnvNinguno) return;

  item.Resultado = rnvSinRespuesta;
  CFileAdmin files;
  const auto& config = core::ThreadContext().Config;
  files.MakeSended();
  os::CopyFileTo(interface::PendingCopy(id), files.GetSendedPath() + layout::MessageFileName(id), method);
  // An answer left from before must not pass for this one's.
  files.DeleteFromReceived(id);
  const uint64_t delayedBefore = InodeOf(files.GetDelayedPath() + layout::MessageFileName(id));
  const std::string record = core::AuditRecordFile(id);
  const std::string count = core::AuditMark(record, id, "REENVIOS");
  int sent = 0;
  std::from_chars(count.data(), count.data() + count.size(), sent);
  core::SaveAuditMarks(record, id,
                       {{"REENVIOS", std::to_string(sent + 1)},
                        {"FECHA_REENVIO", core::AuditTime(record)}});
  core::LogLine(std::string(method) + ":" + errors::Text("log.pending.resending", {id}));
  // Its failure hand-over has no reader here; the folder goes when the re-send is over.
  const interface::ExecutorFailure failure(id);
  const auto ended = interface::StartExecutor(id, item.Lote, method);
  const std::string answer = WaitForAnswer(id, delayedBefore, ended, onIdle);
  if (config.EliminarXMLPeticion != 0) files.DeleteFromSended(id);
  item.Codigos.clear();
  item.Textos.clear();
  if (answer.empty() || !interface::ReadVerdict(answer, item)) {
    core::LogLine(std::string(method) + ":" + errors::Text("log.pending.no_answer", {id}));
    return;
  }
  Confirm(id, "srv", method);
  if (config.EliminarXMLRespuesta != 0) {
    os::SetAttributes(answer, os::kAttrArchive, method);
    os::DeleteFile(answer, method);
  }
  item.Estado = pndConfirmada;
  item.Resultado = rnvConfirmada;
}

}  // namespace

std::vector<CDispensacionPendiente> CPendientes::Listar() {
  constexpr const char* kMethod = "CPendientes.Listar";
  using Items = std::vector<CDispensacionPendiente>;
  return core::Method<Items>({.trace = kMethod,
                              .shown = ShownCount,
                              .admit = [&] { return owner_.OnOwnThread(kMethod); },
                              .after = [&](Items&) { core::CopySharedErrors(owner_.Errores()); }},
                             [&](Items& items) {
    if (!owner_.Enabled()) Raise(errnum::kInterfaceNotActive, kMethod);
    for (const auto& id : interface::PendingIds()) {
      const auto copy = os::StatusOf(interface::PendingCopy(id));
      if (copy && copy->regular) items.push_back(interface::Describe(id, *copy));
    }
  });
}

CDispensacionPendiente CPendientes::Reenviar(const std::string& strIdPrescripcion) {
  constexpr const char* kMethod = "CPendientes.Reenviar";
  CDispensacionPendiente refused;
  refused.IDPrescripcion = strIdPrescripcion;
  refused.Lote = interface::IsBatchId(strIdPrescripcion);
  refused.Resultado = rnvNoPendiente;
  auto settle = [&](CDispensacionPendiente& item) {
    // Nothing done, whether for want of work or for a failure: the id is not pending here.
    if (item.Resultado == rnvNinguno) item.Resultado = rnvNoPendiente;
    core::CopySharedErrors(owner_.Errores());
  };
  return core::Method<CDispensacionPendiente>({.trace = kMethod,
                                               .argument = strIdPrescripcion,
                                               .onFailure = refused,
                                               .shown = ShownResultado,
                                               .admit = [&] { return owner_.OnOwnThread(kMethod); },
                                               .after = settle},
                                              [&](CDispensacionPendiente& item) {
    if (!owner_.Enabled()) Raise(errnum::kInterfaceNotActive, kMethod);
    item.Resultado = rnvNinguno;
    Resend(strIdPrescripcion, item, owner_.OnIdle, kMethod);
  });
}

CError& CPendientes::Errores() { return owner_.Errores(); }

std::vector<CDispensacionPendiente> CPendientes::ReenviarTodas() {
  std::vector<CDispensacionPendiente> items;
  for (const auto& id : interface::PendingIds()) items.push_back(Reenviar(id));
  return items;
}

bool CPendientes::ConfirmarVeredicto(const std::string& strIdPrescripcion) {
  constexpr const char* kMethod = "CPendientes.ConfirmarVeredicto";
  return core::Method<bool>({.trace = kMethod,
                             .argument = strIdPrescripcion,
                             .admit = [&] { return owner_.OnOwnThread(kMethod); },
                             .after = [&](bool&) { core::CopySharedErrors(owner_.Errores()); }},
                            [&](bool& done) {
    if (!owner_.Enabled()) Raise(errnum::kInterfaceNotActive, kMethod);
    if (interface::IsPending(strIdPrescripcion)) {
      PendingClaim claim(interface::PendingCopy(strIdPrescripcion));
      if (claim.Result() == PendingClaim::kHeld &&
          interface::Describe(strIdPrescripcion, claim.Copy()).Estado == pndVeredictoTardio) {
        Confirm(strIdPrescripcion, "ret", kMethod);
        done = true;
      }
    }
  });
}

}  // namespace velmora
