#include "audit/audit_record.h"

#include <optional>

#include "core/context.h"
#include "core/layout.h"
#include "os/clock.h"
#include "vbcompat/dates.h"
#include "ini/profile_rules.h"
#include "audit/trail_store.h"

namespace velmora::core {

namespace {
std::optional<std::string> Record(const std::string& file, const std::string& id) {
  std::optional<std::string> record;
  if (!audit::ReadTrailSection(file, id, record)) return std::nullopt;
  return record;
}
}  // namespace

std::string AuditRecordFile(const std::string& id) {
  CAuditor& auditor = ThreadContext().Auditor();
  if (!auditor.Enable()) return {};
  const std::string file = auditor.RecordFile(id, "CAuditor.RecordFile");
  return Record(file, id) ? file : std::string();
}

std::string AuditMark(const std::string& file, const std::string& id, const std::string& key) {
  if (file.empty()) return {};
  const auto record = Record(file, id);
  return record ? ini::Lookup(*record, id, key).value_or("") : "";
}

std::string AuditTime(const std::string& file) {
  const std::string_view trail = core::layout::kSingleTrail;
  const bool single = file.size() >= trail.size() && file.compare(file.size() - trail.size(), trail.size(), trail) == 0;
  return vb::FormatDate(os::Now(), single ? "yy/mm/dd hh:mm:ss" : "hh:mm:ss");
}

bool SaveAuditMarks(const std::string& file, const std::string& id,
                    const std::vector<std::pair<std::string, std::string>>& keys) {
  return !file.empty() && audit::WriteTrailKeys(file, id, keys);
}

}  // namespace velmora::core
