#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::audit {

// A change of the trail that could not wait for the folder lock (another process held it past
// the file layer's deadline) is kept whole in a file of its own, "<folder>/.queue/<name>-<time>-
// <pid>-<n>", and whoever next holds the lock applies the kept changes in the order they were
// made before its own. A dispensation's record is never dropped for a lock, and the till never
// waits longer than the deadline for one. The folder of their own keeps the look for them as
// cheap as an empty listing, however many daily trails lie beside.

using TrailKeys = std::vector<std::pair<std::string, std::string>>;

struct QueuedTrailChange {
  std::string path;
  std::string section;
  TrailKeys keys;
};

// The bytes of a kept change, and back; false for bytes that are not one whole change.
std::string EncodeTrailChange(const std::string& section, const TrailKeys& keys);
bool DecodeTrailChange(std::string_view bytes, QueuedTrailChange& change);

// Keeps a change for later; false with errno set when it could not be written.
bool QueueTrailChange(const std::string& file, const std::string& section, const TrailKeys& keys);

// The kept changes of `file`, oldest first. A file that does not read as a whole change is left
// where it is and not listed.
std::vector<QueuedTrailChange> QueuedTrailChanges(const std::string& file);

// The folder of the kept changes of the trails in `folder` (which ends with '/').
std::string TrailQueueFolder(const std::string& folder);

// The trail a kept change belongs to, from the change's path.
std::optional<std::string> TrailOfQueuedChange(const std::string& path);

}  // namespace velmora::audit
