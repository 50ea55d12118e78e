#pragma once

#include <string>
#include <vector>

namespace velmora::os {

// The arguments after argv[0] of every live process of this user whose argv[0] is exactly
// `program`. A process that has ended (a zombie awaiting its reaper) is not listed.
std::vector<std::vector<std::string>> RunningInstances(const std::string& program);

}  // namespace velmora::os
