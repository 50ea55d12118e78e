#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace velmora::cli {

// One check of `velmora status`: what was looked at, whether it passed, and the value or reason.
struct Check {
  std::string name;
  bool passed = false;
  std::string detail;
  bool warning = false;  // passed, but something needs doing soon
};

// The checks an installer runs on the runtime folder, in order: the folder's path (absolute,
// no blanks: the executor's command line is split at blanks), executor.exe, velmora.ini, each
// key of each of its sections as the library converts it, the working folders, the hidden mark
// (extended attributes) in Recibidos, and the service description fetched through the
// configured proxy and CA with the client's own time-out, then a full TLS handshake with the
// service (certificates' subject and expiry, protocol; a warning within 30 days of expiry).
std::vector<Check> RunChecks();

// `velmora status [--json]`: every check as a PASS/FAIL line (or one JSON object), then the
// counters and the log's size. Exit code 0 when every check passed, 1 when any failed.
int Status(std::ostream& out, bool json);

}  // namespace velmora::cli
