#include "velmora/core.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <vector>

#include "core/boundary.h"
#include "core/context.h"
#include "core/layout.h"
#include "os/clock.h"
#include "vbcompat/dates.h"
#include "errors/error_map.h"
#include "ini/profile_rules.h"
#include "audit/trail_store.h"

namespace velmora {

namespace {

std::string YesNo(int32_t value) {
  if (value == 1) return "Si";
  if (value == 0) return "No";
  return "";
}

std::string ReceivedText(int32_t value) {
  switch (value) {
    case rcvService: return "srv";
    case rcvXML: return "xml";
    case rcvIni: return "ini";
    case rcvInternal: return "int";
    default: return "";
  }
}

// A trail write or read that failed for any reason but a missing folder is logged; a missing
// folder stays silent, as the old profile writer was.
void Check(bool ok, const char* method) {
  if (!ok && errno != ENOENT) errors::RaiseErrno(errno, method);
}

// A day that cannot be read for a lock held elsewhere counts as not holding the record: the
// mark then goes to today's file, kept for later if need be, rather than nowhere.
bool HoldsRecord(const std::string& file, const std::string& id, const char* method) {
  std::optional<std::string> record;
  const bool read = audit::ReadTrailSection(file, id, record);
  if (!read && errno == EWOULDBLOCK) return false;
  Check(read, method);
  return record.has_value();
}

}  // namespace

// With daily files a record stays in the file its header went into, even when the marks come
// from a process that started on another day (an executor after midnight, a clock put back):
// otherwise one dispensation is split over two files and a late answer is never seen as late.
std::string CAuditor::RecordFile(const std::string& id, const char* method) const {
  const std::string own = OutputFileName();
  if (!diaryStore_ || HoldsRecord(own, id, method)) return own;
  std::vector<std::string> days;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(CFileAdmin().GetAuditorPath(), ec)) {
    const std::string name = entry.path().filename().string();
    if (core::layout::IsDailyTrail(name)) days.push_back(entry.path().string());
  }
  std::sort(days.rbegin(), days.rend());
  for (const auto& day : days)
    if (day != own && HoldsRecord(day, id, method)) return day;
  return own;
}

CAuditor::CAuditor() {
  const std::string folder = CFileAdmin().GetAuditorPath();
  // The day is fixed when the object is made: a session that runs past midnight keeps its file.
  dailyPath_ = folder + vb::FormatDate(os::Now(), core::layout::kDailyTrailDate) +
               std::string(core::layout::kDailyTrailExtension);
  singlePath_ = folder + std::string(core::layout::kSingleTrail);
}

bool CAuditor::Save(const std::string& strIdPrescripcion, int32_t intAction, int32_t intResponse,
                    const std::string& strTextResponse) {
  constexpr const char* kMethod = "CAuditor.Save";
  return core::Method<bool>({.trace = kMethod, .argument = strIdPrescripcion}, [&](bool& result) {
    if (!enable_) {
      result = true;
    } else {
      if (strIdPrescripcion.empty()) Raise(errnum::kNoPrescriptionId, kMethod);
      // A failed write of the trail is logged but never stops a dispensation.
      auto mark = [&](const char* key, const std::string& value) {
        Check(audit::WriteTrailKeys(RecordFile(strIdPrescripcion, kMethod), strIdPrescripcion, {{key, value}}),
              kMethod);
      };
      switch (intAction) {
        case audHeader:
          Check(audit::WriteTrailKeys(
                    OutputFileName(), strIdPrescripcion,
                    {{"FECHA_ENVIO", vb::FormatDate(os::Now(), diaryStore_ ? "hh:mm:ss" : "yy/mm/dd hh:mm:ss")},
                     {"PETICION_GENERADA", "No"},
                     {"MENSAJE_ENVIADO", "No"},
                     {"MENSAJE_RECIBIDO", "No"},
                     {"RESPUESTA_GENERADA", ""},
                     {"TEXTO_RESPUESTA", ""}}),
                kMethod);
          break;
        case audMarkPetitionDone: mark("PETICION_GENERADA", YesNo(1)); break;
        case audMarkMsgSended: mark("MENSAJE_ENVIADO", YesNo(1)); break;
        case audMarkMsgReceived: mark("MENSAJE_RECIBIDO", YesNo(1)); break;
        case audSetResponse: mark("RESPUESTA_GENERADA", ReceivedText(intResponse)); break;
        case audSetTextResponse: mark("TEXTO_RESPUESTA", strTextResponse); break;
        default: break;
      }
      result = true;
    }
  });
}

bool CAuditor::StoreInDelayed(const std::string& strIdPrescripcion) {
  constexpr const char* kMethod = "CAuditor.StoreInDelayed";
  return core::Method<bool>({.trace = kMethod, .argument = strIdPrescripcion}, [&] {
    // The source names Save on purpose: log readers group the trail's errors under it.
    if (strIdPrescripcion.empty()) Raise(errnum::kNoPrescriptionId, "CAuditor.Save");
    // Late means the till was given another answer (a default or internal one). "srv" says the
    // till took this very file: the executor marks the file complete before it asks, and a till
    // quick to see the mark writes "srv" before reading the file, so calling that late would move
    // the answer away under the reader.
    const std::string file = RecordFile(strIdPrescripcion, kMethod);
    core::TraceScope read("modGlobal.GetPrivateProfileStringEx");
    std::optional<std::string> record;
    Check(audit::ReadTrailSection(file, strIdPrescripcion, record), kMethod);
    const std::string given =
        record ? ini::Lookup(*record, strIdPrescripcion, "RESPUESTA_GENERADA").value_or("") : "";
    read.Result(given);
    return !given.empty() && given != "srv";
  });
}

}  // namespace velmora
