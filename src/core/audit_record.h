#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/clock.h"

namespace velmora::core {

// The marks of re-sending and acknowledging go into the record the road opened, never into a
// fresh section of another file, so one section tells a dispensation's whole story.

// The audit file holding the record of `id`: the auditor's current file when the record is
// there, else, with daily files, the file of `day` or of the day before it (a till that ran past
// midnight kept writing into the earlier day's file). Empty when the trail is off or no file
// holds the record.
std::string AuditRecordFile(const std::string& id, const platform::LocalTime& day,
                            const platform::LocalTime& dayBefore);

// The time as FECHA_ENVIO is written in `file`: "hh:mm:ss" in a daily file, "yy/mm/dd hh:mm:ss"
// in audit.log.
std::string AuditTime(const std::string& file);

// Writes `keys` into the record of `id` in `file` in one locked rewrite. False when `file` is
// empty or cannot be written; never throws.
bool SaveAuditMarks(const std::string& file, const std::string& id,
                    const std::vector<std::pair<std::string, std::string>>& keys);

}  // namespace velmora::core
