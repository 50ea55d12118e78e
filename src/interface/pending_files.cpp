#include "interface/pending_files.h"

#include <algorithm>
#include <filesystem>

#include "audit/audit_record.h"
#include "core/boundary.h"
#include "core/context.h"
#include "core/layout.h"
#include "os/attributes.h"
#include "os/clock.h"
#include "vbcompat/dates.h"
#include "os/files.h"
#include "os/process_table.h"
#include "velmora/interface.h"

namespace velmora::interface {

namespace {

namespace layout = core::layout;

bool NotOlder(const std::timespec& a, const std::timespec& b) {
  return a.tv_sec > b.tv_sec || (a.tv_sec == b.tv_sec && a.tv_nsec >= b.tv_nsec);
}

// Whether `path` exists and was written at or after `since`. File times come from the same
// coarse kernel clock, so a later file never reads as older.
bool WrittenSince(const std::string& path, const std::timespec& since) {
  const auto st = os::StatusOf(path);
  return st && st->regular && NotOlder(st->modified, since);
}

template <class Items>
void CopyItems(const Items& items, std::vector<std::string>& to) {
  for (const auto& item : items) to.push_back(item);
}

}  // namespace

std::string PendingFolder() { return CFileAdmin().GetDllPath() + layout::kPendingFolder + "/"; }
std::string PendingCopy(const std::string& id) { return PendingFolder() + layout::MessageFileName(id); }
bool IsBatchId(const std::string& id) { return id.rfind(layout::kBatchPrefix, 0) == 0; }

std::vector<std::string> PendingIds() {
  std::vector<std::string> ids;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(PendingFolder(), ec)) {
    const std::string name = entry.path().filename().string();
    const size_t extension = layout::kMessageExtension.size();
    if (name.size() > extension && name[0] != '.' &&
        name.compare(name.size() - extension, extension, layout::kMessageExtension) == 0)
      ids.push_back(name.substr(0, name.size() - extension));
  }
  std::sort(ids.begin(), ids.end());
  return ids;
}

bool IsPending(const std::string& id) {
  const auto ids = PendingIds();
  return std::binary_search(ids.begin(), ids.end(), id);
}

void KeepPendingCopy(const std::string& id) {
  // The till has its answer; a copy that cannot be kept is reported, never a failed call.
  core::Recorded("CPendientes.GuardarCopia", [&] {
    os::MakeDirectory(PendingFolder(), "CPendientes.GuardarCopia");
    os::CopyFileTo(CFileAdmin().GetSendedPath() + layout::MessageFileName(id), PendingCopy(id), "CPendientes.GuardarCopia");
  });
}

bool ExecutorRunning(const std::string& id) {
  // The command line as the road builds it, whether split at blanks or given whole.
  const std::string single = "IDPres=" + id;
  for (const auto& args : os::RunningInstances(CFileAdmin().GetDllPath() + layout::kExecutorProgram)) {
    std::string joined;
    for (const auto& a : args) joined += (joined.empty() ? "" : " ") + a;
    if (joined == single || joined == single + " MD") return true;
  }
  return false;
}

std::string LateAnswer(const std::string& id, const std::timespec& since, bool executorRunning) {
  CFileAdmin files;
  const std::string delayed = files.GetDelayedPath() + layout::MessageFileName(id);
  if (WrittenSince(delayed, since)) return delayed;
  // With the trail off the executor cannot tell that it is late and leaves the answer where it
  // wrote it; while it runs, the answer may still be on its way to Retrasados.
  const std::string received = files.GetReceivedPath() + layout::MessageFileName(id);
  if (!executorRunning && WrittenSince(received, since)) return received;
  return {};
}

bool ReadVerdict(const std::string& path, CDispensacionPendiente& item) {
  if (item.Lote) {
    CRespDispensaciones response;
    if (!response.FromXMLFile(path)) return false;
    item.DispensacionRealizada = response.DispensacionRealizada();
    for (const auto& row : response.ResultadoDispensacion()) {
      item.Codigos.push_back(row.Codigo);
      item.Textos.push_back(row.Description);
    }
  } else {
    CRespuestaPeticion response;
    if (!response.FromXMLFile(path)) return false;
    item.DispensacionRealizada = response.DispensacionRealizada();
    CopyItems(response.m_colCodigoMotivosRechazo, item.Codigos);
    CopyItems(response.m_colTextoMotivosRechazo, item.Textos);
  }
  item.Veredicto = true;
  return true;
}

CDispensacionPendiente Describe(const std::string& id, const os::FileStatus& copy) {
  CDispensacionPendiente item;
  item.IDPrescripcion = id;
  item.Lote = IsBatchId(id);
  item.Fecha = vb::FormatDate(os::LocalTimeAt(copy.modified.tv_sec), "dd/mm/yyyy hh:mm:ss");
  const std::string given = core::AuditMark(core::AuditRecordFile(id), id, "RESPUESTA_GENERADA");
  item.TipoRespuesta = given == "xml" ? rspDefault : given == "int" ? rspInternal : 0;
  item.EjecutorActivo = ExecutorRunning(id);
  const std::string late = LateAnswer(id, copy.modified, item.EjecutorActivo);
  if (!late.empty() && ReadVerdict(late, item)) item.Estado = pndVeredictoTardio;
  return item;
}

}  // namespace velmora::interface
