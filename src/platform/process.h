#pragma once

#include <string>
#include <vector>

namespace velmora::platform {

// Starts `argv[0]` with `argv` (no shell, ever) in a new session, standard streams on
// /dev/null, working folder `cwd`, and does not wait for it. The child is reaped by a detached
// thread, so no zombie outlives the call. Throws velmora::Error (53 when the program is
// missing, 70 when it cannot be run).
void SpawnDetached(const std::vector<std::string>& argv, const std::string& cwd, const std::string& source);

// The command line split at blanks, as the old shell call split it (no quoting).
std::vector<std::string> SplitAtBlanks(std::string_view commandLine);

}  // namespace velmora::platform
