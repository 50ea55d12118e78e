#include "core/audit_record.h"

#include "core/context.h"
#include "platform/files.h"
#include "platform/profile.h"

namespace velmora::core {

namespace {
bool HoldsRecord(const std::string& file, const std::string& id) {
  // The header writes FECHA_ENVIO first and always with a value.
  return platform::PathExists(file) && !platform::ReadProfileString(file, id, "FECHA_ENVIO").empty();
}
}  // namespace

std::string AuditRecordFile(const std::string& id, const platform::LocalTime& day,
                            const platform::LocalTime& dayBefore) {
  CAuditor& auditor = ThreadContext().Auditor();
  if (!auditor.Enable()) return {};
  std::vector<std::string> candidates = {auditor.OutputFileName()};
  if (auditor.DiaryStore()) {
    const std::string folder = CFileAdmin().GetAuditorPath();
    for (const auto& d : {day, dayBefore}) candidates.push_back(folder + platform::FormatDate(d, "yymmdd") + ".log");
  }
  for (const auto& file : candidates)
    if (HoldsRecord(file, id)) return file;
  return {};
}

std::string AuditTime(const std::string& file) {
  const bool single = file.size() >= 9 && file.compare(file.size() - 9, 9, "audit.log") == 0;
  return platform::FormatDate(platform::Now(), single ? "yy/mm/dd hh:mm:ss" : "hh:mm:ss");
}

bool SaveAuditMarks(const std::string& file, const std::string& id,
                    const std::vector<std::pair<std::string, std::string>>& keys) {
  return !file.empty() && platform::WriteProfileStrings(file, id, keys);
}

}  // namespace velmora::core
