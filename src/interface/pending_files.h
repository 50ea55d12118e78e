#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "os/file_io.h"

#include "velmora/pending.h"

namespace velmora::interface {

// The files behind the pending dispensations. A copy "Pendientes/<id>.xml" (0600, the request
// file's bytes) exists from the moment a fallback answers the till until the dispensation is
// confirmed; its presence is what makes the dispensation pending, its modification time is when
// the fallback answered.

std::string PendingFolder();                         // the runtime folder + "Pendientes/"
std::string PendingCopy(const std::string& id);      // PendingFolder() + id + ".xml"
bool IsBatchId(const std::string& id);               // "MD__..."
// The ids with a copy, in order; temporary files of a copy being written start with "." and
// are left out.
std::vector<std::string> PendingIds();
// True when `id` is one of them: a host's id reaches a path only once it is known to name a copy.
bool IsPending(const std::string& id);

// True while an executor.exe of this runtime folder works on `id`.
bool ExecutorRunning(const std::string& id);

// The service's answer to `id` that came after `since` (the copy's time): in Retrasados, or left
// in Recibidos by an executor that has ended. Empty when there is none.
std::string LateAnswer(const std::string& id, const std::timespec& since, bool executorRunning);

// The pending dispensation `id` as the files show it now; `copy` is the status of its copy.
CDispensacionPendiente Describe(const std::string& id, const os::FileStatus& copy);

// Fills the verdict fields of `item` from a response file; false when it cannot be read.
bool ReadVerdict(const std::string& path, CDispensacionPendiente& item);

}  // namespace velmora::interface
