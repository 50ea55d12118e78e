#pragma once

#include <string>
#include <utility>
#include <vector>

namespace velmora::core {

// The marks of re-sending and acknowledging go into the record the road opened, never into a
// fresh section of another file, so one section tells a dispensation's whole story.

// The audit file holding the record of `id`; empty when the trail is off or no file holds it.
std::string AuditRecordFile(const std::string& id);

// The value of `key` in the record of `id` in `file`; empty when missing.
std::string AuditMark(const std::string& file, const std::string& id, const std::string& key);

// The time as FECHA_ENVIO is written in `file`: "hh:mm:ss" in a daily file, "yy/mm/dd hh:mm:ss"
// in audit.log.
std::string AuditTime(const std::string& file);

// Writes `keys` into the record of `id` in `file`, all or none. False when `file` is empty or
// cannot be written; never throws.
bool SaveAuditMarks(const std::string& file, const std::string& id,
                    const std::vector<std::pair<std::string, std::string>>& keys);

}  // namespace velmora::core
