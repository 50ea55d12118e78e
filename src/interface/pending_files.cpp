#include "interface/pending_files.h"

#include <time.h>

#include <algorithm>
#include <filesystem>

#include "audit/audit_record.h"
#include "core/context.h"
#include "os/attributes.h"
#include "os/clock.h"
#include "vbcompat/dates.h"
#include "os/files.h"
#include "os/process_table.h"
#include "velmora/interface.h"

namespace velmora::interface {

namespace {

os::LocalTime LocalTimeOf(time_t t) {
  struct tm tm {};
  localtime_r(&t, &tm);
  return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

bool NotOlder(const struct timespec& a, const struct timespec& b) {
  return a.tv_sec > b.tv_sec || (a.tv_sec == b.tv_sec && a.tv_nsec >= b.tv_nsec);
}

// Whether `path` exists and was written at or after `since`. File times come from the same
// coarse kernel clock, so a later file never reads as older.
bool WrittenSince(const std::string& path, const struct timespec& since) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && NotOlder(st.st_mtim, since);
}

template <class Items>
void CopyItems(const Items& items, std::vector<std::string>& to) {
  for (const auto& item : items) to.push_back(item);
}

}  // namespace

std::string PendingFolder() { return CFileAdmin().GetDllPath() + "Pendientes/"; }
std::string PendingCopy(const std::string& id) { return PendingFolder() + id + ".xml"; }
bool IsBatchId(const std::string& id) { return id.rfind("MD__", 0) == 0; }

std::vector<std::string> PendingIds() {
  std::vector<std::string> ids;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(PendingFolder(), ec)) {
    const std::string name = entry.path().filename().string();
    if (name.size() > 4 && name[0] != '.' && name.compare(name.size() - 4, 4, ".xml") == 0)
      ids.push_back(name.substr(0, name.size() - 4));
  }
  std::sort(ids.begin(), ids.end());
  return ids;
}

bool IsPending(const std::string& id) {
  const auto ids = PendingIds();
  return std::binary_search(ids.begin(), ids.end(), id);
}

void KeepPendingCopy(const std::string& id) {
  try {
    os::MakeDirectory(PendingFolder(), "CPendientes.GuardarCopia");
    os::CopyFileTo(CFileAdmin().GetSendedPath() + id + ".xml", PendingCopy(id), "CPendientes.GuardarCopia");
  } catch (const std::exception& e) {
    // The till has its answer; a copy that cannot be kept is reported, never a failed call.
    core::HandleError("CPendientes.GuardarCopia", e);
  }
}

bool ExecutorRunning(const std::string& id) {
  // The command line as the road builds it, whether split at blanks or given whole.
  const std::string single = "IDPres=" + id;
  for (const auto& args : os::RunningInstances(CFileAdmin().GetDllPath() + "executor.exe")) {
    std::string joined;
    for (const auto& a : args) joined += (joined.empty() ? "" : " ") + a;
    if (joined == single || joined == single + " MD") return true;
  }
  return false;
}

std::string LateAnswer(const std::string& id, const struct timespec& since, bool executorRunning) {
  CFileAdmin files;
  const std::string delayed = files.GetDelayedPath() + id + ".xml";
  if (WrittenSince(delayed, since)) return delayed;
  // With the trail off the executor cannot tell that it is late and leaves the answer where it
  // wrote it; while it runs, the answer may still be on its way to Retrasados.
  const std::string received = files.GetReceivedPath() + id + ".xml";
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

CDispensacionPendiente Describe(const std::string& id, const struct stat& copy) {
  CDispensacionPendiente item;
  item.IDPrescripcion = id;
  item.Lote = IsBatchId(id);
  item.Fecha = vb::FormatDate(LocalTimeOf(copy.st_mtim.tv_sec), "dd/mm/yyyy hh:mm:ss");
  const std::string given = core::AuditMark(core::AuditRecordFile(id), id, "RESPUESTA_GENERADA");
  item.TipoRespuesta = given == "xml" ? rspDefault : given == "int" ? rspInternal : 0;
  item.EjecutorActivo = ExecutorRunning(id);
  const std::string late = LateAnswer(id, copy.st_mtim, item.EjecutorActivo);
  if (!late.empty() && ReadVerdict(late, item)) item.Estado = pndVeredictoTardio;
  return item;
}

}  // namespace velmora::interface
