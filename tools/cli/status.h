#pragma once

#include <ostream>

namespace velmora::cli {

// Prints the runtime folder, the configuration as loaded, the counters, the working folders and
// the log's size. Returns the process exit code (1 when the configuration does not load).
int Status(std::ostream& out);

}  // namespace velmora::cli
