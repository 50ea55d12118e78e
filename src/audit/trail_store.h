#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmora::audit {

// A profile file that grows by whole sections at its end and changes near its end: the audit
// trail. Same bytes and the same reading rules as the whole-file writer of profile.h, but a write
// costs what the changed section and the sections after it cost, not what the file holds:
// - a hidden index beside the file (".<name>.index") maps each section to where it starts; it is
//   checked against the file's identity, size and time and rebuilt when anything else changed
//   the file;
// - a change is written in place from the first changed line to the end, after the new bytes
//   were put in a redo journal (".<name>.journal"); whoever next takes the folder lock finishes
//   an interrupted change from the journal, so a killed writer leaves every earlier section as
//   it was and its own change whole or absent.
// Reads and writes take the folder lock (with the file layer's deadline), so a reader of this
// library never sees a change half made. A write whose lock wait runs out is kept for the next
// holder of the lock (profile_trail_queue.h) and counts as done; every open applies what was
// kept first. All return false with errno set when the lock (for a read), the file or the folder
// fails; a missing file reads as no section.

bool WriteTrailKeys(const std::string& file, const std::string& section,
                    const std::vector<std::pair<std::string, std::string>>& keys);

// The bytes of the first section named `section` (header line included) in `record`; nullopt
// when the file or the section is missing.
bool ReadTrailSection(const std::string& file, const std::string& section, std::optional<std::string>& record);

// Finishes an interrupted change, if any, applies kept ones and brings the index up to date.
bool RecoverTrail(const std::string& file);

// The names of the index and journal kept beside `file`.
std::string TrailIndexPath(const std::string& file);
std::string TrailJournalPath(const std::string& file);

}  // namespace velmora::audit
